// Every node of every module's description, evaluated by Aravis' GenApi engine over the module's
// port as a GenApi consumer evaluates it: each readable value read, each writable one written with
// valid values and read back, enumerations checked against their entries, harmless commands
// executed; on the built-in configuration and on streams of image files, GenDC and a recording.
#include <arv.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "source/ImageFiles.h"
#include "source/RecordingFiles.h"
#include "support/ModulePorts.h"
#include "support/ScopedEnvironment.h"

namespace {

using namespace lmmocktl;
using testing_support::ScopedVariable;
using testing_support::TemporaryDirectory;

using testing_support::Module;
using testing_support::ModulePorts;

enum class Configuration { BuiltIn, ImageFiles, GenDC, StreamFile };

constexpr std::array kConfigurations = {Configuration::BuiltIn, Configuration::ImageFiles, Configuration::GenDC,
                                        Configuration::StreamFile};
constexpr std::array kModules = {Module::System, Module::Interface, Module::Device,
                                 Module::Remote, Module::Stream,    Module::Buffer};

const char* nameOf(Configuration configuration) {
  return std::array{"BuiltIn", "ImageFiles", "GenDC", "StreamFile"}[static_cast<std::size_t>(configuration)];
}

const char* nameOf(Module module) {
  return std::array{
      "System", "Interface", "Device", "RemoteDevice", "DataStream", "Buffer"}[static_cast<std::size_t>(module)];
}

// How a node deliberately departs from what its description promises.
enum class Deviation {
  ReadRefused,         // a read of it fails at the port
  WriteRefused,        // the description offers writes, the port refuses them
  ReadsBackInverted,   // writing 1 reads back 0 and writing 0 reads back 1
  EntriesShareValues,  // some entries are aliases of others: a write of one reads back the first
};

// The producer's documented departures from its descriptions, kept on purpose. The suite checks
// that each still behaves exactly so: a change to one of them fails here until this table follows.
struct KnownException {
  Module module;
  const char* node;
  Deviation deviation;
};

constexpr std::array kKnownExceptions = {
    // Declared at the port with 8 bytes against the description's 4, and never served.
    KnownException{Module::Buffer, "BufferSize", Deviation::ReadRefused},
    // The stream's 64-bit counters have never been readable through the port.
    KnownException{Module::Stream, "Stat_NumFramesDelivered", Deviation::ReadRefused},
    KnownException{Module::Stream, "Stat_NumFramesLostQueueUnderrun", Deviation::ReadRefused},
    KnownException{Module::Stream, "Stat_NumFramesStarted", Deviation::ReadRefused},
    // Counted by the camera alone: the description says RW, the port keeps it read-only.
    KnownException{Module::Remote, "TriggerCount", Deviation::WriteRefused},
    // The register stores the inverse of what is written; consumers' node maps rely on it.
    KnownException{Module::Remote, "TLParamsLocked", Deviation::ReadsBackInverted},
    KnownException{Module::Remote, "r_TLParamsLocked", Deviation::ReadsBackInverted},
    // The deprecated Contiguous and Composite are kept as aliases of SingleFlow and MultipleFlow.
    KnownException{Module::Remote, "GenDCFlowMappingConfiguration", Deviation::EntriesShareValues},
};

std::optional<Deviation> knownDeviation(Module module, const std::string& node) {
  for (const KnownException& exception : kKnownExceptions) {
    if (exception.module == module && node == exception.node) return exception.deviation;
  }
  return std::nullopt;
}

// The one command not executed: it runs whatever FileOperationSelector selects (open, close, read,
// write, delete) on the camera's file and could delete or overwrite it; the file access tests drive
// it step by step.
constexpr std::string_view kCommandNotExecuted = "FileOperationExecute";

// Registers behind a command: a write starts the command's action, the command node covers them.
bool behindCommand(ArvGc* genicam, const std::string& name) {
  for (const char* command : {"AcquisitionStart", "AcquisitionStop", "TriggerSoftware", "FileOperationExecute",
                              "InterfaceUpdateList", "DeviceUpdateList"}) {
    ArvGcNode* node = arv_gc_get_node(genicam, command);
    if (node == nullptr || !ARV_IS_GC_COMMAND(node)) continue;
    ArvDomNode* value = nullptr;
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); child != nullptr;
         child = arv_dom_node_get_next_sibling(child)) {
      if (std::string(arv_dom_node_get_node_name(child)) == "pValue") value = child;
    }
    if (value == nullptr) continue;
    ArvDomNode* text = arv_dom_node_get_first_child(value);
    const char* target = text != nullptr ? arv_dom_node_get_node_value(text) : nullptr;
    if (target != nullptr && name == target) return true;
  }
  return false;
}

std::string takeError(GError*& error) {
  std::string text = error != nullptr ? error->message : "";
  g_clear_error(&error);
  return text;
}

// The value of an engine call that reports failures through a GError; a failure fails the test.
template <class Call>
auto checked(Call call) {
  GError* error = nullptr;
  const auto value = call(&error);
  EXPECT_EQ(error, nullptr) << takeError(error);
  return value;
}

// Evaluates every node of one node map, recording failures as test failures.
class NodeMapWalk {
 public:
  NodeMapWalk(const GenTLArvDevice& features, Module module)
      : features_(features), genicam_(features.genicam()), module_(module) {
    for (const std::string& name : features.featureNames()) featureNames_.insert(name);
  }

  void run() {
    ArvDomElement* root = arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(genicam_));
    ASSERT_NE(root, nullptr);
    visitChildren(ARV_DOM_NODE(root));
    for (const KnownException& exception : kKnownExceptions) {
      EXPECT_TRUE(exception.module != module_ || arv_gc_get_node(genicam_, exception.node) != nullptr)
          << exception.node << " is listed as a known exception but the description has no such node";
    }
    // Commands go last: the values above are then all back as they were read.
    for (const std::string& name : commands_) execute(name);
  }

  unsigned read() const { return read_; }

 private:
  void visitChildren(ArvDomNode* parent) {
    for (ArvDomNode* child = arv_dom_node_get_first_child(parent); child != nullptr;
         child = arv_dom_node_get_next_sibling(child)) {
      visit(child);
    }
  }

  void visit(ArvDomNode* node) {
    if (!ARV_IS_GC_NODE(node)) return;
    const std::string tag = arv_dom_node_get_node_name(node);
    if (tag == "Group" || tag == "StructReg") {
      visitChildren(node);
      return;
    }
    if (tag == "Category" || tag == "Port" || tag == "EnumEntry") return;
    if (!ARV_IS_GC_FEATURE_NODE(node)) return;
    ArvGcFeatureNode* feature = ARV_GC_FEATURE_NODE(node);
    const std::string name = arv_gc_feature_node_get_name(feature);
    SCOPED_TRACE(tag + " " + name);

    // pIsImplemented, pIsAvailable and pIsLocked must each evaluate.
    GError* error = nullptr;
    const auto evaluated = [&](const char* what) {
      const bool ok = error == nullptr;
      EXPECT_TRUE(ok) << what << " of " << name << " cannot be evaluated: " << takeError(error);
      return ok;
    };
    const bool implemented = arv_gc_feature_node_is_implemented(feature, &error);
    if (!evaluated("pIsImplemented")) return;
    const bool available = implemented && arv_gc_feature_node_is_available(feature, &error);
    if (!evaluated("pIsAvailable") || !available) return;
    const bool locked = arv_gc_feature_node_is_locked(feature, &error);
    if (!evaluated("pIsLocked")) return;
    if (tag == "Command") {
      commands_.push_back(name);
      return;
    }
    // A command's register is written by executing the command, and some are write-only.
    if (behindCommand(genicam_, name)) return;

    deviation_ = knownDeviation(module_, name);
    if (deviation_ == Deviation::ReadRefused) {
      arv_gc_feature_node_get_value_as_string(feature, &error);
      EXPECT_NE(error, nullptr) << name << " is listed as refusing reads but was read; update the exceptions";
      g_clear_error(&error);
      return;
    }

    const ArvGcAccessMode access = arv_gc_feature_node_get_actual_access_mode(feature);
    // A feature is written with its bounds; a register or formula behind one only with the value it
    // holds, since the feature in front of it is what defines its valid values.
    isFeature_ = featureNames_.contains(name);
    const bool writable = !locked && access == ARV_GC_ACCESS_MODE_RW;
    if (access != ARV_GC_ACCESS_MODE_RO && access != ARV_GC_ACCESS_MODE_RW) {
      ADD_FAILURE() << name << " is not readable (access mode " << static_cast<int>(access) << ")";
    } else if (ARV_IS_GC_ENUMERATION(node)) {
      enumeration(ARV_GC_ENUMERATION(node), name, writable);
    } else if (ARV_IS_GC_BOOLEAN(node)) {
      boolean(ARV_GC_BOOLEAN(node), writable);
    } else if (ARV_IS_GC_STRING(node)) {
      string(ARV_GC_STRING(node), writable && isFeature_);
    } else if (tag == "Float" || tag == "FloatReg" || tag == "SwissKnife" || tag == "Converter") {
      floating(ARV_GC_FLOAT(node), writable, tag != "SwissKnife");
    } else if (ARV_IS_GC_INTEGER(node)) {
      // A formula has no bounds of its own (GenApi gives IntSwissKnife no Min, Max or Inc).
      integer(ARV_GC_INTEGER(node), writable, tag != "IntSwissKnife" && isFeature_);
    } else if (ARV_IS_GC_REGISTER(node)) {
      registerBytes(ARV_GC_REGISTER(node), writable);
    } else {
      ADD_FAILURE() << "the engine offers no value interface for " << tag << " " << name;
    }
  }

  void enumeration(ArvGcEnumeration* node, const std::string& name, bool writable) {
    GError* error = nullptr;
    const gint64 value = checked([&](GError** e) { return arv_gc_enumeration_get_int_value(node, e); });
    const char* text = arv_gc_enumeration_get_string_value(node, &error);
    ASSERT_EQ(error, nullptr) << takeError(error);
    ++read_;
    const std::string current = text;

    const bool aliases = deviation_ == Deviation::EntriesShareValues;
    std::map<std::string, gint64> entries;
    bool shared = false;
    for (const GSList* item = arv_gc_enumeration_get_entries(node); item != nullptr; item = item->next) {
      ArvGcEnumEntry* entry = ARV_GC_ENUM_ENTRY(item->data);
      const gint64 entryValue = checked([&](GError** e) { return arv_gc_enum_entry_get_value(entry, e); });
      const std::string entryName = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry));
      for (const auto& [other, otherValue] : entries) {
        shared = shared || otherValue == entryValue;
        if (!aliases) {
          EXPECT_NE(otherValue, entryValue) << "entries " << other << " and " << entryName << " share a value";
        }
      }
      entries.emplace(entryName, entryValue);
    }
    if (aliases) {
      EXPECT_TRUE(shared) << name << " is listed as having aliases but has none; update the exceptions";
    }
    ASSERT_TRUE(entries.contains(current)) << name << " reads " << current << ", which is none of its entries";
    EXPECT_EQ(entries.at(current), value) << name << " reads entry " << current << " but value " << value;

    guint count = 0;
    gint64* available = arv_gc_enumeration_dup_available_int_values(node, &count, &error);
    const std::vector<gint64> availableValues(available, available + count);
    g_free(available);
    ASSERT_EQ(error, nullptr) << takeError(error);
    EXPECT_NE(std::find(availableValues.begin(), availableValues.end(), value), availableValues.end())
        << name << " holds " << current << ", which is not available";
    if (!writable) return;

    for (const auto& [entryName, entryValue] : entries) {
      if (std::find(availableValues.begin(), availableValues.end(), entryValue) == availableValues.end()) continue;
      arv_gc_enumeration_set_string_value(node, entryName.c_str(), &error);
      EXPECT_EQ(error, nullptr) << "setting " << name << " to " << entryName << ": " << takeError(error);
      // An alias reads back as the entry its value names first; its value is what round-trips.
      const gint64 back = checked([&](GError** e) { return arv_gc_enumeration_get_int_value(node, e); });
      const char* backName = arv_gc_enumeration_get_string_value(node, &error);
      ASSERT_EQ(error, nullptr) << takeError(error);
      EXPECT_EQ(back, entryValue) << name << " set to " << entryName;
      if (!aliases) {
        EXPECT_EQ(backName, entryName) << name;
      }
    }
    arv_gc_enumeration_set_string_value(node, current.c_str(), &error);
    EXPECT_EQ(error, nullptr) << "restoring " << name << " to " << current << ": " << takeError(error);
  }

  // Writes each of `values` and reads it back: `matches(back, written)` must hold for each.
  template <class T, class Set, class Get, class Matches>
  void writeEach(const std::vector<T>& values, Set set, Get get, Matches matches) {
    for (const T& next : values) {
      GError* error = nullptr;
      set(next, &error);
      EXPECT_EQ(error, nullptr) << "setting it to " << next << ": " << takeError(error);
      const T back = get(&error);
      ASSERT_EQ(error, nullptr) << takeError(error);
      EXPECT_TRUE(matches(back, next)) << "written " << next << ", read back " << back;
    }
  }

  void boolean(ArvGcBoolean* node, bool writable) {
    const bool value = checked([&](GError** e) { return arv_gc_boolean_get_value(node, e); });
    ++read_;
    if (!writable) return;
    writeEach<bool>(
        {!value, value}, [&](bool next, GError** e) { arv_gc_boolean_set_value(node, next, e); },
        [&](GError** e) { return arv_gc_boolean_get_value(node, e); }, std::equal_to<>());
  }

  void string(ArvGcString* node, bool writable) {
    GError* error = nullptr;
    const char* text = arv_gc_string_get_value(node, &error);
    ASSERT_EQ(error, nullptr) << takeError(error);
    const std::string value = text;
    const gint64 maxLength = checked([&](GError** e) { return arv_gc_string_get_max_length(node, e); });
    EXPECT_LE(static_cast<gint64>(value.size()), maxLength) << "the value is longer than its maximum length";
    ++read_;
    if (!writable) return;
    const std::string probe = std::string("LmConformance").substr(0, static_cast<std::size_t>(maxLength));
    writeEach<std::string>(
        {probe, value}, [&](const std::string& next, GError** e) { arv_gc_string_set_value(node, next.c_str(), e); },
        [&](GError** e) {
          const char* back = arv_gc_string_get_value(node, e);
          return std::string(back != nullptr ? back : "");
        },
        std::equal_to<>());
  }

  void integer(ArvGcInteger* node, bool writable, bool bounded) {
    GError* error = nullptr;
    const gint64 value = checked([&](GError** e) { return arv_gc_integer_get_value(node, e); });
    ++read_;
    gint64 min = value;
    gint64 max = value;
    if (bounded) {
      min = checked([&](GError** e) { return arv_gc_integer_get_min(node, e); });
      max = checked([&](GError** e) { return arv_gc_integer_get_max(node, e); });
      const gint64 inc = checked([&](GError** e) { return arv_gc_integer_get_inc(node, e); });
      EXPECT_LE(min, max);
      EXPECT_GE(value, min);
      EXPECT_LE(value, max);
      ASSERT_GT(inc, 0);
      // Distances in 64 unsigned bits: a feature without bounds spans the whole signed range.
      const auto step = static_cast<guint64>(inc);
      const guint64 offset = static_cast<guint64>(value) - static_cast<guint64>(min);
      EXPECT_EQ(offset % step, 0u) << "the value is off its increment from the minimum";
      const guint64 span = static_cast<guint64>(max) - static_cast<guint64>(min);
      max = static_cast<gint64>(static_cast<guint64>(min) + span / step * step);
    }
    if (deviation_ == Deviation::WriteRefused) {
      EXPECT_TRUE(writable) << "the description no longer offers writes; update the exceptions";
      arv_gc_integer_set_value(node, value, &error);
      EXPECT_NE(error, nullptr) << "listed as refusing writes but a write was accepted; update the exceptions";
      g_clear_error(&error);
      return;
    }
    if (!writable) return;
    const bool inverted = deviation_ == Deviation::ReadsBackInverted;
    std::vector<gint64> values = {value};
    if (isFeature_) values.insert(values.end(), {min, max});
    // The last write puts the value read first back.
    values.push_back(inverted ? (value == 0 ? 1 : 0) : value);
    writeEach<gint64>(
        values, [&](gint64 next, GError** e) { arv_gc_integer_set_value(node, next, e); },
        [&](GError** e) { return arv_gc_integer_get_value(node, e); },
        [&](gint64 back, gint64 next) { return back == (inverted ? gint64{next == 0} : next); });
  }

  void floating(ArvGcFloat* node, bool writable, bool bounded) {
    const double value = checked([&](GError** e) { return arv_gc_float_get_value(node, e); });
    ++read_;
    if (!bounded) return;
    const double min = checked([&](GError** e) { return arv_gc_float_get_min(node, e); });
    const double max = checked([&](GError** e) { return arv_gc_float_get_max(node, e); });
    EXPECT_LE(min, max);
    EXPECT_GE(value, min);
    EXPECT_LE(value, max);
    if (!writable) return;
    std::vector<double> values = {value};
    if (isFeature_) values.insert(values.end(), {min, max});
    values.push_back(value);
    writeEach<double>(
        values, [&](double next, GError** e) { arv_gc_float_set_value(node, next, e); },
        [&](GError** e) { return arv_gc_float_get_value(node, e); },
        [](double back, double next) { return std::abs(back - next) <= std::abs(next) * 1e-9; });
  }

  void registerBytes(ArvGcRegister* node, bool writable) {
    GError* error = nullptr;
    const guint64 length = checked([&](GError** e) { return arv_gc_register_get_length(node, e); });
    ++read_;
    // An empty register (a descriptor the current settings do not make) has no bytes to move.
    if (length == 0) return;
    std::vector<std::uint8_t> bytes(length);
    arv_gc_register_get(node, bytes.data(), length, &error);
    ASSERT_EQ(error, nullptr) << takeError(error);
    if (!writable) return;
    arv_gc_register_set(node, bytes.data(), length, &error);
    EXPECT_EQ(error, nullptr) << "writing its bytes back: " << takeError(error);
    std::vector<std::uint8_t> back(length);
    arv_gc_register_get(node, back.data(), length, &error);
    ASSERT_EQ(error, nullptr) << takeError(error);
    EXPECT_EQ(back, bytes);
  }

  void execute(const std::string& name) {
    SCOPED_TRACE("Command " + name);
    if (name == kCommandNotExecuted) return;
    EXPECT_NO_THROW(features_.execute(name));
    // The camera's acquisition started by the command is stopped again, as a consumer would.
    if (name == "AcquisitionStart" && arv_gc_get_node(genicam_, "AcquisitionStop") != nullptr) {
      EXPECT_NO_THROW(features_.execute("AcquisitionStop"));
    }
  }

  const GenTLArvDevice& features_;
  ArvGc* genicam_;
  Module module_;
  unsigned read_ = 0;  // values read
  std::set<std::string> featureNames_;
  std::vector<std::string> commands_;
  // The node being evaluated: whether it is a feature and how it departs from its description.
  bool isFeature_ = false;
  std::optional<Deviation> deviation_;
};

// The producer loaded with one configuration, its modules open down to announced buffers of the
// configuration's stream.
class OpenConfiguration {
 public:
  explicit OpenConfiguration(Configuration configuration) {
    switch (configuration) {
      case Configuration::BuiltIn: config_.emplace("LMMOCKTL_CONFIG", std::nullopt); break;
      case Configuration::ImageFiles: configureImageFiles(); break;
      case Configuration::GenDC: configureGenerated(); break;
      case Configuration::StreamFile: configureStreamFile(); break;
    }
    ports_.emplace(2, [&](const GenTLArvDevice& camera) {
      if (configuration == Configuration::GenDC) camera.write("GenDCStreamingMode", "On");
    });
  }

  // Aravis' node map of the module's port.
  std::unique_ptr<GenTLArvDevice> features(Module module) const {
    return std::make_unique<GenTLArvDevice>(ports_->functions(), ports_->port(module));
  }

 private:
  void configure(const std::string& stream) {
    const std::string text = R"({"Interfaces": [{"ID": "Bench", "Devices": [{"ID": "Cam", "Streams": [)" + stream;
    config_.emplace("LMMOCKTL_CONFIG", directory_.write("conformance.json", text + "]}]}]}").string());
  }

  void configureImageFiles() {
    std::filesystem::create_directories(directory_.path() / "images");
    for (const char* name : {"a.png", "b.png"}) {
      testing_support::writePng(directory_.path() / "images" / name, testing_support::makePicture(24, 16, 3, 8));
    }
    configure(R"({"ID": "Files", "ImageDirectoryPath": ")" + (directory_.path() / "images").string() + R"("})");
  }

  void configureGenerated() { configure(R"({"ID": "Generated", "PixelFormat": "Mono8", "Width": 64, "Height": 8})"); }

  // Three flow sets of a 64-byte and a 512-byte flow, as a GenDC recording holds a descriptor flow
  // and a data flow.
  void configureStreamFile() {
    using namespace lumo::mockTL::testing;
    writeBytes(directory_ / "take.info",
               infoFileBytes(true, {64, 512}, {3 * 576}, {3}, std::vector<std::uint8_t>(24, 0x5A)));
    writeBytes(directory_ / "take-000000.gdcs", patternFlowSets(0, 3, 576));
    configure(R"({"ID": "Replay", "StreamFilePath": ")" + (directory_ / "take.info").string() + R"("})");
  }

  TemporaryDirectory directory_;
  std::optional<ScopedVariable> config_;
  std::optional<ModulePorts> ports_;
};

class NodeMapConformance : public ::testing::TestWithParam<std::tuple<Configuration, Module>> {};

TEST_P(NodeMapConformance, EveryNodeEvaluatesAndEveryWriteReadsBack) {
  const auto [configuration, module] = GetParam();
  std::unique_ptr<OpenConfiguration> open;
  try {
    open = std::make_unique<OpenConfiguration>(configuration);
  } catch (const std::exception& failure) {
    FAIL() << "cannot open the " << nameOf(configuration) << " configuration: " << failure.what();
  }
  const auto features = open->features(module);
  // The walks cover image files, GenDC and stream files only if each configuration's camera really
  // streams from them; one that fell back to generated images would pass unnoticed.
  if (module == Module::Remote) {
    const auto index = static_cast<std::size_t>(configuration);
    constexpr std::array kSources = {"Generated", "ImageFile", "Generated", "StreamFile"};
    EXPECT_EQ(features->read("StreamingDataSource"), kSources[index]);
    EXPECT_EQ(features->read("GenDCStreamingStatus"), index < 2 ? "Off" : "On");
  }
  NodeMapWalk walk(*features, module);
  walk.run();
  EXPECT_GT(walk.read(), 0u);
}

INSTANTIATE_TEST_SUITE_P(AllModules, NodeMapConformance,
                         ::testing::Combine(::testing::ValuesIn(kConfigurations), ::testing::ValuesIn(kModules)),
                         [](const ::testing::TestParamInfo<std::tuple<Configuration, Module>>& info) {
                           return std::string(nameOf(std::get<0>(info.param))) + "_" + nameOf(std::get<1>(info.param));
                         });

}  // namespace
