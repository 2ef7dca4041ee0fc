#include "source/GeneratedImage.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "source/SampleStore.h"

namespace lumo::mockTL {
namespace {

using Layout = PixelFormatLayout;

std::size_t lineBytes(const Layout& layout, const ImageGeometry& geometry) {
  return static_cast<std::size_t>(geometry.pixelsPerLine()) * layout.pixelBytes();
}

void zeroPaddingLines(const Layout& layout, const ImageGeometry& geometry, std::byte* image) {
  const std::size_t line = lineBytes(layout, geometry);
  std::memset(image + std::size_t{geometry.height} * line, 0, std::size_t{geometry.paddingY} * line);
}

// Lines from `period` on repeat the first `period` lines; copying is far cheaper than recomputing.
void repeatLines(const Layout& layout, const ImageGeometry& geometry, std::byte* image, std::uint32_t period) {
  const std::size_t line = lineBytes(layout, geometry);
  for (std::uint32_t y = period; y < geometry.height; ++y) {
    std::memcpy(image + y * line, image + (y % period) * line, line);
  }
}

template <class Sample>
void writeRamp(const Layout& layout, const ImageGeometry& geometry, std::byte* image) {
  const std::size_t paddingBytes = std::size_t{geometry.paddingX} * sizeof(Sample);
  std::byte* out = image;
  for (std::uint32_t y = 0; y < geometry.height; ++y) {
    // (x + y) in 16-bit arithmetic, shifted, then cut to the sample width; deliberately not clipped
    // to the format's bit depth.
    auto sum = static_cast<std::uint16_t>(y);
    for (std::uint32_t x = 0; x < geometry.width; ++x, ++sum, out += sizeof(Sample)) {
      storeSample(out, static_cast<Sample>(sum << layout.shift));
    }
    std::memset(out, 0, paddingBytes);
    out += paddingBytes;
  }
  zeroPaddingLines(layout, geometry, image);
}

template <class Sample>
void writeMosaic(const Layout& layout, const ImageGeometry& geometry, std::byte* image) {
  const std::size_t line = lineBytes(layout, geometry);
  for (std::uint32_t y = 0; y < std::min<std::uint32_t>(geometry.height, 2); ++y) {
    const auto even = static_cast<Sample>(layout.colourSample(layout.channels[2 * y]));
    const auto odd = static_cast<Sample>(layout.colourSample(layout.channels[2 * y + 1]));
    std::byte* out = image + y * line;
    for (std::uint32_t x = 0; x < geometry.width; ++x, out += sizeof(Sample)) {
      storeSample(out, (x & 1) != 0 ? odd : even);
    }
    std::memset(out, 0, std::size_t{geometry.paddingX} * sizeof(Sample));
  }
  repeatLines(layout, geometry, image, 2);
  zeroPaddingLines(layout, geometry, image);
}

template <class Sample>
void writeColour(const Layout& layout, const ImageGeometry& geometry, std::byte* image) {
  if (geometry.height > 0) {
    std::byte* out = image;
    for (std::uint32_t x = 0; x < geometry.width; ++x) {
      for (std::size_t c = 0; c < 3; ++c, out += sizeof(Sample)) {
        storeSample(out, static_cast<Sample>(layout.colourSample(layout.channels[c])));
      }
    }
    std::memset(out, 0, std::size_t{geometry.paddingX} * layout.pixelBytes());
  }
  repeatLines(layout, geometry, image, 1);
  zeroPaddingLines(layout, geometry, image);
}

// Merges `bytes` bytes (a multiple of 4) of a repeating 8-byte pattern into memory, keeping the
// bytes that `keep` marks. Whole 64-bit words keep up with a plain copy where a loop over samples
// would not.
void mergeRepeating(std::byte* out, std::size_t bytes, std::uint64_t keep, std::uint64_t value) {
  for (; bytes >= 8; bytes -= 8, out += 8) {
    std::uint64_t word;
    std::memcpy(&word, out, 8);
    word = (word & keep) | value;
    std::memcpy(out, &word, 8);
  }
  if (bytes != 0) {
    std::uint32_t word, keepHalf, valueHalf;
    std::memcpy(&keepHalf, &keep, 4);
    std::memcpy(&valueHalf, &value, 4);
    std::memcpy(&word, out, 4);
    word = (word & keepHalf) | valueHalf;
    std::memcpy(out, &word, 4);
  }
}

// Alpha samples are never written, not even in padding pixels: they keep what the buffer held.
template <class Sample>
void writeColourKeepingAlpha(const Layout& layout, const ImageGeometry& geometry, std::byte* image) {
  const std::size_t pixelBytes = layout.pixelBytes();
  std::array<std::byte, 8> colourBytes{};
  std::array<std::byte, 8> keepBytes{};
  for (std::size_t pixel = 0; pixel < 8; pixel += pixelBytes) {
    for (std::size_t c = 0; c < 3; ++c) {
      storeSample(&colourBytes[pixel + c * sizeof(Sample)],
                  static_cast<Sample>(layout.colourSample(layout.channels[c])));
    }
    std::fill_n(&keepBytes[pixel + 3 * sizeof(Sample)], sizeof(Sample), std::byte{0xFF});
  }
  std::uint64_t colour, keep;
  std::memcpy(&colour, colourBytes.data(), 8);
  std::memcpy(&keep, keepBytes.data(), 8);

  const std::size_t imageBytes = std::size_t{geometry.width} * pixelBytes;
  const std::size_t paddingBytes = std::size_t{geometry.paddingX} * pixelBytes;
  std::byte* out = image;
  for (std::uint32_t y = 0; y < geometry.height; ++y) {
    mergeRepeating(out, imageBytes, keep, colour);
    mergeRepeating(out + imageBytes, paddingBytes, keep, 0);
    out += imageBytes + paddingBytes;
  }
  mergeRepeating(out, std::size_t{geometry.paddingY} * (imageBytes + paddingBytes), keep, 0);
}

// PFNC 10p and 12p: groups of samples, lowest bits first, each sample cut to its packed width
// (the unclipped ramp can exceed it and would otherwise spill into its neighbour). A final partial
// group is completed with zero samples and written only as far as the payload reaches.
void pack(const Layout& layout, const std::byte* samples, std::size_t sampleCount, std::byte* out,
          std::size_t payload) {
  const unsigned bits = layout.packing == Layout::Packing::Bits10 ? 10 : 12;
  const std::size_t groupSamples = bits == 10 ? 4 : 2;
  const std::size_t groupBytes = groupSamples * bits / 8;
  const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
  std::size_t written = 0;
  for (std::size_t first = 0; first < sampleCount && written < payload; first += groupSamples) {
    std::uint64_t group = 0;
    for (std::size_t k = 0; k < groupSamples && first + k < sampleCount; ++k) {
      const std::byte* sample = samples + 2 * (first + k);
      const auto value = std::to_integer<std::uint64_t>(sample[0]) | std::to_integer<std::uint64_t>(sample[1]) << 8;
      group |= (value & mask) << (k * bits);
    }
    const std::size_t count = std::min(groupBytes, payload - written);
    for (std::size_t b = 0; b < count; ++b) {
      out[written + b] = static_cast<std::byte>(group >> (8 * b));
    }
    written += count;
  }
}

}  // namespace

void writeGeneratedImage(const PixelFormatLayout& layout, const ImageGeometry& geometry, std::byte* destination) {
  if (layout.packing != Layout::Packing::None) {
    writePackedImageData(layout, geometry, destination);
    return;
  }
  const bool wide = layout.sampleBytes == 2;
  switch (layout.pattern) {
    case Layout::Pattern::Ramp:
      wide ? writeRamp<std::uint16_t>(layout, geometry, destination)
           : writeRamp<std::uint8_t>(layout, geometry, destination);
      break;
    case Layout::Pattern::Mosaic:
      wide ? writeMosaic<std::uint16_t>(layout, geometry, destination)
           : writeMosaic<std::uint8_t>(layout, geometry, destination);
      break;
    case Layout::Pattern::Colour:
      if (layout.hasAlpha()) {
        wide ? writeColourKeepingAlpha<std::uint16_t>(layout, geometry, destination)
             : writeColourKeepingAlpha<std::uint8_t>(layout, geometry, destination);
      } else {
        wide ? writeColour<std::uint16_t>(layout, geometry, destination)
             : writeColour<std::uint8_t>(layout, geometry, destination);
      }
      break;
  }
}

void writePackedImageData(const PixelFormatLayout& layout, const ImageGeometry& geometry, std::byte* destination) {
  const PixelFormatLayout* unpacked =
      layout.packing == Layout::Packing::None ? nullptr : findPixelFormatLayout(layout.unpackedCode);
  if (unpacked == nullptr) {
    throw std::runtime_error("invalid format for BufferP");
  }
  ImageGeometry unpackedGeometry = geometry;
  unpackedGeometry.pixelFormat = unpacked->code;
  const auto sampleCount = static_cast<std::size_t>(geometry.pixelsPerLine() * geometry.lineCount());
  if (sampleCount == 0) {
    return;
  }
  std::vector<std::byte> scratch(sampleCount * unpacked->pixelBytes());
  writeGeneratedImage(*unpacked, unpackedGeometry, scratch.data());
  pack(layout, scratch.data(), sampleCount, destination, static_cast<std::size_t>(geometry.payloadSize()));
}

}  // namespace lumo::mockTL
