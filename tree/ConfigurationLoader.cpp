#include "tree/ConfigurationLoader.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string_view>

#include "platform/Platform.h"

namespace lumo::mockTL {
namespace {

using nlohmann::json;

struct NamedFormat {
  std::string_view name;
  std::uint32_t code;
};

// The PFNC formats a file may name; anything else is stored as 0.
constexpr NamedFormat kPixelFormats[] = {
    {"Mono8", 0x01080001},      {"Mono16", 0x01100007},     {"Mono12p", 0x010C0047},
    {"RGB8", 0x02180014},       {"RGB10", 0x02300018},      {"BayerBG12p", 0x010C0053},
    {"BayerRG12p", 0x010C0059}, {"BayerGB12p", 0x010C0055}, {"BayerGR12p", 0x010C0057},
};

std::uint32_t pixelFormatCode(std::string_view name) {
  const auto* found = std::find_if(std::begin(kPixelFormats), std::end(kPixelFormats),
                                   [name](const NamedFormat& format) { return format.name == name; });
  return found != std::end(kPixelFormats) ? found->code : 0;
}

StreamConfiguration builtInStream(const char* id, const char* format) {
  StreamConfiguration stream;
  stream.id = id;
  stream.pixelFormat = pixelFormatCode(format);
  return stream;
}

std::optional<std::filesystem::path> existing(const std::filesystem::path& candidate) {
  // The throwing form: absence answers false, anything else (access denied) is raised.
  if (std::filesystem::exists(candidate)) {
    return candidate;
  }
  return std::nullopt;
}

// Reads the list under `key` element by element and only then hands it over, so that a broken
// element leaves the caller's previous list in place. A missing key yields an empty list.
template <class Record, class Apply>
std::vector<Record> readList(const json& parent, const char* key, const Record& start, Apply apply) {
  std::vector<Record> list;
  if (!parent.contains(key)) {
    return list;
  }
  for (const json& element : parent.at(key).get<std::vector<json>>()) {
    Record record = start;
    apply(element, record);
    list.push_back(std::move(record));
  }
  return list;
}

void applyStream(const json& object, StreamConfiguration& stream) {
  stream.id = object.at("ID").get<std::string>();
  if (object.contains("StreamFilePath")) {
    stream.path = object.at("StreamFilePath").get<std::string>();
    stream.isStreamFile = true;
    return;
  }
  stream.paddingMode = object.value("PaddingMode", stream.paddingMode);
  stream.paddingPixelCountX = object.value("PaddingPixelCountX", stream.paddingPixelCountX);
  stream.paddingLineCountY = object.value("PaddingLineCountY", stream.paddingLineCountY);
  if (object.contains("ImageDirectoryPath")) {
    stream.imageDirectoryPath = object.at("ImageDirectoryPath").get<std::string>();
  }
  if (object.contains("ImageOrder")) {
    const auto names = object.at("ImageOrder").get<std::vector<std::string>>();
    stream.imageOrder.emplace(names.begin(), names.end());
  }
  // The images are loaded here, once: a stream's geometry follows its first image, and every copy
  // of the record shares them. A file-system failure fails the whole stream list, like a bad key.
  stream.images = ImageFileSource::load(stream.imageDirectoryPath, stream.imageOrder, std::cout);
  if (const std::optional<ImageGeometry> first = ImageFileSource::geometryOf(stream.images)) {
    stream.width = first->width;
    stream.height = first->height;
    stream.pixelFormat = first->pixelFormat;
    return;
  }
  stream.width = object.value("Width", stream.width);
  stream.height = object.value("Height", stream.height);
  // A name outside the table stores 0, like no name at all: the format is never half-known.
  stream.pixelFormat = pixelFormatCode(object.value("PixelFormat", std::string()));
}

void applyDevice(const json& object, DeviceConfiguration& device) {
  device.id = object.at("ID").get<std::string>();
  device.serialNumber = object.value("SerialNumber", device.id);
  device.userName = object.value("UserName", device.id);
  device.displayName = object.value("DisplayName", device.id);
  device.model = object.value("Model", device.model);
  device.vendor = object.value("Vendor", device.vendor);
  device.version = object.value("Version", device.version);
  device.streams = readList(object, "Streams", StreamConfiguration{}, applyStream);
  if (device.streams.size() > DeviceConfiguration::kMaxStreams) {
    device.streams.resize(DeviceConfiguration::kMaxStreams);
  }
}

void applyInterface(const json& object, InterfaceConfiguration& record) {
  record.id = object.at("ID").get<std::string>();
  record.devices = readList(object, "Devices", ConfigurationLoader::builtInDevice(), applyDevice);
}

void applyRoot(const json& root, SystemConfiguration& system) {
  if (root.contains("ID")) {
    system.id = root.at("ID").get<std::string>();
  }
  system.interfaces = readList(root, "Interfaces", ConfigurationLoader::builtInInterface(), applyInterface);
}

std::optional<std::string> environmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace

ConfigurationLoader::HostConfigExport ConfigurationLoader::hostConfigExport() {
  return reinterpret_cast<HostConfigExport>(platform::hostExecutableSymbol("LmMockTLConfigExport"));
}

std::optional<std::filesystem::path> ConfigurationLoader::locate(HostConfigExport hostExport) {
  if (hostExport != nullptr) {
    if (const char* path = hostExport(); path != nullptr) {
      if (auto found = existing(path)) {
        return found;
      }
    }
  }
  if (const auto variable = environmentVariable("LMMOCKTL_CONFIG")) {
    if (auto found = existing(*variable)) {
      return found;
    }
  }
  if (auto found = existing("LmMockTL.json")) {
    return found;
  }
  if (const auto data = environmentVariable("LUMODATA")) {
    return existing(std::filesystem::path(*data) / "drivers" / "LmMockTL.json");
  }
  return std::nullopt;
}

SystemConfiguration ConfigurationLoader::load(HostConfigExport hostExport) {
  SystemConfiguration system = builtIn();
  const auto path = locate(hostExport);
  if (!path) {
    return system;
  }
  try {
    std::ifstream file(*path);
    applyRoot(json::parse(file), system);
  } catch (const std::exception& failure) {
    std::cout << failure.what() << std::endl;
  }
  return system;
}

SystemConfiguration ConfigurationLoader::builtIn() {
  SystemConfiguration system;
  system.interfaces.push_back(builtInInterface());
  return system;
}

InterfaceConfiguration ConfigurationLoader::builtInInterface() {
  InterfaceConfiguration record;
  record.devices.push_back(builtInDevice());
  return record;
}

DeviceConfiguration ConfigurationLoader::builtInDevice() {
  DeviceConfiguration device;
  device.streams = {builtInStream("MyStream0", "Mono8"), builtInStream("MyStream1", "Mono16"),
                    builtInStream("MyStream2", "RGB8"), builtInStream("MyStream3", "RGB10")};
  return device;
}

}  // namespace lumo::mockTL
