#include "source/PixelFormatLayout.h"

#include <algorithm>
#include <array>

#include "base/Pfnc.h"

namespace lumo::mockTL {
namespace {

using Layout = PixelFormatLayout;
using Pattern = Layout::Pattern;
using Packing = Layout::Packing;
constexpr auto R = Layout::Red;
constexpr auto G = Layout::Green;
constexpr auto B = Layout::Blue;
constexpr auto A = Layout::Alpha;

// The generated colour, 8-bit red, green, blue. Its channels differ, so a swapped component order
// shows in every sample.
constexpr std::array<std::uint8_t, 3> kColour{55, 161, 102};

constexpr Layout ramp(std::uint32_t code, std::uint8_t bytes, std::uint8_t shift) {
  return {code, Pattern::Ramp, bytes, 1, shift, {R, R, R, R}, Packing::None, 0};
}
constexpr Layout mosaic(std::uint32_t code, std::uint8_t bytes, std::uint8_t shift,
                        std::array<Layout::Channel, 4> tile) {
  return {code, Pattern::Mosaic, bytes, 1, shift, tile, Packing::None, 0};
}
constexpr Layout colour(std::uint32_t code, std::uint8_t bytes, std::uint8_t components, std::uint8_t shift,
                        std::array<Layout::Channel, 4> order) {
  return {code, Pattern::Colour, bytes, components, shift, order, Packing::None, 0};
}
constexpr Layout packed(Layout unpacked, std::uint32_t code, Packing packing) {
  unpacked.unpackedCode = unpacked.code;
  unpacked.code = code;
  unpacked.packing = packing;
  return unpacked;
}

constexpr std::array<Layout::Channel, 4> kRG{R, G, G, B};
constexpr std::array<Layout::Channel, 4> kGR{G, R, B, G};
constexpr std::array<Layout::Channel, 4> kGB{G, B, R, G};
constexpr std::array<Layout::Channel, 4> kBG{B, G, G, R};
constexpr std::array<Layout::Channel, 4> kRGB{R, G, B, A};
constexpr std::array<Layout::Channel, 4> kBGR{B, G, R, A};

using namespace pfnc;

constexpr std::array kLayouts{
    ramp(Mono8, 1, 0),
    ramp(Mono10, 2, 2),
    ramp(Mono12, 2, 4),
    ramp(Mono14, 2, 6),
    // Deliberately unshifted: Mono16 holds the plain sum.
    ramp(Mono16, 2, 0),
    mosaic(BayerGR8, 1, 0, kGR),
    mosaic(BayerRG8, 1, 0, kRG),
    mosaic(BayerGB8, 1, 0, kGB),
    mosaic(BayerBG8, 1, 0, kBG),
    mosaic(BayerGR10, 2, 2, kGR),
    mosaic(BayerRG10, 2, 2, kRG),
    mosaic(BayerGB10, 2, 2, kGB),
    mosaic(BayerBG10, 2, 2, kBG),
    mosaic(BayerGR12, 2, 4, kGR),
    mosaic(BayerRG12, 2, 4, kRG),
    mosaic(BayerGB12, 2, 4, kGB),
    mosaic(BayerBG12, 2, 4, kBG),
    // Deliberately unshifted, unlike RGB16: a Bayer16 sample holds the 8-bit constant.
    mosaic(BayerGR16, 2, 0, kGR),
    mosaic(BayerRG16, 2, 0, kRG),
    mosaic(BayerGB16, 2, 0, kGB),
    mosaic(BayerBG16, 2, 0, kBG),
    colour(RGB8, 1, 3, 0, kRGB),
    colour(BGR8, 1, 3, 0, kBGR),
    colour(RGBa8, 1, 4, 0, kRGB),
    colour(BGRa8, 1, 4, 0, kBGR),
    colour(RGB10, 2, 3, 2, kRGB),
    colour(BGR10, 2, 3, 2, kBGR),
    colour(RGB12, 2, 3, 4, kRGB),
    colour(BGR12, 2, 3, 4, kBGR),
    colour(RGB14, 2, 3, 6, kRGB),
    colour(BGR14, 2, 3, 6, kBGR),
    colour(RGB16, 2, 3, 8, kRGB),
    colour(BGR16, 2, 3, 8, kBGR),
    colour(RGBa10, 2, 4, 2, kRGB),
    colour(BGRa10, 2, 4, 2, kBGR),
    colour(RGBa12, 2, 4, 4, kRGB),
    colour(BGRa12, 2, 4, 4, kBGR),
    colour(RGBa14, 2, 4, 6, kRGB),
    colour(BGRa14, 2, 4, 6, kBGR),
    colour(RGBa16, 2, 4, 8, kRGB),
    colour(BGRa16, 2, 4, 8, kBGR),
    packed(ramp(Mono10, 2, 2), Mono10p, Packing::Bits10),
    packed(ramp(Mono12, 2, 4), Mono12p, Packing::Bits12),
    packed(mosaic(BayerBG10, 2, 2, kBG), BayerBG10p, Packing::Bits10),
    packed(mosaic(BayerGB10, 2, 2, kGB), BayerGB10p, Packing::Bits10),
    packed(mosaic(BayerGR10, 2, 2, kGR), BayerGR10p, Packing::Bits10),
    packed(mosaic(BayerRG10, 2, 2, kRG), BayerRG10p, Packing::Bits10),
    packed(mosaic(BayerBG12, 2, 4, kBG), BayerBG12p, Packing::Bits12),
    packed(mosaic(BayerGB12, 2, 4, kGB), BayerGB12p, Packing::Bits12),
    packed(mosaic(BayerGR12, 2, 4, kGR), BayerGR12p, Packing::Bits12),
    packed(mosaic(BayerRG12, 2, 4, kRG), BayerRG12p, Packing::Bits12),
};

}  // namespace

std::uint16_t PixelFormatLayout::colourSample(Channel channel) const {
  return static_cast<std::uint16_t>(kColour[channel] << shift);
}

const PixelFormatLayout* findPixelFormatLayout(std::uint32_t code) {
  const auto* found =
      std::find_if(kLayouts.begin(), kLayouts.end(), [code](const Layout& l) { return l.code == code; });
  return found == kLayouts.end() ? nullptr : &*found;
}

}  // namespace lumo::mockTL
