// Arbitrary bytes as LmMockTL.json. Loading never fails, whatever the bytes: a file that parses
// and fits the schema is applied whole and prints nothing; any other prints one line and leaves
// the built-in tree in place, with at most the root "ID" read before the failure.
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <nlohmann/json.hpp>
#include <span>
#include <sstream>
#include <string>

#include "fuzz/Expect.h"
#include "fuzz/ScratchDirectory.h"
#include "tree/ConfigurationLoader.h"

namespace {

using lumo::mockTL::ConfigurationLoader;
using lumo::mockTL::DeviceConfiguration;
using lumo::mockTL::SystemConfiguration;
using lumo::mockTL::fuzz::expect;
using lumo::mockTL::fuzz::ScratchDirectory;
using nlohmann::json;

std::string configurationPath;
const char* hostConfigExport() { return configurationPath.c_str(); }

// What the loader wrote to standard output while it ran.
class CapturedOutput {
 public:
  CapturedOutput() : previous_(std::cout.rdbuf(captured_.rdbuf())) {}
  ~CapturedOutput() { std::cout.rdbuf(previous_); }
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;
  std::string text() const { return captured_.str(); }

 private:
  std::ostringstream captured_;
  std::streambuf* previous_;
};

bool sameTree(const SystemConfiguration& a, const SystemConfiguration& b) {
  if (a.interfaces.size() != b.interfaces.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.interfaces.size(); ++i) {
    const auto& left = a.interfaces[i];
    const auto& right = b.interfaces[i];
    if (left.id != right.id || left.devices.size() != right.devices.size()) {
      return false;
    }
    for (std::size_t d = 0; d < left.devices.size(); ++d) {
      const DeviceConfiguration& x = left.devices[d];
      const DeviceConfiguration& y = right.devices[d];
      if (x.id != y.id || x.model != y.model || x.streams.size() != y.streams.size()) {
        return false;
      }
      for (std::size_t s = 0; s < x.streams.size(); ++s) {
        if (x.streams[s].id != y.streams[s].id || x.streams[s].pixelFormat != y.streams[s].pixelFormat) {
          return false;
        }
      }
    }
  }
  return true;
}

// A file the loader applied without complaint has the shape the same bytes parse to.
void expectApplied(const SystemConfiguration& loaded, std::span<const std::uint8_t> bytes) {
  const json root = json::parse(bytes.begin(), bytes.end());
  expect(loaded.id == (root.contains("ID") ? root.at("ID").get<std::string>() : SystemConfiguration{}.id),
         "an applied file sets the system id from its root");
  const std::size_t interfaces = root.contains("Interfaces") ? root.at("Interfaces").size() : 0;
  expect(loaded.interfaces.size() == interfaces, "an applied file has one interface per element");
  for (std::size_t i = 0; i < interfaces; ++i) {
    const json& element = root.at("Interfaces").at(i);
    expect(loaded.interfaces[i].id == element.at("ID").get<std::string>(), "interface ids come from the file");
    const std::size_t devices = element.contains("Devices") ? element.at("Devices").size() : 0;
    expect(loaded.interfaces[i].devices.size() == devices, "an applied interface has one device per element");
    for (std::size_t d = 0; d < devices; ++d) {
      const json& device = element.at("Devices").at(d);
      const std::size_t streams = device.contains("Streams") ? device.at("Streams").size() : 0;
      expect(loaded.interfaces[i].devices[d].streams.size() == std::min(streams, DeviceConfiguration::kMaxStreams),
             "an applied device keeps its first streams, four at most");
    }
  }
}

void expectFailureKeptBuiltIn(const SystemConfiguration& loaded, const std::string& printed) {
  expect(printed.back() == '\n' && printed.find('\n') == printed.size() - 1, "a broken file prints one line");
  expect(sameTree(loaded, ConfigurationLoader::builtIn()), "a broken file leaves the built-in tree");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const ScratchDirectory scratch;
  const std::span<const std::uint8_t> bytes(data, size);
  configurationPath = scratch.write("LmMockTL.json", bytes).string();

  SystemConfiguration loaded;
  std::string printed;
  {
    CapturedOutput output;
    // Image files are the decoders' harness's ground: the bytes may name any folder at all.
    loaded = ConfigurationLoader::load(&hostConfigExport, ConfigurationLoader::Images::Skip);
    printed = output.text();
  }

  for (const auto& iface : loaded.interfaces) {
    for (const auto& device : iface.devices) {
      expect(device.streams.size() <= DeviceConfiguration::kMaxStreams, "a device never has more than four streams");
    }
  }
  if (printed.empty()) {
    expectApplied(loaded, bytes);
  } else {
    expectFailureKeptBuiltIn(loaded, printed);
  }
  return 0;
}
