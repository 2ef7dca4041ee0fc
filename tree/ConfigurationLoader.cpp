#include "tree/ConfigurationLoader.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/Platform.h"
#include "source/PixelFormatLayout.h"

namespace lumo::mockTL {
namespace {

using Images = ConfigurationLoader::Images;

using nlohmann::json;

// The PFNC formats a file may name; anything else is stored as 0.
std::uint32_t pixelFormatCode(std::string_view name) {
  const PixelFormatLayout* format = findPixelFormatNamed(name);
  return format != nullptr && format->configurable ? format->code : 0;
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
  const json& elements = parent.at(key);
  if (!elements.is_array()) {
    // The library's own refusal, word for word, as get<std::vector<json>>() raises it.
    throw json::type_error::create(302, std::string("type must be array, but is ") + elements.type_name(), &elements);
  }
  // Read in place: a copy of the list would recurse once per nesting level of the values inside
  // it, and a deeply nested file would overflow the stack.
  for (const json& element : elements) {
    Record record = start;
    apply(element, record);
    list.push_back(std::move(record));
  }
  return list;
}

// object.value() for a number field. The library turns a floating-point value into T with a plain
// cast, which is undefined for one outside T's range (1e30 for a width): such a value is refused
// like a value of the wrong type, while one inside the range is truncated as the library does.
template <class T>
T number(const json& object, const char* key, T fallback) {
  if (const auto found = object.find(key); found != object.end() && found->is_number_float()) {
    const double value = found->get<double>();
    const bool representable = value > static_cast<double>(std::numeric_limits<T>::min()) - 1.0 &&
                               value < static_cast<double>(std::numeric_limits<T>::max()) + 1.0;
    if (!representable) {
      throw std::out_of_range(std::string("value of '") + key + "' is outside the range of its field");
    }
  }
  return object.value(key, fallback);
}

// How often a fault is injected: a whole number of at least 1, or 0 (never) when the key is absent.
std::uint64_t every(const json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end()) {
    return 0;
  }
  if (!found->is_number_unsigned() || found->get<std::uint64_t>() == 0) {
    throw std::invalid_argument(std::string("value of '") + key + "' must be a whole number of at least 1");
  }
  return found->get<std::uint64_t>();
}

bool softwareTrigger(const json& object) {
  const std::string mode = object.value("TriggerMode", std::string("Off"));
  if (mode != "Off" && mode != "Software") {
    throw std::invalid_argument("value of 'TriggerMode' must be \"Off\" or \"Software\", not \"" + mode + "\"");
  }
  return mode == "Software";
}

void applyStream(const json& object, StreamConfiguration& stream, Images images) {
  stream.id = object.at("ID").get<std::string>();
  stream.faults.incompleteEvery = every(object, "IncompleteFrameEvery");
  stream.faults.lostEvery = every(object, "LostFrameEvery");
  stream.faults.errorEvery = every(object, "ErrorEventEvery");
  if (object.contains("StreamFilePath")) {
    stream.path = object.at("StreamFilePath").get<std::string>();
    stream.isStreamFile = true;
    return;
  }
  stream.paddingMode = number(object, "PaddingMode", stream.paddingMode);
  stream.paddingPixelCountX = number(object, "PaddingPixelCountX", stream.paddingPixelCountX);
  stream.paddingLineCountY = number(object, "PaddingLineCountY", stream.paddingLineCountY);
  if (object.contains("ImageDirectoryPath")) {
    stream.imageDirectoryPath = object.at("ImageDirectoryPath").get<std::string>();
  }
  if (object.contains("ImageOrder")) {
    const auto names = object.at("ImageOrder").get<std::vector<std::string>>();
    stream.imageOrder.emplace(names.begin(), names.end());
  }
  // The images are loaded here, once: a stream's geometry follows its first image, and every copy
  // of the record shares them. A file-system failure fails the whole stream list, like a bad key.
  // Skipping them leaves the stream with the geometry its record configures.
  if (images == Images::Load) {
    stream.images = ImageFileSource::load(stream.imageDirectoryPath, stream.imageOrder, std::cout);
    if (const std::optional<ImageGeometry> first = ImageFileSource::geometryOf(stream.images)) {
      stream.width = first->width;
      stream.height = first->height;
      stream.pixelFormat = first->pixelFormat;
      return;
    }
  }
  stream.width = number(object, "Width", stream.width);
  stream.height = number(object, "Height", stream.height);
  // A name outside the table stores 0, like no name at all: the format is never half-known.
  stream.pixelFormat = pixelFormatCode(object.value("PixelFormat", std::string()));
}

void applyDevice(const json& object, DeviceConfiguration& device, Images images) {
  device.id = object.at("ID").get<std::string>();
  device.serialNumber = object.value("SerialNumber", device.id);
  device.userName = object.value("UserName", device.id);
  device.displayName = object.value("DisplayName", device.id);
  device.model = object.value("Model", device.model);
  device.vendor = object.value("Vendor", device.vendor);
  device.version = object.value("Version", device.version);
  device.softwareTrigger = softwareTrigger(object);
  device.removeAfterFrames = every(object, "RemoveAfterFrames");
  device.streams =
      readList(object, "Streams", StreamConfiguration{},
               [images](const json& element, StreamConfiguration& stream) { applyStream(element, stream, images); });
  if (device.streams.size() > DeviceConfiguration::kMaxStreams) {
    device.streams.resize(DeviceConfiguration::kMaxStreams);
  }
}

void applyInterface(const json& object, InterfaceConfiguration& record, Images images) {
  record.id = object.at("ID").get<std::string>();
  record.devices =
      readList(object, "Devices", ConfigurationLoader::builtInDevice(),
               [images](const json& element, DeviceConfiguration& device) { applyDevice(element, device, images); });
}

void applyRoot(const json& root, SystemConfiguration& system, Images images) {
  if (root.contains("ID")) {
    system.id = root.at("ID").get<std::string>();
  }
  system.interfaces = readList(
      root, "Interfaces", ConfigurationLoader::builtInInterface(),
      [images](const json& element, InterfaceConfiguration& record) { applyInterface(element, record, images); });
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

SystemConfiguration ConfigurationLoader::load(HostConfigExport hostExport, Images images) {
  SystemConfiguration system = builtIn();
  const auto path = locate(hostExport);
  if (!path) {
    return system;
  }
  try {
    std::ifstream file(*path);
    applyRoot(json::parse(file), system, images);
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
