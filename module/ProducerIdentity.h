#pragma once

#include <string>
#include <string_view>

// What the producer reports about itself wherever a module is asked (port info, system info).
namespace lumo::mockTL::identity {

inline constexpr std::string_view kVendorName = "KORVANE IMAGING";
inline constexpr std::string_view kTransportLayerType = "Custom";
inline constexpr std::string_view kProducerVersion = "1.1";

// The producer's unique id. The system module installs its source when it is built; until then
// (and for modules built without one) the id of the built-in configuration, "LmMockTL.cti".
using UniqueIdSource = std::string (*)();
void setUniqueIdSource(UniqueIdSource source);
std::string uniqueId();

}  // namespace lumo::mockTL::identity
