#include "tools/ListCommand.h"

#include <cstdio>
#include <memory>
#include <string>

#include "tools/FeaturesCommand.h"
#include "tools/GenTLArvDevice.h"
#include "tools/InfoQuery.h"
#include "tools/ProducerSession.h"
#include "tools/ToolError.h"

namespace lmmocktl {

namespace {

const char* accessStatusName(int32_t status) {
  switch (status) {
    case DEVICE_ACCESS_STATUS_READWRITE: return "available (read/write)";
    case DEVICE_ACCESS_STATUS_READONLY: return "available (read only)";
    case DEVICE_ACCESS_STATUS_NOACCESS: return "no access";
    case DEVICE_ACCESS_STATUS_BUSY: return "busy";
    case DEVICE_ACCESS_STATUS_OPEN_READWRITE: return "open (read/write)";
    case DEVICE_ACCESS_STATUS_OPEN_READONLY: return "open (read only)";
    default: return "unknown";
  }
}

// A text info value, or "-" when the producer does not answer it: `list` shows what it can.
template <class Query>
std::string textOrDash(const GenTLLibrary& gentl, Query query) {
  try {
    return infoText(gentl, query, "info");
  } catch (const ToolError&) {
    return "-";
  }
}

// The camera's node map, when its description can be read; `list` goes on without it.
std::unique_ptr<GenTLArvDevice> openCamera(const GenTLLibrary& gentl, DEV_HANDLE device) {
  PORT_HANDLE port = nullptr;
  if (gentl.DevGetPort(device, &port) != GC_ERR_SUCCESS) return nullptr;
  try {
    return std::make_unique<GenTLArvDevice>(FeaturesCommand::portFunctions(gentl), port);
  } catch (const std::exception&) {
    return nullptr;
  }
}

// ": Mono8, 1920 x 1080" for stream `index`, read from the camera's image format features with
// SourceSelector pointing at the stream; empty when the camera does not describe them.
std::string streamFormat(const GenTLArvDevice& camera, std::size_t index) {
  try {
    if (arv_gc_get_node(camera.genicam(), "SourceSelector") != nullptr) {
      GError* error = nullptr;
      ArvGcNode* selector = arv_gc_get_node(camera.genicam(), "SourceSelector");
      if (!ARV_IS_GC_ENUMERATION(selector)) return "";
      arv_gc_enumeration_set_int_value(ARV_GC_ENUMERATION(selector), static_cast<gint64>(index), &error);
      if (error != nullptr) {
        g_clear_error(&error);
        return "";
      }
    } else if (index > 0) {
      return "";
    }
    return ": " + camera.read("PixelFormat") + ", " + camera.read("Width") + " x " + camera.read("Height");
  } catch (const std::exception&) {
    return "";
  }
}

}  // namespace

const char* ListCommand::help() {
  return "usage: lmmocktl [--cti PATH] list\n"
         "\n"
         "Prints the producer's info values and its tree of interfaces, devices (vendor, model,\n"
         "serial number, access status) and data streams.\n";
}

int ListCommand::run(const GenTLLibrary& gentl) {
  auto tl = [&](TL_INFO_CMD command) {
    return [&gentl, command](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return gentl.GCGetInfo(command, type, buffer, size);
    };
  };
  std::printf("Producer %s\n", gentl.path().c_str());
  std::printf("  vendor %s, model %s, version %s, transport layer type %s\n",
              textOrDash(gentl, tl(TL_INFO_VENDOR)).c_str(), textOrDash(gentl, tl(TL_INFO_MODEL)).c_str(),
              textOrDash(gentl, tl(TL_INFO_VERSION)).c_str(), textOrDash(gentl, tl(TL_INFO_TLTYPE)).c_str());
  uint32_t major = 0;
  uint32_t minor = 0;
  try {
    major = infoValue<uint32_t>(gentl, tl(TL_INFO_GENTL_VER_MAJOR), "GCGetInfo");
    minor = infoValue<uint32_t>(gentl, tl(TL_INFO_GENTL_VER_MINOR), "GCGetInfo");
  } catch (const ToolError&) {
  }
  std::printf("  GenTL %u.%u, id %s, name %s, display name %s\n", major, minor,
              textOrDash(gentl, tl(TL_INFO_ID)).c_str(), textOrDash(gentl, tl(TL_INFO_NAME)).c_str(),
              textOrDash(gentl, tl(TL_INFO_DISPLAYNAME)).c_str());
  int32_t encoding = -1;
  try {
    encoding = infoValue<int32_t>(gentl, tl(TL_INFO_CHAR_ENCODING), "GCGetInfo");
  } catch (const ToolError&) {
  }
  std::printf("  file %s, text encoding %s\n", textOrDash(gentl, tl(TL_INFO_PATHNAME)).c_str(),
              encoding == TL_CHAR_ENCODING_ASCII  ? "ASCII"
              : encoding == TL_CHAR_ENCODING_UTF8 ? "UTF-8"
                                                  : "-");

  ProducerSession session(gentl);
  const std::vector<std::string> interfaces = session.interfaceIds();
  std::printf(
      "System %s (%zu interface%s)\n",
      textOrDash(gentl, [&](INFO_DATATYPE* type, void* buffer,
                            size_t* size) { return gentl.TLGetInfo(session.system(), TL_INFO_ID, type, buffer, size); })
          .c_str(),
      interfaces.size(), interfaces.size() == 1 ? "" : "s");
  for (std::size_t i = 0; i < interfaces.size(); ++i) {
    const bool lastInterface = i + 1 == interfaces.size();
    const std::string& interfaceId = interfaces[i];
    IF_HANDLE iface = session.openInterface(interfaceId);
    const std::string display = textOrDash(gentl, [&](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return gentl.IFGetInfo(iface, INTERFACE_INFO_DISPLAYNAME, type, buffer, size);
    });
    std::printf("%s Interface %s \"%s\"\n", lastInterface ? "└─" : "├─", interfaceId.c_str(), display.c_str());
    const char* interfaceIndent = lastInterface ? "   " : "│  ";
    const std::vector<std::string> devices = session.deviceIds(iface);
    for (std::size_t d = 0; d < devices.size(); ++d) {
      const bool lastDevice = d + 1 == devices.size();
      const std::string& deviceId = devices[d];
      auto device = [&](DEVICE_INFO_CMD command) {
        return [&gentl, iface, &deviceId, command](INFO_DATATYPE* type, void* buffer, size_t* size) {
          return gentl.IFGetDeviceInfo(iface, deviceId.c_str(), command, type, buffer, size);
        };
      };
      int32_t status = DEVICE_ACCESS_STATUS_UNKNOWN;
      try {
        status = infoValue<int32_t>(gentl, device(DEVICE_INFO_ACCESS_STATUS), "IFGetDeviceInfo");
      } catch (const ToolError&) {
      }
      std::printf("%s%s Device %s: %s %s, serial %s, %s\n", interfaceIndent, lastDevice ? "└─" : "├─", deviceId.c_str(),
                  textOrDash(gentl, device(DEVICE_INFO_VENDOR)).c_str(),
                  textOrDash(gentl, device(DEVICE_INFO_MODEL)).c_str(),
                  textOrDash(gentl, device(DEVICE_INFO_SERIAL_NUMBER)).c_str(), accessStatusName(status));
      // The streams are the device module's: they need the device open, and only a device
      // that is available can be opened here.
      const std::string deviceIndent = std::string(interfaceIndent) + (lastDevice ? "   " : "│  ");
      DEV_HANDLE opened = nullptr;
      try {
        opened = session.openDevice({interfaceId, deviceId});
      } catch (const ToolError& error) {
        std::printf("%s└─ (streams not listed: %s)\n", deviceIndent.c_str(), error.what());
        continue;
      }
      const std::vector<std::string> streams = session.streamIds(opened);
      std::unique_ptr<GenTLArvDevice> camera = openCamera(gentl, opened);
      for (std::size_t s = 0; s < streams.size(); ++s) {
        std::printf("%s%s Stream %s%s\n", deviceIndent.c_str(), s + 1 == streams.size() ? "└─" : "├─",
                    streams[s].c_str(), camera ? streamFormat(*camera, s).c_str() : "");
      }
    }
  }
  return 0;
}

}  // namespace lmmocktl
