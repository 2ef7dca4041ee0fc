#include "source/JpegDecoder.h"

// jpeglib.h uses FILE and size_t without including their headers.
#include <cstddef>
#include <cstdio>
// clang-format off
#include <jpeglib.h>
// clang-format on

#include <csetjmp>
#include <stdexcept>
#include <string>

namespace lumo::mockTL {
namespace {

// libjpeg's error manager extended by the jump back into the decoder and the failure's text.
struct JpegErrors {
  jpeg_error_mgr manager;
  std::jmp_buf jump;
  char message[JMSG_LENGTH_MAX];
};

[[noreturn]] void failJpeg(j_common_ptr info) {
  auto* errors = reinterpret_cast<JpegErrors*>(info->err);
  (*info->err->format_message)(info, errors->message);
  std::longjmp(errors->jump, 1);
}

// Level -1 is a warning about damaged data; higher levels are trace messages.
void onJpegMessage(j_common_ptr info, int level) {
  if (level < 0) {
    failJpeg(info);
  }
}

struct JpegLayout {
  JDIMENSION width;
  JDIMENSION height;
  int components;
  J_COLOR_SPACE colourSpace;
};

// This and readJpegRows are the only frames a libjpeg error longjmps into: they hold nothing with a
// destructor, and every object that needs one lives in the caller, which the jump never skips.
bool readJpegHeader(jpeg_decompress_struct* info, JpegErrors* errors, std::FILE* file, JpegLayout* layout) {
  if (setjmp(errors->jump)) {
    return false;
  }
  jpeg_create_decompress(info);
  jpeg_stdio_src(info, file);
  jpeg_read_header(info, TRUE);
  *layout = {info->image_width, info->image_height, info->num_components, info->jpeg_color_space};
  return true;
}

bool readJpegRows(jpeg_decompress_struct* info, JpegErrors* errors, JSAMPLE* pixels, std::size_t rowBytes) {
  if (setjmp(errors->jump)) {
    return false;
  }
  jpeg_start_decompress(info);
  while (info->output_scanline < info->output_height) {
    JSAMPROW row = pixels + std::size_t{info->output_scanline} * rowBytes;
    jpeg_read_scanlines(info, &row, 1);
  }
  jpeg_finish_decompress(info);
  return true;
}

// libjpeg's decompressor, destroyed however decoding ends (destroying one whose creation failed is
// a no-op).
class JpegDecompressor {
 public:
  explicit JpegDecompressor(JpegErrors& errors) {
    info_.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = failJpeg;
    errors.manager.emit_message = onJpegMessage;
  }
  ~JpegDecompressor() { jpeg_destroy_decompress(&info_); }
  JpegDecompressor(const JpegDecompressor&) = delete;
  JpegDecompressor& operator=(const JpegDecompressor&) = delete;

  jpeg_decompress_struct* info() { return &info_; }

 private:
  jpeg_decompress_struct info_{};
};

}  // namespace

std::unique_ptr<MemoryImage> JpegDecoder::decode(const std::filesystem::path& file, std::uint64_t maxPixels) const {
  const File input = openFile(file);
  JpegErrors errors{};
  JpegDecompressor decompressor(errors);
  JpegLayout layout{};
  if (!readJpegHeader(decompressor.info(), &errors, input.get(), &layout)) {
    throw std::runtime_error(errors.message);
  }
  checkPixelCount(layout.width, layout.height, maxPixels);
  std::size_t planes = 3;
  if (layout.colourSpace == JCS_GRAYSCALE) {
    planes = 1;
  } else if (layout.colourSpace != JCS_YCbCr && layout.colourSpace != JCS_RGB) {
    throw std::runtime_error("CMYK and YCCK images are not supported");
  }
  decompressor.info()->out_color_space = planes == 1 ? JCS_GRAYSCALE : JCS_RGB;

  auto image = std::make_unique<MemoryImage>(layout.width, layout.height, planes, PlaneDataType{8, false},
                                             MemoryImage::Arrangement::Interleaved);
  if (!readJpegRows(decompressor.info(), &errors, reinterpret_cast<JSAMPLE*>(image->data()),
                    std::size_t{layout.width} * planes)) {
    throw std::runtime_error(errors.message);
  }
  return image;
}

}  // namespace lumo::mockTL
