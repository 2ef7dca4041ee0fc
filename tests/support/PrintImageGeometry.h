#pragma once

#include <ostream>

#include "source/ImageGeometry.h"

namespace lumo::mockTL {

// Readable test names and failure messages for parameters that are or hold a geometry.
inline void PrintTo(const ImageGeometry& geometry, std::ostream* out) {
  *out << std::hex << "0x" << geometry.pixelFormat << std::dec << " " << geometry.width << "x" << geometry.height
       << " padding " << geometry.paddingX << "," << geometry.paddingY;
}

}  // namespace lumo::mockTL
