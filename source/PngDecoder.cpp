#include "source/PngDecoder.h"

#include <png.h>

#include <bit>
#include <csetjmp>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumo::mockTL {
namespace {

// Shared with libpng's callbacks: the file and the text of the error that ended decoding.
struct PngContext {
  std::FILE* file;
  char message[200];
};

[[noreturn]] void failPng(png_structp png, png_const_charp message) {
  auto* context = static_cast<PngContext*>(png_get_error_ptr(png));
  std::snprintf(context->message, sizeof context->message, "%s", message);
  png_longjmp(png, 1);
}

// Ancillary-chunk trouble is reported as a warning and leaves the pixels intact.
void ignorePngWarning(png_structp, png_const_charp) {}

// The default reader calls a short read "Read Error"; a truncated file deserves a clearer reason.
void readPngBytes(png_structp png, png_bytep data, std::size_t length) {
  auto* context = static_cast<PngContext*>(png_get_io_ptr(png));
  if (std::fread(data, 1, length, context->file) != length) {
    png_error(png, "the file ends before the image does");
  }
}

struct PngLayout {
  png_uint_32 width;
  png_uint_32 height;
  png_byte channels;
  png_byte bitDepth;
};

// This and readPngRows are the only frames a libpng error longjmps into: they hold nothing with a
// destructor, and every object that needs one lives in the caller, which the jump never skips.
bool readPngHeader(png_structp png, png_infop info, PngLayout* layout) {
  if (setjmp(png_jmpbuf(png))) {
    return false;
  }
  png_read_info(png, info);
  const png_byte colourType = png_get_color_type(png, info);
  if (colourType == PNG_COLOR_TYPE_PALETTE) {
    png_set_palette_to_rgb(png);
  }
  if (colourType == PNG_COLOR_TYPE_GRAY && png_get_bit_depth(png, info) < 8) {
    png_set_expand_gray_1_2_4_to_8(png);
  }
  // Also removes the alpha that expanding a palette's transparency adds.
  png_set_strip_alpha(png);
  if (png_get_bit_depth(png, info) == 16 && std::endian::native == std::endian::little) {
    png_set_swap(png);
  }
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  *layout = {png_get_image_width(png, info), png_get_image_height(png, info), png_get_channels(png, info),
             png_get_bit_depth(png, info)};
  return true;
}

bool readPngRows(png_structp png, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png))) {
    return false;
  }
  png_read_image(png, rows);
  return true;
}

// libpng's read structures, freed however decoding ends.
class PngReadStructs {
 public:
  explicit PngReadStructs(PngContext& context)
      : png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, &context, failPng, ignorePngWarning)),
        info_(png_ ? png_create_info_struct(png_) : nullptr) {}
  ~PngReadStructs() { png_destroy_read_struct(&png_, &info_, nullptr); }
  PngReadStructs(const PngReadStructs&) = delete;
  PngReadStructs& operator=(const PngReadStructs&) = delete;

  png_structp png() const { return png_; }
  png_infop info() const { return info_; }

 private:
  png_structp png_;
  png_infop info_;
};

}  // namespace

std::unique_ptr<MemoryImage> PngDecoder::decode(const std::filesystem::path& file, std::uint64_t maxPixels) const {
  const File input = openFile(file);
  PngContext context{input.get(), ""};
  PngReadStructs structs(context);
  if (structs.info() == nullptr) {
    throw std::runtime_error("libpng could not be initialised");
  }
  png_set_read_fn(structs.png(), &context, readPngBytes);

  PngLayout layout{};
  if (!readPngHeader(structs.png(), structs.info(), &layout)) {
    throw std::runtime_error(context.message);
  }
  checkPixelCount(layout.width, layout.height, maxPixels);
  if (layout.channels != 1 && layout.channels != 3) {
    throw std::runtime_error("unexpected channel count " + std::to_string(layout.channels));
  }

  auto image =
      std::make_unique<MemoryImage>(layout.width, layout.height, layout.channels, PlaneDataType{layout.bitDepth, false},
                                    MemoryImage::Arrangement::Interleaved);
  const std::size_t rowBytes = image->size() / layout.height;
  std::vector<png_bytep> rows(layout.height);
  for (std::size_t y = 0; y < rows.size(); ++y) {
    rows[y] = reinterpret_cast<png_bytep>(image->data() + y * rowBytes);
  }
  if (!readPngRows(structs.png(), rows.data())) {
    throw std::runtime_error(context.message);
  }
  return image;
}

}  // namespace lumo::mockTL
