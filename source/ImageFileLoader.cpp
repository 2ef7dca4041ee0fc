#include "source/ImageFileLoader.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

#include "source/BmpDecoder.h"
#include "source/Jpeg2000Decoder.h"
#include "source/JpegDecoder.h"
#include "source/PngDecoder.h"
#include "source/TiffDecoder.h"

namespace lumo::mockTL {
namespace {

const BmpDecoder kBmp;
const JpegDecoder kJpeg;
const PngDecoder kPng;
const Jpeg2000Decoder kJpeg2000;
const TiffDecoder kTiff;

struct Format {
  std::string_view extension;
  const ImageDecoder* decoder;  // null: accepted, but no open decoder exists
};

constexpr Format kFormats[] = {
    {".bmp", &kBmp}, {".mio", nullptr},    {".jpg", &kJpeg}, {".jpeg", &kJpeg},
    {".png", &kPng}, {".j2k", &kJpeg2000}, {".tif", &kTiff}, {".tiff", &kTiff},
};

const Format* formatOf(const std::filesystem::path& file) {
  const std::string name = file.filename().string();
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0) {
    return nullptr;
  }
  const std::string_view extension = std::string_view(name).substr(dot);
  const auto* found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                   [extension](const Format& format) { return format.extension == extension; });
  return found != std::end(kFormats) ? found : nullptr;
}

}  // namespace

bool ImageFileLoader::hasAcceptedExtension(const std::filesystem::path& file) { return formatOf(file) != nullptr; }

std::shared_ptr<const SourceImage> ImageFileLoader::load(const std::filesystem::path& file, std::uint64_t maxPixels) {
  std::error_code error;
  // A missing file is reported with the error code set as well.
  const std::filesystem::file_type type = std::filesystem::status(file, error).type();
  if (type == std::filesystem::file_type::not_found) {
    throw std::runtime_error("the file does not exist");
  }
  if (error) {
    throw std::runtime_error(error.message());
  }
  if (type != std::filesystem::file_type::regular) {
    throw std::runtime_error("not a regular file");
  }
  const Format* format = formatOf(file);
  if (format == nullptr) {
    throw std::runtime_error("not an image file extension");
  }
  if (format->decoder == nullptr) {
    throw std::runtime_error("no decoder is available for " + std::string(format->extension) + " files");
  }
  if (std::filesystem::file_size(file, error) == 0 && !error) {
    throw std::runtime_error("the file is empty");
  }
  return format->decoder->decode(file, maxPixels);
}

}  // namespace lumo::mockTL
