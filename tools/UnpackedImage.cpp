#include "tools/UnpackedImage.h"

#include <cstdio>
#include <stdexcept>
#include <string>

#include "source/PixelFormatLayout.h"

namespace lmmocktl {

namespace {

using lumo::mockTL::PixelFormatLayout;

// The formats lmmocktl writes as PNG: the producer's own table, restricted to the decodable ones.
const PixelFormatLayout* findFormat(std::uint32_t code) {
  const PixelFormatLayout* format = lumo::mockTL::findPixelFormatLayout(code);
  return format != nullptr && format->decodable ? format : nullptr;
}

// Whether the colour samples sit in blue, green, red order in memory.
bool reversed(const PixelFormatLayout& format) {
  return format.pattern == PixelFormatLayout::Pattern::Colour && format.channels[0] == PixelFormatLayout::Blue;
}

}  // namespace

std::optional<std::string> UnpackedImage::formatName(std::uint32_t pixelFormat) {
  const PixelFormatLayout* format = findFormat(pixelFormat);
  if (format == nullptr) return std::nullopt;
  return std::string(format->name);
}

std::optional<std::uint32_t> UnpackedImage::formatCode(const std::string& name) {
  const PixelFormatLayout* format = lumo::mockTL::findPixelFormatNamed(name);
  if (format == nullptr || !format->decodable) return std::nullopt;
  return format->code;
}

UnpackedImage UnpackedImage::unpack(std::uint32_t pixelFormat, const std::uint8_t* data, std::size_t size,
                                    std::uint32_t width, std::uint32_t height, std::uint32_t paddingBytes) {
  const PixelFormatLayout* format = findFormat(pixelFormat);
  if (format == nullptr) {
    char code[16];
    std::snprintf(code, sizeof(code), "0x%08X", pixelFormat);
    throw std::runtime_error(std::string("pixel format ") + code + " cannot be written as PNG");
  }
  // Packed lines are not byte-aligned: a padding of p pixels is reported as the whole bytes it
  // covers, floor(p * bits / 8), and p is the smallest pixel count that covers them.
  const unsigned pixelBits = format->memoryBits() * format->components;
  const std::uint64_t paddingX = (std::uint64_t{paddingBytes} * 8 + pixelBits - 1) / pixelBits;
  const std::uint64_t lineSamples = (width + paddingX) * format->components;
  const std::uint64_t neededBits =
      (lineSamples * (height == 0 ? 0 : height - 1) + std::uint64_t{width} * format->components) * format->memoryBits();
  if ((neededBits + 7) / 8 > size) {
    throw std::runtime_error(std::string("the buffer holds ") + std::to_string(size) + " bytes, too few for a " +
                             std::to_string(width) + " x " + std::to_string(height) + " " + std::string(format->name) +
                             " image");
  }

  UnpackedImage image;
  image.width = width;
  image.height = height;
  image.channels = format->components == 1 ? 1 : 3;
  image.bitDepth = format->significantBits() > 8 ? 16 : 8;
  image.significantBits = format->significantBits();
  image.samples.resize(std::size_t{width} * height * image.channels);

  // Sample `index` of the image as memory holds it (lines padded, packed formats lowest bits first).
  auto sampleAt = [&](std::uint64_t index) -> std::uint16_t {
    switch (format->memoryBits()) {
      case 8: return data[index];
      case 16: return static_cast<std::uint16_t>(data[2 * index] | (data[2 * index + 1] << 8));
      default: {
        const std::uint64_t bit = index * format->memoryBits();
        std::uint32_t window = data[bit / 8];
        if (bit / 8 + 1 < size) window |= std::uint32_t{data[bit / 8 + 1]} << 8;
        if (bit / 8 + 2 < size) window |= std::uint32_t{data[bit / 8 + 2]} << 16;
        return static_cast<std::uint16_t>((window >> (bit % 8)) & ((1u << format->memoryBits()) - 1));
      }
    }
  };

  std::size_t out = 0;
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      const std::uint64_t first = y * lineSamples + std::uint64_t{x} * format->components;
      if (format->components == 1) {
        image.samples[out++] = sampleAt(first);
        continue;
      }
      for (unsigned channel = 0; channel < 3; ++channel) {
        image.samples[out++] = sampleAt(first + (reversed(*format) ? 2 - channel : channel));
      }
    }
  }
  return image;
}

}  // namespace lmmocktl
