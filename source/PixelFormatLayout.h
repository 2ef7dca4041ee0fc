#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Pfnc.h"

namespace lumo::mockTL {

// The one table of the pixel formats this system knows: PFNC name and code, how the image writers
// lay each out, and who else accepts it. It is header-only and constexpr so that lmmocktl decodes
// with the same table without linking the producer. For a packed format every layout field but
// `name`, `code`, `packing` and `unpackedCode` describes its unpacked counterpart.
struct PixelFormatLayout {
  enum class Pattern : std::uint8_t { Ramp, Mosaic, Colour };
  enum class Packing : std::uint8_t { None, Bits10, Bits12 };
  enum Channel : std::uint8_t { Red = 0, Green = 1, Blue = 2, Alpha = 3 };

  std::string_view name;
  std::uint32_t code;
  Pattern pattern;
  std::uint8_t sampleBytes;  // 1 or 2, little-endian
  std::uint8_t components;   // samples per pixel: 1, 3, or 4 with the alpha sample last
  std::uint8_t shift;        // left shift of the ramp or of the 8-bit colour constant
  // Mosaic: the filter colours of the 2 x 2 tile at (0,0), (1,0), (0,1), (1,1).
  // Colour: the channel of each sample, in memory order; a source image's planes are red, green, blue.
  std::array<Channel, 4> channels;
  Packing packing;
  std::uint32_t unpackedCode;  // packed formats: the format generated before packing; else 0
  bool configurable;           // a configuration file may name it; other names are stored as 0
  bool decodable;              // lmmocktl writes it as PNG

  bool hasAlpha() const { return components == 4; }
  std::size_t pixelBytes() const { return std::size_t{sampleBytes} * components; }
  // Bits one sample takes in memory: 8 or 16, or 10 or 12 when packed.
  constexpr unsigned memoryBits() const {
    return packing == Packing::Bits10 ? 10 : packing == Packing::Bits12 ? 12 : sampleBytes * 8u;
  }
  // Bits of a sample that carry the value. The 16-bit formats are unshifted or shifted by 8.
  constexpr unsigned significantBits() const {
    if (sampleBytes == 1) return 8;
    return shift == 0 ? 16 : std::min(8u + shift, 16u);
  }
  // The constant colour's sample for `channel`, scaled to this format's depth.
  std::uint16_t colourSample(Channel channel) const;
};

namespace pixelFormatTable {

using Layout = PixelFormatLayout;
using Pattern = Layout::Pattern;
using Packing = Layout::Packing;
inline constexpr auto R = Layout::Red;
inline constexpr auto G = Layout::Green;
inline constexpr auto B = Layout::Blue;
inline constexpr auto A = Layout::Alpha;

constexpr Layout ramp(std::string_view name, std::uint32_t code, std::uint8_t bytes, std::uint8_t shift) {
  return {name, code, Pattern::Ramp, bytes, 1, shift, {R, R, R, R}, Packing::None, 0, false, true};
}
constexpr Layout mosaic(std::string_view name, std::uint32_t code, std::uint8_t bytes, std::uint8_t shift,
                        std::array<Layout::Channel, 4> tile) {
  return {name, code, Pattern::Mosaic, bytes, 1, shift, tile, Packing::None, 0, false, true};
}
constexpr Layout colour(std::string_view name, std::uint32_t code, std::uint8_t bytes, std::uint8_t components,
                        std::uint8_t shift, std::array<Layout::Channel, 4> order) {
  return {name, code, Pattern::Colour, bytes, components, shift, order, Packing::None, 0, false, true};
}
constexpr Layout packed(Layout unpacked, std::string_view name, std::uint32_t code, Packing packing) {
  unpacked.unpackedCode = unpacked.code;
  unpacked.name = name;
  unpacked.code = code;
  unpacked.packing = packing;
  return unpacked;
}
constexpr Layout configurable(Layout layout) {
  layout.configurable = true;
  return layout;
}
constexpr Layout notDecodable(Layout layout) {
  layout.decodable = false;
  return layout;
}

inline constexpr std::array<Layout::Channel, 4> kRG{R, G, G, B};
inline constexpr std::array<Layout::Channel, 4> kGR{G, R, B, G};
inline constexpr std::array<Layout::Channel, 4> kGB{G, B, R, G};
inline constexpr std::array<Layout::Channel, 4> kBG{B, G, G, R};
inline constexpr std::array<Layout::Channel, 4> kRGB{R, G, B, A};
inline constexpr std::array<Layout::Channel, 4> kBGR{B, G, R, A};

using namespace pfnc;

inline constexpr std::array kPixelFormats{
    configurable(ramp("Mono8", Mono8, 1, 0)),
    ramp("Mono10", Mono10, 2, 2),
    ramp("Mono12", Mono12, 2, 4),
    ramp("Mono14", Mono14, 2, 6),
    // Deliberately unshifted: Mono16 holds the plain sum.
    configurable(ramp("Mono16", Mono16, 2, 0)),
    mosaic("BayerGR8", BayerGR8, 1, 0, kGR),
    mosaic("BayerRG8", BayerRG8, 1, 0, kRG),
    mosaic("BayerGB8", BayerGB8, 1, 0, kGB),
    mosaic("BayerBG8", BayerBG8, 1, 0, kBG),
    mosaic("BayerGR10", BayerGR10, 2, 2, kGR),
    mosaic("BayerRG10", BayerRG10, 2, 2, kRG),
    mosaic("BayerGB10", BayerGB10, 2, 2, kGB),
    mosaic("BayerBG10", BayerBG10, 2, 2, kBG),
    mosaic("BayerGR12", BayerGR12, 2, 4, kGR),
    mosaic("BayerRG12", BayerRG12, 2, 4, kRG),
    mosaic("BayerGB12", BayerGB12, 2, 4, kGB),
    mosaic("BayerBG12", BayerBG12, 2, 4, kBG),
    // Deliberately unshifted, unlike RGB16: a Bayer16 sample holds the 8-bit constant.
    mosaic("BayerGR16", BayerGR16, 2, 0, kGR),
    mosaic("BayerRG16", BayerRG16, 2, 0, kRG),
    mosaic("BayerGB16", BayerGB16, 2, 0, kGB),
    mosaic("BayerBG16", BayerBG16, 2, 0, kBG),
    configurable(colour("RGB8", RGB8, 1, 3, 0, kRGB)),
    colour("BGR8", BGR8, 1, 3, 0, kBGR),
    colour("RGBa8", RGBa8, 1, 4, 0, kRGB),
    colour("BGRa8", BGRa8, 1, 4, 0, kBGR),
    configurable(colour("RGB10", RGB10, 2, 3, 2, kRGB)),
    colour("BGR10", BGR10, 2, 3, 2, kBGR),
    colour("RGB12", RGB12, 2, 3, 4, kRGB),
    colour("BGR12", BGR12, 2, 3, 4, kBGR),
    notDecodable(colour("RGB14", RGB14, 2, 3, 6, kRGB)),
    notDecodable(colour("BGR14", BGR14, 2, 3, 6, kBGR)),
    colour("RGB16", RGB16, 2, 3, 8, kRGB),
    colour("BGR16", BGR16, 2, 3, 8, kBGR),
    notDecodable(colour("RGBa10", RGBa10, 2, 4, 2, kRGB)),
    notDecodable(colour("BGRa10", BGRa10, 2, 4, 2, kBGR)),
    notDecodable(colour("RGBa12", RGBa12, 2, 4, 4, kRGB)),
    notDecodable(colour("BGRa12", BGRa12, 2, 4, 4, kBGR)),
    notDecodable(colour("RGBa14", RGBa14, 2, 4, 6, kRGB)),
    notDecodable(colour("BGRa14", BGRa14, 2, 4, 6, kBGR)),
    notDecodable(colour("RGBa16", RGBa16, 2, 4, 8, kRGB)),
    notDecodable(colour("BGRa16", BGRa16, 2, 4, 8, kBGR)),
    packed(ramp("Mono10", Mono10, 2, 2), "Mono10p", Mono10p, Packing::Bits10),
    configurable(packed(ramp("Mono12", Mono12, 2, 4), "Mono12p", Mono12p, Packing::Bits12)),
    packed(mosaic("BayerBG10", BayerBG10, 2, 2, kBG), "BayerBG10p", BayerBG10p, Packing::Bits10),
    packed(mosaic("BayerGB10", BayerGB10, 2, 2, kGB), "BayerGB10p", BayerGB10p, Packing::Bits10),
    packed(mosaic("BayerGR10", BayerGR10, 2, 2, kGR), "BayerGR10p", BayerGR10p, Packing::Bits10),
    packed(mosaic("BayerRG10", BayerRG10, 2, 2, kRG), "BayerRG10p", BayerRG10p, Packing::Bits10),
    configurable(packed(mosaic("BayerBG12", BayerBG12, 2, 4, kBG), "BayerBG12p", BayerBG12p, Packing::Bits12)),
    configurable(packed(mosaic("BayerGB12", BayerGB12, 2, 4, kGB), "BayerGB12p", BayerGB12p, Packing::Bits12)),
    configurable(packed(mosaic("BayerGR12", BayerGR12, 2, 4, kGR), "BayerGR12p", BayerGR12p, Packing::Bits12)),
    configurable(packed(mosaic("BayerRG12", BayerRG12, 2, 4, kRG), "BayerRG12p", BayerRG12p, Packing::Bits12)),
};

}  // namespace pixelFormatTable

using pixelFormatTable::kPixelFormats;

// The layout of `code`, or nullptr when the writers do not support it.
constexpr const PixelFormatLayout* findPixelFormatLayout(std::uint32_t code) {
  for (const PixelFormatLayout& layout : kPixelFormats) {
    if (layout.code == code) return &layout;
  }
  return nullptr;
}

// The format named `name`, or nullptr when none is.
constexpr const PixelFormatLayout* findPixelFormatNamed(std::string_view name) {
  for (const PixelFormatLayout& layout : kPixelFormats) {
    if (layout.name == name) return &layout;
  }
  return nullptr;
}

}  // namespace lumo::mockTL
