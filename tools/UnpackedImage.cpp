#include "tools/UnpackedImage.h"

#include <array>
#include <stdexcept>

namespace lmmocktl {

namespace {

struct FormatEntry {
  const char* name;
  std::uint32_t code;
  unsigned channels;       // samples per pixel in memory
  unsigned bitsPerSample;  // in memory: 8, 16, or 10 / 12 when packed
  unsigned significantBits;
  bool packed;
  bool reversed;  // BGR order in memory
};

// PFNC codes: bits 16 to 23 of each give its bits per pixel.
constexpr std::array kFormats{
    FormatEntry{"Mono8", 0x01080001, 1, 8, 8, false, false},
    FormatEntry{"Mono10", 0x01100003, 1, 16, 10, false, false},
    FormatEntry{"Mono12", 0x01100005, 1, 16, 12, false, false},
    FormatEntry{"Mono14", 0x01100025, 1, 16, 14, false, false},
    FormatEntry{"Mono16", 0x01100007, 1, 16, 16, false, false},
    FormatEntry{"Mono10p", 0x010A0046, 1, 10, 10, true, false},
    FormatEntry{"Mono12p", 0x010C0047, 1, 12, 12, true, false},
    FormatEntry{"BayerGR8", 0x01080008, 1, 8, 8, false, false},
    FormatEntry{"BayerRG8", 0x01080009, 1, 8, 8, false, false},
    FormatEntry{"BayerGB8", 0x0108000A, 1, 8, 8, false, false},
    FormatEntry{"BayerBG8", 0x0108000B, 1, 8, 8, false, false},
    FormatEntry{"BayerGR10", 0x0110000C, 1, 16, 10, false, false},
    FormatEntry{"BayerRG10", 0x0110000D, 1, 16, 10, false, false},
    FormatEntry{"BayerGB10", 0x0110000E, 1, 16, 10, false, false},
    FormatEntry{"BayerBG10", 0x0110000F, 1, 16, 10, false, false},
    FormatEntry{"BayerGR12", 0x01100010, 1, 16, 12, false, false},
    FormatEntry{"BayerRG12", 0x01100011, 1, 16, 12, false, false},
    FormatEntry{"BayerGB12", 0x01100012, 1, 16, 12, false, false},
    FormatEntry{"BayerBG12", 0x01100013, 1, 16, 12, false, false},
    FormatEntry{"BayerGR16", 0x0110002E, 1, 16, 16, false, false},
    FormatEntry{"BayerRG16", 0x0110002F, 1, 16, 16, false, false},
    FormatEntry{"BayerGB16", 0x01100030, 1, 16, 16, false, false},
    FormatEntry{"BayerBG16", 0x01100031, 1, 16, 16, false, false},
    FormatEntry{"BayerBG10p", 0x010A0052, 1, 10, 10, true, false},
    FormatEntry{"BayerGB10p", 0x010A0054, 1, 10, 10, true, false},
    FormatEntry{"BayerGR10p", 0x010A0056, 1, 10, 10, true, false},
    FormatEntry{"BayerRG10p", 0x010A0058, 1, 10, 10, true, false},
    FormatEntry{"BayerBG12p", 0x010C0053, 1, 12, 12, true, false},
    FormatEntry{"BayerGB12p", 0x010C0055, 1, 12, 12, true, false},
    FormatEntry{"BayerGR12p", 0x010C0057, 1, 12, 12, true, false},
    FormatEntry{"BayerRG12p", 0x010C0059, 1, 12, 12, true, false},
    FormatEntry{"RGB8", 0x02180014, 3, 8, 8, false, false},
    FormatEntry{"BGR8", 0x02180015, 3, 8, 8, false, true},
    FormatEntry{"RGBa8", 0x02200016, 4, 8, 8, false, false},
    FormatEntry{"BGRa8", 0x02200017, 4, 8, 8, false, true},
    FormatEntry{"RGB10", 0x02300018, 3, 16, 10, false, false},
    FormatEntry{"BGR10", 0x02300019, 3, 16, 10, false, true},
    FormatEntry{"RGB12", 0x0230001A, 3, 16, 12, false, false},
    FormatEntry{"BGR12", 0x0230001B, 3, 16, 12, false, true},
    FormatEntry{"RGB16", 0x02300033, 3, 16, 16, false, false},
    FormatEntry{"BGR16", 0x0230004B, 3, 16, 16, false, true},
};

const FormatEntry* findFormat(std::uint32_t code) {
  for (const FormatEntry& entry : kFormats) {
    if (entry.code == code) return &entry;
  }
  return nullptr;
}

}  // namespace

std::optional<std::string> UnpackedImage::formatName(std::uint32_t pixelFormat) {
  const FormatEntry* entry = findFormat(pixelFormat);
  if (entry == nullptr) return std::nullopt;
  return entry->name;
}

std::optional<std::uint32_t> UnpackedImage::formatCode(const std::string& name) {
  for (const FormatEntry& entry : kFormats) {
    if (name == entry.name) return entry.code;
  }
  return std::nullopt;
}

UnpackedImage UnpackedImage::unpack(std::uint32_t pixelFormat, const std::uint8_t* data, std::size_t size,
                                    std::uint32_t width, std::uint32_t height, std::uint32_t paddingBytes) {
  const FormatEntry* format = findFormat(pixelFormat);
  if (format == nullptr) {
    char code[16];
    std::snprintf(code, sizeof(code), "0x%08X", pixelFormat);
    throw std::runtime_error(std::string("pixel format ") + code + " cannot be written as PNG");
  }
  // Packed lines are not byte-aligned: a padding of p pixels is reported as the whole bytes it
  // covers, floor(p * bits / 8), and p is the smallest pixel count that covers them.
  const unsigned pixelBits = format->bitsPerSample * format->channels;
  const std::uint64_t paddingX = (std::uint64_t{paddingBytes} * 8 + pixelBits - 1) / pixelBits;
  const std::uint64_t lineSamples = (width + paddingX) * format->channels;
  const std::uint64_t neededBits =
      (lineSamples * (height == 0 ? 0 : height - 1) + std::uint64_t{width} * format->channels) * format->bitsPerSample;
  if ((neededBits + 7) / 8 > size) {
    throw std::runtime_error(std::string("the buffer holds ") + std::to_string(size) + " bytes, too few for a " +
                             std::to_string(width) + " x " + std::to_string(height) + " " + format->name + " image");
  }

  UnpackedImage image;
  image.width = width;
  image.height = height;
  image.channels = format->channels == 1 ? 1 : 3;
  image.bitDepth = format->significantBits > 8 ? 16 : 8;
  image.significantBits = format->significantBits;
  image.samples.resize(std::size_t{width} * height * image.channels);

  // Sample `index` of the image as memory holds it (lines padded, packed formats lowest bits first).
  auto sampleAt = [&](std::uint64_t index) -> std::uint16_t {
    switch (format->bitsPerSample) {
      case 8: return data[index];
      case 16: return static_cast<std::uint16_t>(data[2 * index] | (data[2 * index + 1] << 8));
      default: {
        const std::uint64_t bit = index * format->bitsPerSample;
        std::uint32_t window = data[bit / 8];
        if (bit / 8 + 1 < size) window |= std::uint32_t{data[bit / 8 + 1]} << 8;
        if (bit / 8 + 2 < size) window |= std::uint32_t{data[bit / 8 + 2]} << 16;
        return static_cast<std::uint16_t>((window >> (bit % 8)) & ((1u << format->bitsPerSample) - 1));
      }
    }
  };

  std::size_t out = 0;
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      const std::uint64_t first = y * lineSamples + std::uint64_t{x} * format->channels;
      if (format->channels == 1) {
        image.samples[out++] = sampleAt(first);
        continue;
      }
      for (unsigned channel = 0; channel < 3; ++channel) {
        image.samples[out++] = sampleAt(first + (format->reversed ? 2 - channel : channel));
      }
    }
  }
  return image;
}

}  // namespace lmmocktl
