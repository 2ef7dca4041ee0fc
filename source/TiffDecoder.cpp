#include "source/TiffDecoder.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumo::mockTL {
namespace {

// The first error libtiff reports for one file; later ones usually follow from it.
struct TiffErrors {
  char first[200];
};

int keepTiffError(TIFF*, void* errors, const char*, const char* format, va_list arguments) {
  auto* kept = static_cast<TiffErrors*>(errors);
  if (kept->first[0] == '\0') {
    std::vsnprintf(kept->first, sizeof kept->first, format, arguments);
  }
  return 1;  // handled: libtiff's global handler would print to standard error
}

int ignoreTiffWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

class TiffOptions {
 public:
  TiffOptions(TiffErrors& errors, tmsize_t maxAllocation) : options_(TIFFOpenOptionsAlloc()) {
    TIFFOpenOptionsSetErrorHandlerExtR(options_, keepTiffError, &errors);
    TIFFOpenOptionsSetWarningHandlerExtR(options_, ignoreTiffWarning, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options_, maxAllocation);
  }
  ~TiffOptions() { TIFFOpenOptionsFree(options_); }
  TiffOptions(const TiffOptions&) = delete;
  TiffOptions& operator=(const TiffOptions&) = delete;

  TIFFOpenOptions* get() const { return options_; }

 private:
  TIFFOpenOptions* options_;
};

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

// One decoded strip row or tile as libtiff hands it over, and where its samples go in the image.
struct TiffBlock {
  const std::byte* samples;
  std::uint32_t stride;  // pixels per row of the block
  std::uint32_t x;
  std::uint32_t y;
  std::uint32_t width;  // pixels of each row that lie inside the image
  std::uint32_t height;
  std::uint16_t samplesPerPixel;  // of the block: all of the file's, or 1 for a separate plane
  std::size_t firstPlane;         // the image plane of the block's first sample
  std::size_t planes;             // how many samples of each pixel the image keeps
};

class TiffReader {
 public:
  TiffReader(TIFF* tiff, const TiffErrors& errors, MemoryImage& image, std::uint16_t samplesPerPixel, bool separate)
      : tiff_(tiff),
        errors_(errors),
        image_(image),
        samplesPerPixel_(samplesPerPixel),
        separate_(separate),
        sampleBytes_(image.planeDataType(0).elementBytes()) {}

  void readStrips() {
    std::vector<std::byte> row(checkedSize(TIFFScanlineSize(tiff_), image_.width()));
    for (std::size_t plane = 0; plane < blockPlanes(); ++plane) {
      for (std::uint32_t y = 0; y < image_.height(); ++y) {
        if (TIFFReadScanline(tiff_, row.data(), y, static_cast<std::uint16_t>(plane)) < 0) fail();
        place(block(row.data(), image_.width(), 0, y, 1, plane));
      }
    }
  }

  void readTiles() {
    std::uint32_t tileWidth = 0;
    std::uint32_t tileHeight = 0;
    TIFFGetField(tiff_, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(tiff_, TIFFTAG_TILELENGTH, &tileHeight);
    if (tileWidth == 0 || tileHeight == 0) throw std::runtime_error("the tile size is 0");
    std::vector<std::byte> tile(checkedSize(TIFFTileSize(tiff_), std::uint64_t{tileWidth} * tileHeight));
    for (std::size_t plane = 0; plane < blockPlanes(); ++plane) {
      for (std::uint32_t y = 0; y < image_.height(); y += tileHeight) {
        for (std::uint32_t x = 0; x < image_.width(); x += tileWidth) {
          if (TIFFReadTile(tiff_, tile.data(), x, y, 0, static_cast<std::uint16_t>(plane)) < 0) fail();
          place(block(tile.data(), tileWidth, x, y, tileHeight, plane));
        }
      }
    }
  }

 private:
  std::size_t blockPlanes() const { return separate_ ? image_.planeCount() : 1; }
  std::uint16_t blockSamples() const { return separate_ ? 1 : samplesPerPixel_; }

  // A block buffer's size as libtiff computes it, refused unless it holds `pixels` whole pixels.
  std::size_t checkedSize(tmsize_t size, std::uint64_t pixels) const {
    if (size <= 0) fail();
    if (static_cast<std::uint64_t>(size) < pixels * blockSamples() * sampleBytes_) {
      throw std::runtime_error("the strip or tile size does not fit the image");
    }
    return static_cast<std::size_t>(size);
  }

  TiffBlock block(const std::byte* samples, std::uint32_t stride, std::uint32_t x, std::uint32_t y,
                  std::uint32_t height, std::size_t plane) const {
    return {samples,
            stride,
            x,
            y,
            std::min(stride, image_.width() - x),
            std::min(height, image_.height() - y),
            blockSamples(),
            plane,
            separate_ ? 1 : image_.planeCount()};
  }

  void place(const TiffBlock& block) {
    const std::size_t planes = image_.planeCount();
    const std::size_t copied = block.planes * sampleBytes_;
    for (std::uint32_t row = 0; row < block.height; ++row) {
      const std::byte* in = block.samples + std::size_t{row} * block.stride * block.samplesPerPixel * sampleBytes_;
      std::byte* out =
          image_.data() +
          ((std::size_t{block.y + row} * image_.width() + block.x) * planes + block.firstPlane) * sampleBytes_;
      for (std::uint32_t x = 0; x < block.width; ++x) {
        std::memcpy(out, in, copied);
        in += block.samplesPerPixel * sampleBytes_;
        out += planes * sampleBytes_;
      }
    }
  }

  [[noreturn]] void fail() const {
    throw std::runtime_error(errors_.first[0] != '\0' ? errors_.first : "libtiff could not read the image data");
  }

  TIFF* tiff_;
  const TiffErrors& errors_;
  MemoryImage& image_;
  std::uint16_t samplesPerPixel_;
  bool separate_;
  std::size_t sampleBytes_;
};

}  // namespace

std::unique_ptr<MemoryImage> TiffDecoder::decode(const std::filesystem::path& file, std::uint64_t maxPixels) const {
  TiffErrors errors{};
  // No single allocation needs more than a whole image of four 16-bit samples per pixel.
  const TiffOptions options(errors, static_cast<tmsize_t>(std::min<std::uint64_t>(maxPixels, 1ULL << 40) * 8));
  const std::unique_ptr<TIFF, TiffCloser> tiff(TIFFOpenExt(file.c_str(), "r", options.get()));
  if (!tiff) {
    throw std::runtime_error(errors.first[0] != '\0' ? errors.first : "libtiff could not open the file");
  }
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t photometric = 0;
  std::uint16_t samplesPerPixel = 1;
  std::uint16_t bitsPerSample = 1;
  std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;
  std::uint16_t planarConfiguration = PLANARCONFIG_CONTIG;
  TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
  if (!TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &photometric)) {
    throw std::runtime_error("the photometric interpretation is missing");
  }
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samplesPerPixel);
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bitsPerSample);
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLEFORMAT, &sampleFormat);
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_PLANARCONFIG, &planarConfiguration);

  checkPixelCount(width, height, maxPixels);
  std::size_t planes = 0;
  if (photometric == PHOTOMETRIC_MINISBLACK) {
    planes = 1;
  } else if (photometric == PHOTOMETRIC_RGB) {
    planes = 3;
  } else {
    throw std::runtime_error("photometric interpretation " + std::to_string(photometric) + " is not supported");
  }
  if (samplesPerPixel < planes) {
    throw std::runtime_error(std::to_string(samplesPerPixel) + " samples per pixel are too few");
  }
  if ((bitsPerSample != 8 && bitsPerSample != 16) || sampleFormat != SAMPLEFORMAT_UINT) {
    throw std::runtime_error("only 8- and 16-bit unsigned samples are supported");
  }

  auto image = std::make_unique<MemoryImage>(width, height, planes,
                                             PlaneDataType{static_cast<std::uint8_t>(bitsPerSample), false},
                                             MemoryImage::Arrangement::Interleaved);
  TiffReader reader(tiff.get(), errors, *image, samplesPerPixel, planarConfiguration == PLANARCONFIG_SEPARATE);
  TIFFIsTiled(tiff.get()) ? reader.readTiles() : reader.readStrips();
  return image;
}

}  // namespace lumo::mockTL
