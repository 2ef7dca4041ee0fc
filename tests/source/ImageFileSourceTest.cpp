// The image list of a stream: which files it takes, in which order, what it leaves out and why, and
// the geometry the first image gives the stream.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "base/Pfnc.h"
#include "source/ImageFileSource.h"
#include "source/ImageFiles.h"
#include "support/PrintImageGeometry.h"
#include "support/ScopedEnvironment.h"

namespace lumo::mockTL {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;
using Paths = std::vector<fs::path>;

const TestPicture kGray8 = makePicture(6, 4, 1, 8);

class ImageFileSourceTest : public ::testing::Test {
 protected:
  fs::path write(const std::string& name, const TestPicture& picture = kGray8) const {
    return writeImage(directory_.path() / name, picture);
  }

  ImageList load(const std::optional<fs::path>& directory, const std::optional<Paths>& order) {
    return ImageFileSource::load(directory, order, report_);
  }

  // The names of the listed files, in list order.
  static std::vector<std::string> names(const ImageList& images) {
    std::vector<std::string> names;
    for (const ImageListEntry& entry : images) names.push_back(entry.path.filename().string());
    return names;
  }

  // What went to the report, one string per line.
  std::vector<std::string> reportLines() const {
    std::vector<std::string> lines;
    std::istringstream text(report_.str());
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }

  const fs::path& path() const { return directory_.path(); }

  TemporaryDirectory directory_;
  std::ostringstream report_;
};

using Names = std::vector<std::string>;

TEST_F(ImageFileSourceTest, DirectoryGivesItsImageFilesByNameAndNothingElse) {
  write("b.png");
  write("a.tif");
  directory_.write("c.txt", "text");
  writeJpeg(path() / "D.JPG", kGray8);
  fs::create_directory(path() / "sub");
  write("sub/e.png");
  fs::create_directory(path() / "f.png");
  fs::create_symlink(path() / "b.png", path() / "g.bmp.png");
  const ImageList images = load(path(), std::nullopt);
  EXPECT_EQ(names(images), (Names{"a.tif", "b.png", "g.bmp.png"}));
  EXPECT_EQ(report_.str(), "");
  EXPECT_TRUE(images.front().path.is_absolute());
}

TEST_F(ImageFileSourceTest, NamesCompareByteByByte) {
  for (const char* name : {"img2.bmp", "img10.bmp", "Img3.bmp", "\xC3\xA9.bmp", "z.bmp", "img1.bmp"}) {
    write(name);
  }
  EXPECT_EQ(names(load(path(), std::nullopt)),
            (Names{"Img3.bmp", "img1.bmp", "img10.bmp", "img2.bmp", "z.bmp", "\xC3\xA9.bmp"}));
}

TEST_F(ImageFileSourceTest, RelativeDirectoryIsTakenInTheWorkingDirectory) {
  write("a.png");
  const ScopedWorkingDirectory inParent(path().parent_path());
  const ImageList images = load(path().filename(), std::nullopt);
  ASSERT_EQ(names(images), Names{"a.png"});
  EXPECT_EQ(images[0].path, path() / "a.png");
}

// An image order beats the directory and may repeat files; an empty one means no images, not the
// directory's (the fault: `[]` taken as an absent key); relative entries are taken in the
// directory, or without one in the working directory; without either key there are no images.
TEST_F(ImageFileSourceTest, ImageOrderAndDirectoryCombine) {
  for (const char* name : {"b.png", "a.png", "c.png"}) write(name);
  fs::create_directory(path() / "other");
  const ScopedWorkingDirectory inside(path());
  EXPECT_EQ(names(load(path(), Paths{"c.png", "a.png", "c.png"})), (Names{"c.png", "a.png", "c.png"}));
  EXPECT_TRUE(load(path(), Paths{}).empty());
  EXPECT_EQ(names(load(std::nullopt, Paths{"a.png"})), Names{"a.png"});
  EXPECT_EQ(load(path() / "other", Paths{path() / "a.png"})[0].path, path() / "a.png");
  EXPECT_TRUE(load(std::nullopt, std::nullopt).empty());
  EXPECT_TRUE(load(std::nullopt, Paths{}).empty());
}

TEST_F(ImageFileSourceTest, UnusableFilesAreLeftOutWithOneLineEachAndTheOthersStay) {
  write("a.png");
  directory_.write("b.png", "");
  directory_.write("c.mio", "proprietary");
  write("d.jpg");
  writeBytes(path() / "d.jpg", {0xFF, 0xD8, 0xFF});
  write("e.png");
  EXPECT_EQ(names(load(path(), std::nullopt)), (Names{"a.png", "e.png"}));
  EXPECT_EQ(reportLines(),
            (Names{"Skipped image file \"" + (path() / "b.png").string() + "\": the file is empty",
                   "Skipped image file \"" + (path() / "c.mio").string() + "\": no decoder is available for .mio files",
                   "Skipped image file \"" + (path() / "d.jpg").string() + "\": Premature end of JPEG file"}));
}

TEST_F(ImageFileSourceTest, MissingImageOrderEntryIsLeftOutWithALine) {
  write("a.png");
  EXPECT_EQ(names(load(path(), Paths{"gone.png", "a.png"})), Names{"a.png"});
  EXPECT_EQ(reportLines(),
            Names{"Skipped image file \"" + (path() / "gone.png").string() + "\": the file does not exist"});
}

TEST_F(ImageFileSourceTest, ImagesThatDifferFromTheFirstAreLeftOut) {
  directory_.write("a.png", "");  // fails, so b.png is the first image
  write("b.png");
  write("c.png", makePicture(6, 4, 3, 8));
  write("d.png", makePicture(6, 4, 1, 16));
  write("e.png", makePicture(6, 5, 1, 8));
  write("f.png", makePicture(7, 4, 4, 8));
  write("g.png", makePicture(6, 4, 2, 8));  // gray once its alpha is dropped
  EXPECT_EQ(names(load(path(), std::nullopt)), (Names{"b.png", "g.png"}));
  const std::vector<std::string> lines = reportLines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_NE(lines[1].find("c.png\": its planes differ from the first image's"), std::string::npos) << lines[1];
  EXPECT_NE(lines[3].find("e.png\": its size 6 x 5 differs from the first image's"), std::string::npos) << lines[3];
}

struct GeometryCase {
  const char* name;
  const char* fileName;
  std::size_t channels;
  std::uint8_t bitDepth;
  std::uint32_t pixelFormat;
};

class FirstImageGeometry : public ImageFileSourceTest, public ::testing::WithParamInterface<GeometryCase> {};

TEST_P(FirstImageGeometry, IsItsSizeAndThePixelFormatOfItsPlanes) {
  const GeometryCase& c = GetParam();
  write(c.fileName, makePicture(33, 17, c.channels, c.bitDepth));
  write(std::string("z") + c.fileName, makePicture(33, 17, c.channels, c.bitDepth));
  EXPECT_EQ(ImageFileSource::geometryOf(load(path(), std::nullopt)), (ImageGeometry{c.pixelFormat, 33, 17, 0, 0}));
}

// 8-bit gray and RGB files are streamed through the built producer.
INSTANTIATE_TEST_SUITE_P(Formats, FirstImageGeometry,
                         ::testing::Values(GeometryCase{"Gray16", "a.tif", 1, 16, pfnc::Mono16},
                                           GeometryCase{"Rgba8", "a.png", 4, 8, pfnc::RGB8},
                                           GeometryCase{"Rgb16", "a.j2k", 3, 16, pfnc::RGB10}),
                         [](const ::testing::TestParamInfo<GeometryCase>& info) { return info.param.name; });

}  // namespace
}  // namespace lumo::mockTL
