#pragma once

#include <filesystem>
#include <optional>

#include "tree/Configuration.h"

namespace lumo::mockTL {

// Finds and reads LmMockTL.json. A file that cannot be read or does not fit the schema is not an
// error: the library's message goes to standard output and whatever was read before it stays.
// Stateless; any thread may call it.
class ConfigurationLoader {
 public:
  // What a host program exports as "LmMockTLConfigExport": a zero-terminated path.
  using HostConfigExport = const char* (*)();

  // The host executable's "LmMockTLConfigExport", or null when it exports none.
  static HostConfigExport hostConfigExport();

  // The first candidate that exists (a directory counts): the host's export, $LMMOCKTL_CONFIG,
  // ./LmMockTL.json, $LUMODATA/drivers/LmMockTL.json. A file-system failure other than absence
  // (access denied) throws std::filesystem::filesystem_error.
  static std::optional<std::filesystem::path> locate(HostConfigExport hostExport);

  // Whether stream image files are read. Reading the file only for its identity skips them, so that
  // their decoding (and the line each unusable one prints) happens once per tree.
  enum class Images { Load, Skip };

  // The built-in configuration with the located file applied over it.
  static SystemConfiguration load(HostConfigExport hostExport, Images images = Images::Load);
  static SystemConfiguration load(Images images = Images::Load) { return load(hostConfigExport(), images); }

  // One interface "MyInterface0" with one device "MyDevice0" and its four streams.
  static SystemConfiguration builtIn();
  static InterfaceConfiguration builtInInterface();
  static DeviceConfiguration builtInDevice();
};

}  // namespace lumo::mockTL
