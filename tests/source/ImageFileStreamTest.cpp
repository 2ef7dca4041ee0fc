// Streams of image files through the built LmMockTL.cti: the files' own pixels frame after frame,
// in file-name order, with the first file's geometry, and the camera reporting where they come from.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "source/ImageFiles.h"
#include "support/FlowSession.h"

namespace {

using testing_support::FlowSession;
using testing_support::makePicture;
using testing_support::ScopedVariable;
using testing_support::TemporaryDirectory;
using testing_support::TestPicture;

constexpr std::size_t kTimestampBytes = 8;

std::vector<std::uint8_t> bytesOf(const TestPicture& picture) {
  return std::vector<std::uint8_t>(picture.samples.begin(), picture.samples.end());
}

class ImageFileStream : public FlowSession {
 protected:
  // A stream over `directory` on a device of its own, configured to a geometry the files override.
  DS_HANDLE openImageStream(const TemporaryDirectory& directory) {
    configuration_.emplace("LMMOCKTL_CONFIG",
                           directory
                               .write("files.json", R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "Cam",
                                  "Streams": [{"ID": "Files", "Width": 640, "Height": 480, "PixelFormat": "RGB8",
                                  "ImageDirectoryPath": ")" +
                                                        directory.path().string() + R"("}]}]}]})")
                               .string());
    const DS_HANDLE stream = openDeviceStream("Files", "I", "Cam");
    openCamera();
    return stream;
  }

  std::optional<ScopedVariable> configuration_;
};

TEST_F(ImageFileStream, DeliversEachFilesPixelsInNameOrderRoundAndRound) {
  TemporaryDirectory directory;
  TestPicture later = makePicture(40, 30, 1, 8);
  for (auto& sample : later.samples) {
    sample = static_cast<std::uint16_t>(255 - sample);
  }
  const TestPicture earlier = makePicture(40, 30, 1, 8);
  testing_support::writePng(directory.path() / "img2.png", later);
  testing_support::writePng(directory.path() / "img10.png", earlier);
  directory.write("notes.txt", "not an image");

  const DS_HANDLE stream = openImageStream(directory);
  EXPECT_EQ(readCamera(testing_support::camera::kStreamingDataSource), 1u) << "ImageFile";
  ASSERT_EQ(payloadSize(stream), 40u * 30u);
  const EVENT_HANDLE event = startAcquisition(stream, 3);
  const std::vector<std::vector<std::uint8_t>> expected = {bytesOf(earlier), bytesOf(later), bytesOf(earlier)};
  for (const auto& image : expected) {
    const BUFFER_HANDLE buffer = nextBuffer(event);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(bufferInfo<std::uint64_t>(stream, buffer, BUFFER_INFO_PIXELFORMAT), 0x01080001u) << "Mono8";
    const std::vector<std::uint8_t> frame = bufferBytes(stream, buffer);
    ASSERT_EQ(frame.size(), image.size());
    EXPECT_TRUE(std::equal(frame.begin() + kTimestampBytes, frame.end(), image.begin() + kTimestampBytes));
    ASSERT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
  }
  ASSERT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);

  // Frame ids start again with the next acquisition, but the images follow the started count: the
  // fourth frame ever shows the second file.
  ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  const BUFFER_HANDLE fourth = nextBuffer(event);
  ASSERT_NE(fourth, nullptr);
  EXPECT_EQ(bufferInfo<std::uint64_t>(stream, fourth, BUFFER_INFO_FRAMEID), 0u);
  const std::vector<std::uint8_t> frame = bufferBytes(stream, fourth);
  EXPECT_TRUE(std::equal(frame.begin() + kTimestampBytes, frame.end(), expected[1].begin() + kTimestampBytes));
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(ImageFileStream, ColourFileGivesAnRgbStreamOfItsSamples) {
  TemporaryDirectory directory;
  const TestPicture picture = makePicture(16, 8, 3, 8);
  testing_support::writePng(directory.path() / "colour.png", picture);

  const DS_HANDLE stream = openImageStream(directory);
  ASSERT_EQ(payloadSize(stream), 16u * 8u * 3u);
  const EVENT_HANDLE event = startAcquisition(stream, 1);
  const BUFFER_HANDLE buffer = nextBuffer(event);
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(bufferInfo<std::uint64_t>(stream, buffer, BUFFER_INFO_PIXELFORMAT), 0x02180014u) << "RGB8";
  const std::vector<std::uint8_t> frame = bufferBytes(stream, buffer);
  const std::vector<std::uint8_t> image = bytesOf(picture);
  ASSERT_EQ(frame.size(), image.size());
  EXPECT_TRUE(std::equal(frame.begin() + kTimestampBytes, frame.end(), image.begin() + kTimestampBytes));
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(ImageFileStream, DirectoryWithoutUsableFilesStreamsTheGeneratedImage) {
  TemporaryDirectory directory;
  directory.write("broken.png", "not a png");
  const DS_HANDLE stream = openImageStream(directory);
  EXPECT_EQ(readCamera(testing_support::camera::kStreamingDataSource), 0u) << "Generator";
  EXPECT_EQ(payloadSize(stream), 640u * 480u * 3u);
}

}  // namespace
