#include "tools/FeaturesCommand.h"

#include <cstdio>
#include <vector>

#include "tools/Acquisition.h"
#include "tools/ToolError.h"

namespace lmmocktl {

namespace {

const char* accessName(ArvGcAccessMode mode) {
  switch (mode) {
    case ARV_GC_ACCESS_MODE_RO: return "RO";
    case ARV_GC_ACCESS_MODE_WO: return "WO";
    case ARV_GC_ACCESS_MODE_RW: return "RW";
    default: return "NA";
  }
}

std::string valueText(const GenTLArvDevice& features, const std::string& name, ArvGcFeatureNode* node) {
  if (ARV_IS_GC_COMMAND(node)) return "(command)";
  GError* error = nullptr;
  if (!arv_gc_feature_node_is_available(node, &error)) {
    g_clear_error(&error);
    return "(not available)";
  }
  if (ARV_IS_GC_REGISTER(node) && !ARV_IS_GC_INTEGER(node) && !ARV_IS_GC_STRING(node) && !ARV_IS_GC_FLOAT(node)) {
    const guint64 length = arv_gc_register_get_length(ARV_GC_REGISTER(node), &error);
    g_clear_error(&error);
    return "(register, " + std::to_string(length) + " bytes)";
  }
  if (arv_gc_feature_node_get_actual_access_mode(node) == ARV_GC_ACCESS_MODE_WO) return "(write only)";
  try {
    return features.read(name);
  } catch (const std::exception& failure) {
    return std::string("(") + failure.what() + ")";
  }
}

std::string entriesText(ArvGcFeatureNode* node) {
  if (!ARV_IS_GC_ENUMERATION(node)) return "";
  // Aravis keeps the entries last first; the description's order reads better.
  std::string text;
  for (const GSList* entry = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node)); entry != nullptr;
       entry = entry->next) {
    const std::string name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry->data));
    text = text.empty() ? name : name + ", " + text;
  }
  if (!text.empty()) text = "{" + text;
  return text.empty() ? text : text + "}";
}

void listFeatures(const GenTLArvDevice& features) {
  std::printf("%-34s %-24s %-6s %s\n", "Feature", "Value", "Access", "Entries");
  for (const std::string& name : features.featureNames()) {
    ArvGcFeatureNode* node = features.feature(name);
    std::printf("%-34s %-24s %-6s %s\n", name.c_str(), valueText(features, name, node).c_str(),
                accessName(arv_gc_feature_node_get_actual_access_mode(node)), entriesText(node).c_str());
  }
}

}  // namespace

const char* FeaturesCommand::help() {
  return "usage: lmmocktl [--cti PATH] features [--module remote|system|interface|device|stream]\n"
         "                [--stream ID] [DEVICE] [NAME[=VALUE] ...]\n"
         "\n"
         "Without names, lists every feature of the module's port with its value, access and, for\n"
         "enumerations, its entries. With names, reads NAME or writes NAME=VALUE, in order; a\n"
         "command executes on NAME= (any value). Features are evaluated by Aravis' GenApi engine\n"
         "over the port's own description.\n"
         "\n"
         "  DEVICE        a device id, or INTERFACE/DEVICE; the first device when left out\n"
         "  --module M    the port to use: the camera (remote, the default), the system, the\n"
         "                device's interface, the device module or a data stream\n"
         "  --stream ID   the data stream for --module stream (the first one by default)\n";
}

GenTLPortFunctions FeaturesCommand::portFunctions(const GenTLLibrary& gentl) {
  return {gentl.GCReadPort, gentl.GCWritePort, gentl.GCGetNumPortURLs, gentl.GCGetPortURLInfo, gentl.GCGetLastError};
}

void FeaturesCommand::apply(const GenTLArvDevice& features, const std::string& assignment, bool quiet) {
  const auto equals = assignment.find('=');
  const std::string name = assignment.substr(0, equals);
  try {
    if (equals == std::string::npos) {
      const std::string value = features.read(name);
      if (!quiet) std::printf("%s = %s\n", name.c_str(), value.c_str());
      return;
    }
    const std::string value = assignment.substr(equals + 1);
    ArvGcFeatureNode* node = features.feature(name);
    features.write(name, value);
    if (quiet) return;
    if (ARV_IS_GC_COMMAND(node)) {
      std::printf("%s executed\n", name.c_str());
    } else if (arv_gc_feature_node_get_actual_access_mode(node) == ARV_GC_ACCESS_MODE_WO) {
      std::printf("%s <- %s\n", name.c_str(), value.c_str());
    } else {
      std::printf("%s = %s\n", name.c_str(), features.read(name).c_str());
    }
  } catch (const ToolError&) {
    throw;
  } catch (const std::exception& failure) {
    throw ToolError(failure.what());
  }
}

int FeaturesCommand::run(const GenTLLibrary& gentl, const Options& options) {
  const std::string& module = options.module;
  std::vector<std::string> words = options.words;
  if (module != "remote" && module != "system" && module != "interface" && module != "device" && module != "stream") {
    throw ToolError("unknown module " + module + " (remote, system, interface, device or stream)", ToolError::kUsage);
  }

  ProducerSession session(gentl);
  // A first word without '=' that names a device is the device; anything else is a feature.
  std::string deviceName;
  if (!words.empty() && words.front().find('=') == std::string::npos && session.hasDevice(words.front())) {
    deviceName = words.front();
    words.erase(words.begin());
  }

  PORT_HANDLE port = session.system();
  std::unique_ptr<Acquisition> stream;  // only opened, never started: its port is wanted
  if (module != "system") {
    const ProducerSession::DeviceEntry entry = session.findDevice(deviceName);
    if (module == "interface") {
      port = session.openInterface(entry.interfaceId);
    } else {
      DEV_HANDLE device = session.openDevice(entry);
      port = device;
      if (module == "remote") {
        gentl.check(gentl.DevGetPort(device, &port), "DevGetPort");
      } else if (module == "stream") {
        const std::vector<std::string> streams = session.streamIds(device);
        if (streams.empty()) throw ToolError("device " + entry.deviceId + " has no data stream");
        const std::string id = options.stream.value_or(streams.front());
        stream = std::make_unique<Acquisition>(gentl, device, id);
        port = stream->stream();
      }
    }
  }

  std::unique_ptr<GenTLArvDevice> features;
  try {
    features = std::make_unique<GenTLArvDevice>(portFunctions(gentl), port);
  } catch (const std::exception& failure) {
    throw ToolError(failure.what());
  }
  if (words.empty()) {
    listFeatures(*features);
  } else {
    for (const std::string& word : words) apply(*features, word, false);
  }
  return 0;
}

}  // namespace lmmocktl
