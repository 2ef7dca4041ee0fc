#include "tools/PngFile.h"

#include <png.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace lmmocktl {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void fail(png_structp, png_const_charp message) { throw std::runtime_error(message); }
void ignoreWarning(png_structp, png_const_charp) {}

}  // namespace

void PngFile::write(const std::filesystem::path& path, const UnpackedImage& image) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
  if (!file) throw std::runtime_error("cannot write " + path.string());
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignoreWarning);
  png_infop info = png_create_info_struct(png);
  try {
    png_init_io(png, file.get());
    // Frames are written while the camera streams: fast compression keeps up with it.
    png_set_compression_level(png, 1);
    png_set_IHDR(png, info, image.width, image.height, static_cast<int>(image.bitDepth),
                 image.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (image.bitDepth == 16 && image.significantBits < 16) {
      png_color_8 bits{};
      bits.gray = bits.red = bits.green = bits.blue = static_cast<png_byte>(image.significantBits);
      png_set_sBIT(png, info, &bits);
    }
    png_write_info(png, info);
    const std::size_t lineSamples = std::size_t{image.width} * image.channels;
    std::vector<png_byte> line(lineSamples * image.bitDepth / 8);
    for (std::uint32_t y = 0; y < image.height; ++y) {
      const std::uint16_t* samples = image.samples.data() + y * lineSamples;
      for (std::size_t i = 0; i < lineSamples; ++i) {
        if (image.bitDepth == 8) {
          line[i] = static_cast<png_byte>(samples[i]);
        } else {
          line[2 * i] = static_cast<png_byte>(samples[i] >> 8);  // PNG is big-endian
          line[2 * i + 1] = static_cast<png_byte>(samples[i] & 0xFF);
        }
      }
      png_write_row(png, line.data());
    }
    png_write_end(png, nullptr);
  } catch (const std::exception& error) {
    png_destroy_write_struct(&png, &info);
    throw std::runtime_error("cannot write " + path.string() + ": " + error.what());
  }
  png_destroy_write_struct(&png, &info);
  if (std::fflush(file.get()) != 0) throw std::runtime_error("cannot write " + path.string());
}

UnpackedImage PngFile::read(const std::filesystem::path& path) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) throw std::runtime_error("cannot read " + path.string());
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignoreWarning);
  png_infop info = png_create_info_struct(png);
  UnpackedImage image;
  try {
    png_init_io(png, file.get());
    png_read_info(png, info);
    const int colour = png_get_color_type(png, info);
    if (colour != PNG_COLOR_TYPE_GRAY && colour != PNG_COLOR_TYPE_RGB) {
      throw std::runtime_error("not a gray or RGB image");
    }
    image.width = png_get_image_width(png, info);
    image.height = png_get_image_height(png, info);
    image.channels = colour == PNG_COLOR_TYPE_GRAY ? 1 : 3;
    image.bitDepth = png_get_bit_depth(png, info);
    if (image.bitDepth != 8 && image.bitDepth != 16) throw std::runtime_error("not 8 or 16 bits per sample");
    image.significantBits = image.bitDepth;
    png_color_8p bits = nullptr;
    if (png_get_sBIT(png, info, &bits) != 0 && bits != nullptr) {
      image.significantBits = colour == PNG_COLOR_TYPE_GRAY ? bits->gray : bits->red;
    }
    const std::size_t lineSamples = std::size_t{image.width} * image.channels;
    std::vector<png_byte> line(png_get_rowbytes(png, info));
    image.samples.resize(lineSamples * image.height);
    for (std::uint32_t y = 0; y < image.height; ++y) {
      png_read_row(png, line.data(), nullptr);
      for (std::size_t i = 0; i < lineSamples; ++i) {
        image.samples[y * lineSamples + i] =
            image.bitDepth == 8 ? line[i] : static_cast<std::uint16_t>((line[2 * i] << 8) | line[2 * i + 1]);
      }
    }
  } catch (const std::exception& error) {
    png_destroy_read_struct(&png, &info, nullptr);
    throw std::runtime_error("cannot read " + path.string() + ": " + error.what());
  }
  png_destroy_read_struct(&png, &info, nullptr);
  return image;
}

}  // namespace lmmocktl
