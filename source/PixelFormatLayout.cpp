#include "source/PixelFormatLayout.h"

namespace lumo::mockTL {
namespace {

// The generated colour, 8-bit red, green, blue. Its channels differ, so a swapped component order
// shows in every sample.
constexpr std::array<std::uint8_t, 3> kColour{55, 161, 102};

}  // namespace

std::uint16_t PixelFormatLayout::colourSample(Channel channel) const {
  return static_cast<std::uint16_t>(kColour[channel] << shift);
}

}  // namespace lumo::mockTL
