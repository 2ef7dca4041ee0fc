#include "source/ImageFiles.h"

#include <png.h>
#include <tiffio.h>
// jpeglib.h uses FILE and size_t without including their headers.
#include <cstddef>
#include <cstdio>
// clang-format off
#include <jpeglib.h>
// clang-format on
#include <openjpeg.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace testing_support {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::unique_ptr<std::FILE, FileCloser> create(const std::filesystem::path& file) {
  std::unique_ptr<std::FILE, FileCloser> opened(std::fopen(file.c_str(), "wb"));
  if (!opened) throw std::runtime_error("cannot create " + file.string());
  return opened;
}

// Quality 100 without chroma subsampling, so that decoded samples stay within a few levels.
void compressJpeg(const std::filesystem::path& file, const TestPicture& picture, J_COLOR_SPACE colourSpace) {
  const auto output = create(file);
  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  jpeg_stdio_dest(&info, output.get());
  info.image_width = picture.width;
  info.image_height = picture.height;
  info.input_components = static_cast<int>(picture.channels);
  info.in_color_space = colourSpace;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, 100, TRUE);
  for (int c = 0; c < info.num_components; ++c) {
    info.comp_info[c].h_samp_factor = 1;
    info.comp_info[c].v_samp_factor = 1;
  }
  jpeg_start_compress(&info, TRUE);
  std::vector<JSAMPLE> row(std::size_t{picture.width} * picture.channels);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    std::copy_n(picture.samples.begin() + static_cast<std::ptrdiff_t>(y * row.size()), row.size(), row.begin());
    JSAMPROW rows[] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
}

}  // namespace

TestPicture makePicture(std::uint32_t width, std::uint32_t height, std::size_t channels, std::uint8_t bitDepth,
                        bool smooth) {
  TestPicture picture{width, height, channels, bitDepth, {}};
  const unsigned mask = bitDepth == 8 ? 0xFF : 0xFFFF;
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      for (std::size_t c = 0; c < channels; ++c) {
        const unsigned value = smooth          ? std::min(255u, x * 4 + y * 2 + static_cast<unsigned>(c) * 40)
                               : bitDepth == 8 ? c * 0x4D + y * 0x3B + x * 0x11 + 1
                                               : c * 0x4D13 + y * 0x3B07 + x * 0x1115 + 0x0101;
        picture.samples.push_back(static_cast<std::uint16_t>(value & mask));
      }
    }
  }
  return picture;
}

void writePng(const std::filesystem::path& file, const TestPicture& picture, bool interlaced) {
  static constexpr int kColourTypes[] = {0, PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                         PNG_COLOR_TYPE_RGB_ALPHA};
  const auto output = create(file);
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, output.get());
  png_set_IHDR(png, info, picture.width, picture.height, picture.bitDepth, kColourTypes[picture.channels],
               interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  // PNG stores 16-bit samples big-endian.
  const std::size_t sampleBytes = picture.bitDepth / 8;
  const std::size_t rowBytes = std::size_t{picture.width} * picture.channels * sampleBytes;
  std::vector<png_byte> bytes(rowBytes * picture.height);
  for (std::size_t i = 0; i < picture.samples.size(); ++i) {
    if (sampleBytes == 1) {
      bytes[i] = static_cast<png_byte>(picture.samples[i]);
    } else {
      bytes[2 * i] = static_cast<png_byte>(picture.samples[i] >> 8);
      bytes[2 * i + 1] = static_cast<png_byte>(picture.samples[i]);
    }
  }
  std::vector<png_bytep> rows(picture.height);
  for (std::size_t y = 0; y < rows.size(); ++y) rows[y] = bytes.data() + y * rowBytes;
  png_write_info(png, info);
  png_write_image(png, rows.data());
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
}

void writePngHeader(const std::filesystem::path& file, std::uint32_t width, std::uint32_t height) {
  {
    const auto output = create(file);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, output.get());
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_destroy_write_struct(&png, &info);
  }
  // An empty IDAT chunk: a reader takes the header for complete only when image data follows.
  std::vector<unsigned char> bytes = readBytes(file);
  bytes.insert(bytes.end(), {0, 0, 0, 0, 'I', 'D', 'A', 'T', 0x35, 0xAF, 0x06, 0x1E});
  writeBytes(file, bytes);
}

void writeJpeg(const std::filesystem::path& file, const TestPicture& picture) {
  compressJpeg(file, picture, picture.channels == 1 ? JCS_GRAYSCALE : JCS_RGB);
}

void writeTiff(const std::filesystem::path& file, const TestPicture& picture, TiffLayout layout) {
  TIFF* tiff = TIFFOpen(file.c_str(), "w");
  if (tiff == nullptr) throw std::runtime_error("cannot create " + file.string());
  const bool planar = layout == TiffLayout::Planar;
  const auto channels = static_cast<std::uint16_t>(picture.channels);
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, picture.bitDepth);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, picture.channels < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, layout == TiffLayout::Contiguous ? COMPRESSION_LZW : COMPRESSION_NONE);
  if (picture.channels == 2 || picture.channels == 4) {
    const std::uint16_t alpha[] = {EXTRASAMPLE_UNASSALPHA};
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, alpha);
  }
  // Samples in the machine's byte order; libtiff records which that is.
  const std::size_t sampleBytes = picture.bitDepth / 8;
  const auto sampleInto = [&](std::byte* out, std::uint32_t x, std::uint32_t y, std::size_t c) {
    const std::uint16_t value = picture.at(x, y, c);
    if (sampleBytes == 1) {
      *out = static_cast<std::byte>(value);
    } else {
      std::memcpy(out, &value, 2);
    }
  };
  if (layout == TiffLayout::Tiled) {
    constexpr std::uint32_t kTile = 16;
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kTile);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, kTile);
    std::vector<std::byte> tile(kTile * kTile * picture.channels * sampleBytes);
    for (std::uint32_t ty = 0; ty < picture.height; ty += kTile) {
      for (std::uint32_t tx = 0; tx < picture.width; tx += kTile) {
        std::fill(tile.begin(), tile.end(), std::byte{0});
        for (std::uint32_t y = ty; y < std::min(ty + kTile, picture.height); ++y) {
          for (std::uint32_t x = tx; x < std::min(tx + kTile, picture.width); ++x) {
            for (std::size_t c = 0; c < picture.channels; ++c) {
              sampleInto(&tile[(((y - ty) * kTile + (x - tx)) * picture.channels + c) * sampleBytes], x, y, c);
            }
          }
        }
        TIFFWriteTile(tiff, tile.data(), tx, ty, 0, 0);
      }
    }
  } else {
    // Two rows per strip: several strips, so that the reader must walk them.
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 2);
    const std::size_t planes = planar ? picture.channels : 1;
    const std::size_t perPixel = planar ? 1 : picture.channels;
    std::vector<std::byte> row(std::size_t{picture.width} * perPixel * sampleBytes);
    for (std::size_t plane = 0; plane < planes; ++plane) {
      for (std::uint32_t y = 0; y < picture.height; ++y) {
        for (std::uint32_t x = 0; x < picture.width; ++x) {
          for (std::size_t c = 0; c < perPixel; ++c) {
            sampleInto(&row[(x * perPixel + c) * sampleBytes], x, y, planar ? plane : c);
          }
        }
        TIFFWriteScanline(tiff, row.data(), y, static_cast<std::uint16_t>(plane));
      }
    }
  }
  TIFFClose(tiff);
}

void writeJ2k(const std::filesystem::path& file, const TestPicture& picture, bool jp2, std::uint8_t precision) {
  std::vector<opj_image_cmptparm_t> parameters(picture.channels);
  for (auto& component : parameters) {
    component = {};
    component.dx = 1;
    component.dy = 1;
    component.w = picture.width;
    component.h = picture.height;
    component.prec = precision != 0 ? precision : picture.bitDepth;
  }
  opj_image_t* image = opj_image_create(static_cast<OPJ_UINT32>(picture.channels), parameters.data(),
                                        picture.channels < 3 ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB);
  image->x1 = picture.width;
  image->y1 = picture.height;
  for (std::size_t c = 0; c < picture.channels; ++c) {
    for (std::uint32_t y = 0; y < picture.height; ++y) {
      for (std::uint32_t x = 0; x < picture.width; ++x) {
        image->comps[c].data[std::size_t{y} * picture.width + x] = picture.at(x, y, c);
      }
    }
  }
  opj_cparameters_t settings;
  opj_set_default_encoder_parameters(&settings);
  // Lossless, with no more resolution levels than the smaller side allows.
  settings.tcp_numlayers = 1;
  settings.tcp_rates[0] = 0;
  settings.cp_disto_alloc = 1;
  while (settings.numresolution > 1 && (1U << (settings.numresolution - 1)) > std::min(picture.width, picture.height)) {
    --settings.numresolution;
  }
  opj_codec_t* codec = opj_create_compress(jp2 ? OPJ_CODEC_JP2 : OPJ_CODEC_J2K);
  opj_setup_encoder(codec, &settings, image);
  opj_stream_t* stream = opj_stream_create_default_file_stream(file.c_str(), OPJ_FALSE);
  const bool written =
      opj_start_compress(codec, image, stream) && opj_encode(codec, stream) && opj_end_compress(codec, stream);
  opj_stream_destroy(stream);
  opj_destroy_codec(codec);
  opj_image_destroy(image);
  if (!written) throw std::runtime_error("cannot encode " + file.string());
}

void writeBmp(const std::filesystem::path& file, const TestPicture& picture, bool topDown) {
  const std::size_t bytesPerPixel = picture.channels == 1 ? 1 : picture.channels;
  const std::size_t rowBytes = (picture.width * bytesPerPixel + 3) / 4 * 4;
  const std::size_t paletteBytes = picture.channels == 1 ? 256 * 4 : 0;
  const std::size_t offset = 14 + 40 + paletteBytes;
  std::vector<unsigned char> bytes;
  const auto put = [&bytes](std::uint64_t value, int size) {
    for (int i = 0; i < size; ++i) bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
  };
  bytes = {'B', 'M'};
  put(offset + rowBytes * picture.height, 4);
  put(0, 4);
  put(offset, 4);
  put(40, 4);
  put(picture.width, 4);
  // Positive: rows bottom-up; negative: top-down.
  put(topDown ? std::uint32_t(-std::int32_t(picture.height)) : picture.height, 4);
  put(1, 2);
  put(bytesPerPixel * 8, 2);
  put(0, 4);  // BI_RGB
  put(rowBytes * picture.height, 4);
  put(2835, 4);
  put(2835, 4);
  put(paletteBytes / 4, 4);
  put(0, 4);
  for (std::size_t gray = 0; gray < paletteBytes / 4; ++gray) put(gray * 0x010101, 4);
  for (std::uint32_t row = 0; row < picture.height; ++row) {
    const std::uint32_t y = topDown ? row : picture.height - 1 - row;
    const std::size_t start = bytes.size();
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      if (picture.channels == 1) {
        bytes.push_back(static_cast<unsigned char>(picture.at(x, y, 0)));
        continue;
      }
      for (const std::size_t c : {2, 1, 0}) bytes.push_back(static_cast<unsigned char>(picture.at(x, y, c)));
      if (picture.channels == 4) bytes.push_back(static_cast<unsigned char>(picture.at(x, y, 3)));
    }
    bytes.resize(start + rowBytes, 0);
  }
  writeBytes(file, bytes);
}

void writeCmykJpeg(const std::filesystem::path& file) { compressJpeg(file, makePicture(4, 4, 4, 8), JCS_CMYK); }

void writeMinIsWhiteTiff(const std::filesystem::path& file) {
  TIFF* tiff = TIFFOpen(file.c_str(), "w");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 4);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 4);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  std::vector<unsigned char> row(4, 0x40);
  for (std::uint32_t y = 0; y < 4; ++y) TIFFWriteScanline(tiff, row.data(), y, 0);
  TIFFClose(tiff);
}

std::filesystem::path writeImage(const std::filesystem::path& file, const TestPicture& picture) {
  const std::string extension = file.extension().string();
  if (extension == ".png") {
    writePng(file, picture);
  } else if (extension == ".jpg") {
    writeJpeg(file, picture);
  } else if (extension == ".tif") {
    writeTiff(file, picture, TiffLayout::Contiguous);
  } else if (extension == ".j2k") {
    writeJ2k(file, picture);
  } else if (extension == ".bmp") {
    writeBmp(file, picture);
  } else {
    throw std::invalid_argument("no writer for " + extension);
  }
  return file;
}

std::vector<unsigned char> readBytes(const std::filesystem::path& file) {
  std::ifstream input(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

void writeBytes(const std::filesystem::path& file, const std::vector<unsigned char>& bytes) {
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::uint16_t loadedSample(const lumo::mockTL::SourceImage& image, std::size_t plane, std::uint32_t x,
                           std::uint32_t y) {
  const lumo::mockTL::LinearPlane linear = image.linearPlane(plane).value();
  const std::size_t bytes = image.planeDataType(plane).elementBytes();
  const std::byte* at =
      linear.base + (x * linear.xIncrement + y * linear.yIncrement) * static_cast<std::ptrdiff_t>(bytes);
  std::uint16_t value = 0;
  if (bytes == 1) {
    value = std::to_integer<std::uint16_t>(*at);
  } else {
    std::memcpy(&value, at, 2);  // loaded samples are in the machine's byte order
  }
  return value;
}

}  // namespace testing_support
