#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace lumo::mockTL {

// The module kinds that serve a GenApi description of their own.
enum class DescriptionKind { System, Interface, Device, Remote, DataStream, Buffer };

// One embedded GenApi register description: the XML text exactly as it lies in the source tree,
// its file name and its SHA-1 digest, both taken by the build. Constant from load to unload.
struct Description {
  std::string_view fileName;
  std::string_view text;
  std::array<std::uint8_t, 20> sha1;
};

const Description& description(DescriptionKind kind);

}  // namespace lumo::mockTL
