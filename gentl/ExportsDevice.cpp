// Device (Dev) exports.
#include <cstring>
#include <memory>

#include "base/GenTL.h"
#include "gentl/ErrorFrame.h"
#include "gentl/HandleChecks.h"
#include "stream/DataStream.h"
#include "tree/Device.h"
#include "tree/Interface.h"
#include "tree/RemoteDevice.h"

using namespace lumo::mockTL;

GC_API DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DevGetPort);
    checks::requireInitialised(where);
    const auto module =
        checks::requireKnownModule(hDevice, where, "DevGetPort invalid dev handle", "invalid handle (pool)");
    checks::requirePointer(phRemoteDevice, where, "phRemoteDevice<=0");
    const auto device = checks::requireModuleKind<Device>(module, where, "unknown device");
    const auto iface = std::dynamic_pointer_cast<Interface>(device->parent());
    if (!iface || iface->findDevice(device->configuration().id).get() != device.get()) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "unknown device");
    }
    *phRemoteDevice = device->remoteDevice()->handle();
  });
}

GC_API DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DevGetNumDataStreams);
    checks::requireInitialised(where);
    const auto device = checks::requireModule<Device>(
        hDevice, where, {"invalid dev handle", "invalid handle (pool)", "invalid handle after cast"});
    checks::requirePointer(piNumDataStreams, where, "piNumDataStreams is invalid");
    *piNumDataStreams = device->dataStreamCount();
  });
}

GC_API DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DevGetDataStreamID);
    checks::requireInitialised(where);
    const auto device = checks::requireModule<Device>(
        hDevice, where,
        {"DevGetDataStreamID invalid dev handle", "invalid handle (pool)", "invalid handle after cast"});
    checks::requirePointer(piSize, where, "piSize is invalid");
    if (iIndex >= device->dataStreamCount()) {
      checks::fail(GC_ERR_INVALID_INDEX, where, "datastream at this index is unknown");
    }
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    device->getDataStream(iIndex)->getInfo(STREAM_INFO_ID, type, sDataStreamID, *piSize);
  });
}

GC_API DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DevOpenDataStream);
    checks::requireInitialised(where);
    const auto module =
        checks::requireKnownModule(hDevice, where, "invalid dev handle", "unknown handle. devopendatastream.");
    checks::requirePointer(phDataStream, where, "phDatastream<=0");
    const auto device = checks::requireModuleKind<Device>(module, where, "invalid handle after cast");
    checks::requirePointer(sDataStreamID, where, "stream id is invalid");
    if (*sDataStreamID == '\0') {
      checks::fail(GC_ERR_INVALID_PARAMETER, where, "stream id is empty string");
    }
    if (!device->isOpen()) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "device is not open");
    }
    const auto stream = device->findDataStream(sDataStreamID);
    if (!stream) {
      checks::fail(GC_ERR_INVALID_PARAMETER, where, "unknown datastream");
    }
    if (stream->isOpen()) {
      checks::fail(GC_ERR_RESOURCE_IN_USE, where, "failed to open ds");
    }
    stream->open();
    *phDataStream = stream->handle();
  });
}

GC_API DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DevGetInfo);
    checks::requireInitialised(where);
    const auto device = checks::requireModule<Device>(
        hDevice, where, {"handle is invalid", "unknown handle. devgetinfo.", "unknown handle. devgetinfo."});
    checks::requirePointer(piSize, where, "piSize <= 0");
    checks::requirePointer(piType, where, "piType <= 0");
    device->getInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API DevClose(DEV_HANDLE hDevice) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DevClose);
    checks::requireInitialised(where);
    const auto device = checks::requireModule<Device>(
        hDevice, where, {"DevClose invalid dev handle", "unknown handle. devclose.", "invalid handle after cast"});
    if (!device->isOpen()) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "device is not open.");
    }
    device->close();
  });
}

GC_API DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DevGetParentIF);
    checks::requireInitialised(where);
    checks::requirePointer(phIface, where, "invalid pointer to parent");
    const auto device =
        checks::requireModule<Device>(hDevice, where, {"invalid handle", "unknown device", "unknown device"});
    const auto iface = std::dynamic_pointer_cast<Interface>(device->parent());
    if (!iface || !iface->isOpen()) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "iface is not open/created");
    }
    *phIface = iface->handle();
  });
}
