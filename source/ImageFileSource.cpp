#include "source/ImageFileSource.h"

#include <algorithm>
#include <exception>
#include <ostream>
#include <string>
#include <system_error>

#include "base/Pfnc.h"
#include "source/ImageFileLoader.h"

namespace lumo::mockTL {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failFileSystem(const char* operation, const fs::path& path, std::error_code error) {
  throw fs::filesystem_error(operation, path, error);
}

std::vector<fs::path> listedFiles(const std::optional<fs::path>& directory, const std::vector<fs::path>& order) {
  std::vector<fs::path> files;
  for (const fs::path& entry : order) {
    const fs::path file = directory && entry.is_relative() ? *directory / entry : entry;
    std::error_code error;
    // A file that does not exist passes: it fails to load later, like any other unusable entry.
    if (fs::status(file, error).type() != fs::file_type::not_found && error) failFileSystem("status", file, error);
    files.push_back(file);
  }
  return files;
}

std::vector<fs::path> directoryFiles(const fs::path& directory) {
  std::error_code error;
  const fs::path absolute = fs::absolute(directory, error);
  if (error) failFileSystem("absolute", directory, error);
  fs::directory_iterator entry(absolute, error);
  if (error) failFileSystem("directory_iterator::directory_iterator", absolute, error);
  std::vector<fs::path> files;
  for (; entry != fs::directory_iterator(); entry.increment(error)) {
    std::error_code typeError;
    if (entry->is_regular_file(typeError) && ImageFileLoader::hasAcceptedExtension(entry->path())) {
      files.push_back(entry->path());
    }
  }
  if (error) failFileSystem("directory_iterator::operator++", absolute, error);
  // std::string compares its characters as unsigned char: byte-wise order.
  std::sort(files.begin(), files.end(),
            [](const fs::path& a, const fs::path& b) { return a.filename().string() < b.filename().string(); });
  return files;
}

bool planesShareOneDataType(const SourceImage& image) {
  for (std::size_t plane = 1; plane < image.planeCount(); ++plane) {
    const PlaneDataType first = image.planeDataType(0);
    const PlaneDataType other = image.planeDataType(plane);
    if (other.bitDepth != first.bitDepth || other.isSigned != first.isSigned) return false;
  }
  return true;
}

std::optional<ImageGeometry> geometryOfImage(const SourceImage& image) {
  const std::optional<std::uint32_t> format = ImageFileSource::pixelFormatOf(image);
  if (!format) {
    return std::nullopt;
  }
  return ImageGeometry{*format, image.width(), image.height(), 0, 0};
}

// Why `image` cannot follow an image of `first`'s geometry, or empty when it can.
std::string mismatch(const SourceImage& image, const ImageGeometry& first) {
  if (ImageFileSource::pixelFormatOf(image) != first.pixelFormat) {
    return "its planes differ from the first image's";
  }
  if (image.width() != first.width || image.height() != first.height) {
    return "its size " + std::to_string(image.width()) + " x " + std::to_string(image.height()) +
           " differs from the first image's";
  }
  return {};
}

}  // namespace

ImageList ImageFileSource::load(const std::optional<fs::path>& directory,
                                const std::optional<std::vector<fs::path>>& order, std::ostream& report) {
  return load(directory, order, report, [](const fs::path& file) { return ImageFileLoader::load(file); });
}

ImageList ImageFileSource::load(const std::optional<fs::path>& directory,
                                const std::optional<std::vector<fs::path>>& order, std::ostream& report,
                                const Loader& loader) {
  std::vector<fs::path> files;
  // A given order is the whole list, also when it names no file: then there are no images and the
  // stream delivers its generated pattern. Only without one does the directory decide.
  if (order) {
    files = listedFiles(directory, *order);
  } else if (directory) {
    files = directoryFiles(*directory);
  }

  ImageList images;
  std::optional<ImageGeometry> first;
  const auto skip = [&report](const fs::path& file, const std::string& reason) {
    report << "Skipped image file " << file << ": " << reason << std::endl;
  };
  for (const fs::path& file : files) {
    std::shared_ptr<const SourceImage> image;
    try {
      image = loader(file);
    } catch (const std::exception& failure) {
      skip(file, failure.what());
      continue;
    }
    if (!planesShareOneDataType(*image)) {
      report << "Skipped all image files: the planes of " << file << " differ in data type" << std::endl;
      return {};
    }
    if (!first) {
      first = geometryOfImage(*image);
      if (!first) {
        skip(file, "no pixel format fits its planes");
        continue;
      }
    } else if (const std::string reason = mismatch(*image, *first); !reason.empty()) {
      skip(file, reason);
      continue;
    }
    images.push_back({file, std::move(image)});
  }
  return images;
}

std::optional<ImageGeometry> ImageFileSource::geometryOf(const ImageList& images) {
  return images.empty() ? std::nullopt : geometryOfImage(*images.front().image);
}

std::optional<std::uint32_t> ImageFileSource::pixelFormatOf(const SourceImage& image) {
  if (image.planeCount() != 1 && image.planeCount() != 3) {
    return std::nullopt;
  }
  const PlaneDataType type = image.planeDataType(0);
  if (type.isSigned || type.bitDepth == 0 || type.bitDepth > 16) {
    return std::nullopt;
  }
  const bool wide = type.elementBytes() == 2;
  if (image.planeCount() == 1) {
    return wide ? pfnc::Mono16 : pfnc::Mono8;
  }
  return wide ? pfnc::RGB10 : pfnc::RGB8;
}

const SourceImage* ImageFileSource::imageForFrame(const ImageList& images, std::uint64_t startedCount) {
  return images.empty() ? nullptr : images[startedCount % images.size()].image.get();
}

}  // namespace lumo::mockTL
