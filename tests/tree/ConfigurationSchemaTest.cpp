// The JSON Schema the Python package ships for the configuration file, held against the loader:
// every key it documents is read into its field with the schema's first example, and its pixel
// formats are exactly those a file may name. The two cannot drift apart unnoticed.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "source/PixelFormatLayout.h"
#include "support/ScopedEnvironment.h"
#include "tree/ConfigurationLoader.h"

namespace lumo::mockTL {
namespace {

using nlohmann::json;

std::string hostPath;
const char* hostExport() { return hostPath.c_str(); }

const json& schema() {
  static const json parsed = json::parse(std::ifstream(LMMOCKTL_CONFIG_SCHEMA));
  return parsed;
}

const json& properties(const char* level) { return schema().at("$defs").at(level).at("properties"); }

json examples(const json& keys) {
  json object = json::object();
  for (const auto& [key, property] : keys.items()) {
    if (property.contains("examples")) object[key] = property.at("examples").at(0);
  }
  return object;
}

template <class Record>
using Fields = std::map<std::string, std::function<json(const Record&)>>;

const Fields<DeviceConfiguration> kDeviceFields = {
    {"ID", [](const auto& d) { return d.id; }},
    {"SerialNumber", [](const auto& d) { return d.serialNumber; }},
    {"UserName", [](const auto& d) { return d.userName; }},
    {"DisplayName", [](const auto& d) { return d.displayName; }},
    {"Model", [](const auto& d) { return d.model; }},
    {"Vendor", [](const auto& d) { return d.vendor; }},
    {"Version", [](const auto& d) { return d.version; }},
    {"TriggerMode", [](const auto& d) { return d.softwareTrigger ? "Software" : "Off"; }},
    {"RemoveAfterFrames", [](const auto& d) { return d.removeAfterFrames; }}};

const Fields<StreamConfiguration> kStreamFields = {
    {"ID", [](const auto& s) { return s.id; }},
    {"PixelFormat", [](const auto& s) { return std::string(findPixelFormatLayout(s.pixelFormat)->name); }},
    {"Width", [](const auto& s) { return s.width; }},
    {"Height", [](const auto& s) { return s.height; }},
    {"PaddingMode", [](const auto& s) { return s.paddingMode; }},
    {"PaddingPixelCountX", [](const auto& s) { return s.paddingPixelCountX; }},
    {"PaddingLineCountY", [](const auto& s) { return s.paddingLineCountY; }},
    {"ImageDirectoryPath", [](const auto& s) { return s.imageDirectoryPath->string(); }},
    {"ImageOrder",
     [](const auto& s) {
       json names = json::array();
       for (const auto& name : *s.imageOrder) names.push_back(name.string());
       return names;
     }},
    {"StreamFilePath", [](const auto& s) { return s.path.string(); }},
    {"IncompleteFrameEvery", [](const auto& s) { return s.faults.incompleteEvery; }},
    {"LostFrameEvery", [](const auto& s) { return s.faults.lostEvery; }},
    {"ErrorEventEvery", [](const auto& s) { return s.faults.errorEvery; }}};

template <class Record>
void expectEveryExampleRead(const json& documented, const json& written, const Fields<Record>& fields,
                            const Record& loaded) {
  for (const auto& [key, example] : written.items()) {
    const auto field = fields.find(key);
    ASSERT_NE(field, fields.end()) << "the schema documents '" << key << "', which the loader does not read";
    EXPECT_EQ(field->second(loaded), example) << key;
  }
  for (const auto& [key, read] : fields) {
    EXPECT_TRUE(documented.contains(key)) << "the loader reads '" << key << "', which the schema lacks";
  }
}

TEST(ConfigurationSchema, EveryDocumentedKeyIsReadWithItsExample) {
  testing_support::NoConfigurationFile noFile;
  json device = examples(properties("device"));
  json stream = examples(properties("stream"));
  // A stream file fixes the format itself, so its path is read from a stream of its own.
  const json replay = {{"ID", "Replay"}, {"StreamFilePath", stream.at("StreamFilePath")}};
  stream.erase("StreamFilePath");
  device["Streams"] = {stream, replay};
  const json root = {{"ID", "Rig"}, {"Interfaces", {{{"ID", "If"}, {"Devices", {device}}}}}};

  testing_support::TemporaryDirectory directory;
  hostPath = directory.write("LmMockTL.json", root.dump()).string();
  ::testing::internal::CaptureStdout();
  const SystemConfiguration system = ConfigurationLoader::load(&hostExport, ConfigurationLoader::Images::Skip);
  ASSERT_EQ(::testing::internal::GetCapturedStdout(), "");
  const DeviceConfiguration& loaded = system.interfaces.at(0).devices.at(0);
  device.erase("Streams");
  expectEveryExampleRead(properties("device"), device, kDeviceFields, loaded);
  expectEveryExampleRead(properties("stream"), stream, kStreamFields, loaded.streams.at(0));
  expectEveryExampleRead(properties("stream"), replay, kStreamFields, loaded.streams.at(1));
}

TEST(ConfigurationSchema, NamesExactlyThePixelFormatsAFileMayName) {
  std::set<std::string> configurable;
  for (const PixelFormatLayout& format : kPixelFormats) {
    if (format.configurable) configurable.emplace(format.name);
  }
  EXPECT_EQ(properties("stream").at("PixelFormat").at("enum").get<std::set<std::string>>(), configurable);
}

}  // namespace
}  // namespace lumo::mockTL
