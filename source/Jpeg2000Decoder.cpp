#include "source/Jpeg2000Decoder.h"

#include <openjpeg.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

namespace lumo::mockTL {
namespace {

// The first error OpenJPEG reports for one file; later ones usually follow from it.
struct OpenJpegErrors {
  char first[200];
};

void keepOpenJpegError(const char* message, void* errors) {
  auto* kept = static_cast<OpenJpegErrors*>(errors);
  if (kept->first[0] == '\0') {
    std::snprintf(kept->first, sizeof kept->first, "%s", message);
    // OpenJPEG ends its messages with a line end; the reason is printed inside one line.
    kept->first[std::strcspn(kept->first, "\n")] = '\0';
  }
}

void ignoreOpenJpegMessage(const char*, void*) {}

// The signature box that opens a JP2 file; anything else is taken for a raw codestream.
OPJ_CODEC_FORMAT codecOf(std::FILE* file) {
  static constexpr std::array<unsigned char, 12> kJp2Signature = {0x00, 0x00, 0x00, 0x0C, 0x6A, 0x50,
                                                                  0x20, 0x20, 0x0D, 0x0A, 0x87, 0x0A};
  std::array<unsigned char, 12> start{};
  const bool jp2 = std::fread(start.data(), 1, start.size(), file) == start.size() && start == kJp2Signature;
  return jp2 ? OPJ_CODEC_JP2 : OPJ_CODEC_J2K;
}

struct OpenJpegStream {
  void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};
struct OpenJpegCodec {
  void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct OpenJpegImage {
  void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};

template <class Sample>
void interleave(const opj_image_t& decoded, MemoryImage& image) {
  const std::size_t planes = image.planeCount();
  const std::size_t pixels = std::size_t{image.width()} * image.height();
  auto* out = reinterpret_cast<Sample*>(image.data());
  for (std::size_t plane = 0; plane < planes; ++plane) {
    const opj_image_comp_t& component = decoded.comps[plane];
    const auto maximum = static_cast<OPJ_INT32>((1U << component.prec) - 1);
    for (std::size_t i = 0; i < pixels; ++i) {
      out[i * planes + plane] = static_cast<Sample>(std::clamp<OPJ_INT32>(component.data[i], 0, maximum));
    }
  }
}

}  // namespace

std::unique_ptr<MemoryImage> Jpeg2000Decoder::decode(const std::filesystem::path& file, std::uint64_t maxPixels) const {
  const OPJ_CODEC_FORMAT format = codecOf(openFile(file).get());
  OpenJpegErrors errors{};
  const std::unique_ptr<opj_stream_t, OpenJpegStream> stream(opj_stream_create_default_file_stream(file.c_str(), true));
  const std::unique_ptr<opj_codec_t, OpenJpegCodec> codec(opj_create_decompress(format));
  if (!stream || !codec) {
    throw std::runtime_error("OpenJPEG could not be initialised");
  }
  opj_set_error_handler(codec.get(), keepOpenJpegError, &errors);
  opj_set_warning_handler(codec.get(), ignoreOpenJpegMessage, nullptr);
  opj_set_info_handler(codec.get(), ignoreOpenJpegMessage, nullptr);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  // Strict: a truncated codestream fails instead of decoding to a partly blank image.
  if (!opj_setup_decoder(codec.get(), &parameters) || !opj_decoder_set_strict_mode(codec.get(), true)) {
    throw std::runtime_error("OpenJPEG could not be initialised");
  }
  const auto fail = [&errors](const char* otherwise) {
    throw std::runtime_error(errors.first[0] != '\0' ? errors.first : otherwise);
  };

  opj_image_t* header = nullptr;
  const bool headerRead = opj_read_header(stream.get(), codec.get(), &header);
  const std::unique_ptr<opj_image_t, OpenJpegImage> decoded(header);
  if (!headerRead || !decoded) fail("the header cannot be read");
  checkPixelCount(decoded->x1 - decoded->x0, decoded->y1 - decoded->y0, maxPixels);
  if (decoded->numcomps == 0) fail("the image has no components");
  const std::size_t planes = decoded->numcomps < 3 ? 1 : 3;
  if (planes == 3 && decoded->color_space != OPJ_CLRSPC_SRGB && decoded->color_space != OPJ_CLRSPC_UNSPECIFIED &&
      decoded->color_space != OPJ_CLRSPC_UNKNOWN) {
    throw std::runtime_error("only RGB colour is supported");
  }
  const OPJ_UINT32 precision = decoded->comps[0].prec;
  for (std::size_t plane = 0; plane < planes; ++plane) {
    const opj_image_comp_t& component = decoded->comps[plane];
    if (component.dx != 1 || component.dy != 1) throw std::runtime_error("subsampled components are not supported");
    if (component.sgnd != 0) throw std::runtime_error("signed components are not supported");
    if (component.prec != precision || precision == 0 || precision > 16) {
      throw std::runtime_error("components of 1 to 16 bits, all of one precision, are supported");
    }
  }

  if (!opj_decode(codec.get(), stream.get(), decoded.get()) || !opj_end_decompress(codec.get(), stream.get())) {
    fail("the image data cannot be decoded");
  }
  const std::uint32_t width = decoded->comps[0].w;
  const std::uint32_t height = decoded->comps[0].h;
  for (std::size_t plane = 0; plane < planes; ++plane) {
    const opj_image_comp_t& component = decoded->comps[plane];
    if (component.data == nullptr || component.w != width || component.h != height) fail("a component is missing");
  }
  auto image =
      std::make_unique<MemoryImage>(width, height, planes, PlaneDataType{static_cast<std::uint8_t>(precision), false},
                                    MemoryImage::Arrangement::Interleaved);
  precision <= 8 ? interleave<std::uint8_t>(*decoded, *image) : interleave<std::uint16_t>(*decoded, *image);
  return image;
}

}  // namespace lumo::mockTL
