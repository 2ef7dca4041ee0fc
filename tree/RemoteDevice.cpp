#include "tree/RemoteDevice.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "base/GenericException.h"
#include "base/Pfnc.h"
#include "stream/DataStream.h"
#include "tree/Device.h"
#include "tree/FileAccess.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

constexpr const char* kScope = "lumo::mockTL::RemoteDevice::";

enum : std::uint32_t {
  kPixelFormat = 10000,
  kWidth = 10001,
  kHeight = 10002,
  kAcqActive = 10006,
  kTlParamsLocked = 10007,
  kPaddingMode = 10010,
  kPaddingPixelCountX = 10011,
  kPaddingLineCountY = 10012,
  kPayloadSize = 10018,
  kDisplayName = 10019,
  kDeviceId = 10020,
  kVendorName = 10021,
  kModelName = 10022,
  kUndescribed = 10023,
  kUserName = 10024,
  kSerialNumber = 10025,
  kVersion = 10026,
  kTimestamp = 10027,
  kGenDCStreamingMode = 6001,
  kGenDCStreamingStatus = 6002,
  kGenDCFlowMappingTable = 6003,
  kGenDCFlowMappingTableSize = 6004,
  kGenDCFlowMappingConfiguration = 6005,
  kGenDCDescriptor = 6006,
  kGenDCDescriptorIsAvailable = 6007,
  kGenDCDescriptorSize = 6008,
  kGenDCPartType = 6009,
  kStreamingDataSource = 6010,
  kStreamFileStartFrameId = 6011,
  kStreamFileMaxFrameId = 6012,
  kTestGenDCImageCount = 7000,
  kSourceCount = 13000,
  kSourceSelector = 13001,
  kFileSelector = 14001,
  kFileSize = 14002,
  kFileOperationResult = 14003,
  kFileOperationStatus = 14004,
  kFileAccessOffset = 14005,
  kFileAccessLength = 14006,
  kFileAccessBuffer = 14007,
  kFileOperationExecute = 14008,
  kFileOperationSelector = 14009,
  kFileOpenMode = 14010,
  kSleepBetweenFrames = 30020,
  kTriggerSoftware = 30021,
  kTriggerCount = 30022,
};

[[noreturn]] void unknownId(const char* operation) {
  throw GenericException(GC_ERR_INVALID_ADDRESS, std::string(kScope) + operation, "reg id is unknown");
}

void copyOut(const std::vector<std::uint8_t>& bytes, void* destination, std::size_t count) {
  if (!bytes.empty()) {
    std::memcpy(destination, bytes.data(), std::min(count, bytes.size()));
  }
}

constexpr const char* kReadCast = "failed to cast device";
constexpr const char* kWriteCast = "failed to cast stream or device";

}  // namespace

RemoteDevice::RemoteDevice(const std::shared_ptr<Module>& device, std::shared_ptr<CameraLink> camera)
    : SpecificModule(device), camera_(camera != nullptr ? std::move(camera) : std::make_shared<CameraLink>()) {
  initRegisterMap();
  initEvents();
}

void RemoteDevice::initEvents() {
  removalEvent_ = Event::create<RemoveDeviceEvent>();
  eventSource()->add(removalEvent_);
  SpecificModule::initEvents();
}

void RemoteDevice::initRegisterMap() {
  using enum RegisterType;
  using enum RegisterAccess;
  declareDescribedRegisters(DescriptionKind::Remote, "Device", "Device",
                            {
                                {kAcqActive, 0x0, 4, Uint32, WriteOnly},
                                {kTriggerSoftware, 0x4, 4, Uint32, WriteOnly},
                                // Counted by the camera alone: consumers only read it.
                                {kTriggerCount, 0x8, 4, Uint32, ReadOnly},
                                {kSleepBetweenFrames, 0x60, 4, Uint32, ReadWrite},
                                {kSourceCount, 0x100, 4, Uint32, ReadOnly},
                                {kSourceSelector, 0x200, 4, Uint32, ReadWrite},
                                {kWidth, 0x1000, 4, Uint32, ReadWrite},
                                {kHeight, 0x1500, 4, Uint32, ReadWrite},
                                {kPaddingMode, 0x1600, 4, Uint32, ReadWrite},
                                {kPaddingPixelCountX, 0x1604, 4, Uint32, ReadWrite},
                                {kPaddingLineCountY, 0x1608, 4, Uint32, ReadWrite},
                                {kPixelFormat, 0x2500, 4, Uint32, ReadWrite},
                                {kPayloadSize, 0x2600, 8, Uint64, ReadOnly},
                                {kTlParamsLocked, 0x9000, 4, Uint32, ReadWrite},
                                {kDisplayName, 0x9500, 256, String, ReadOnly},
                                {kDeviceId, 0x10000, 64, String, ReadOnly},
                                {kVendorName, 0x10500, 64, String, ReadOnly},
                                {kModelName, 0x11000, 64, String, ReadOnly},
                                {kUndescribed, 0x11500, 4, Uint32, ReadOnly},
                                {kUserName, 0x12000, 64, String, ReadOnly},
                                {kSerialNumber, 0x12500, 64, String, ReadOnly},
                                {kVersion, 0x13000, 64, String, ReadOnly},
                                {kTimestamp, 0x13400, 8, Uint64, ReadOnly},
                                {kFileSelector, 0x20000, 4, Uint32, ReadWrite},
                                {kFileSize, 0x20004, 4, Uint32, ReadOnly},
                                {kFileAccessLength, 0x20008, 4, Uint32, ReadWrite},
                                {kFileAccessOffset, 0x20010, 4, Uint32, ReadWrite},
                                {kFileOpenMode, 0x20014, 4, Uint32, ReadWrite},
                                {kFileOperationSelector, 0x20018, 4, Uint32, ReadWrite},
                                {kFileOperationResult, 0x20020, 4, Uint32, ReadOnly},
                                {kFileOperationStatus, 0x20024, 4, Uint32, ReadOnly},
                                {kFileOperationExecute, 0x20028, 4, Uint32, WriteOnly},
                                // Writable at the port so that a write reaches the camera, which
                                // then ignores the bytes.
                                {kFileAccessBuffer, 0x20030, 1024, Raw, ReadWrite},
                                {kGenDCStreamingMode, 0x30000, 4, Uint32, ReadWrite},
                                {kGenDCStreamingStatus, 0x30004, 4, Uint32, ReadOnly},
                                {kGenDCFlowMappingTableSize, 0x30008, 4, Uint32, ReadOnly},
                                {kGenDCDescriptorIsAvailable, 0x3000C, 4, Uint32, ReadOnly},
                                {kGenDCDescriptorSize, 0x30010, 4, Uint32, ReadOnly},
                                {kGenDCFlowMappingConfiguration, 0x30020, 4, Uint32, ReadWrite},
                                {kGenDCPartType, 0x30024, 4, Uint32, ReadWrite},
                                {kStreamingDataSource, 0x30028, 4, Uint32, ReadOnly},
                                {kStreamFileStartFrameId, 0x3002C, 8, Uint64, ReadWrite},
                                {kStreamFileMaxFrameId, 0x30034, 8, Uint64, ReadOnly},
                                {kGenDCFlowMappingTable, 0x31000, 1024, Raw, ReadOnly},
                                {kGenDCDescriptor, 0x32000, 2048, Raw, ReadOnly},
                                {kTestGenDCImageCount, 0x40000, 4, Uint32, ReadWrite},
                            });
}

void RemoteDevice::setSelectedDataStream(std::uint32_t index) {
  const std::string where = std::string(kScope) + "setSelectedDataStream";
  const auto device = std::dynamic_pointer_cast<Device>(parent());
  if (!device) {
    throw GenericException(GC_ERR_INVALID_HANDLE, where, "failed to set selected datastream");
  }
  if (index >= device->dataStreamCount()) {
    throw GenericException(GC_ERR_INVALID_INDEX, where, "failed to set selected datastream. index exceeded.");
  }
  selectedSource_ = index;
}

std::shared_ptr<DataStream> RemoteDevice::getSelectedDataStream() {
  const auto device = std::dynamic_pointer_cast<Device>(parent());
  if (!device) {
    throw GenericException(GC_ERR_INVALID_HANDLE, std::string(kScope) + "getSelectedDataStream",
                           "failed to get selected datastream");
  }
  return device->getDataStream(selectedSource_);
}

RemoteDevice::Target RemoteDevice::resolve(const char* where, const char* castMessage) {
  const std::string origin = std::string(kScope) + where;
  Target target{std::dynamic_pointer_cast<Device>(parent()), nullptr};
  if (!target.device) {
    throw GenericException(GC_ERR_ERROR, origin, castMessage);
  }
  target.stream = target.device->getDataStream(selectedSource_);
  if (!target.stream) {
    throw GenericException(GC_ERR_ERROR, origin, "failed to get datastream");
  }
  return target;
}

bool RemoteDevice::tlParamsLocked() {
  std::lock_guard lock(moduleMutex());
  return tlParams_ != 0;
}

void RemoteDevice::writeTlParamsLocked(const Device& device, std::uint32_t value) {
  std::lock_guard lock(moduleMutex());
  // The byte stores the inverse of what was written (writing 1 reads back 0, writing 0 reads
  // back 1): consumers' node maps are built around this behaviour, so it is kept as it is.
  if (value == 0 && tlParams_ != 0) {
    for (std::uint32_t i = 0; i < device.dataStreamCount(); ++i) {
      if (device.getDataStream(i)->isGrabbing()) {
        return;
      }
    }
  }
  tlParams_ = value == 0 ? 1 : 0;
}

std::string RemoteDevice::ReadStringRegImpl(std::uint32_t id) {
  if (id == kDescriptionRegisterId) {
    return descriptionText();
  }
  const auto device = std::dynamic_pointer_cast<Device>(parent());
  if (!device) {
    throw GenericException(GC_ERR_ERROR, std::string(kScope) + "ReadStringRegImpl", "parent is null");
  }
  const auto& record = device->configuration();
  switch (id) {
    case kDisplayName: return record.displayName;
    case kDeviceId: return record.id;
    case kVendorName: return record.vendor;
    case kModelName: return record.model;
    case kUserName: return record.userName;
    case kSerialNumber: return record.serialNumber;
    case kVersion: return record.version;
    default: unknownId("ReadStringRegImpl");
  }
}

std::uint32_t RemoteDevice::ReadUint32RegImpl(std::uint32_t id) {
  const auto [device, stream] = resolve("ReadUint32RegImpl", kReadCast);
  switch (id) {
    case kPixelFormat: return stream->format().imageGeometry().pixelFormat;
    case kWidth: return stream->format().imageGeometry().width;
    case kHeight: return stream->format().imageGeometry().height;
    case kPaddingMode: return stream->format().paddingMode();
    case kPaddingPixelCountX: return stream->format().paddingPixelCountX();
    case kPaddingLineCountY: return stream->format().paddingLineCountY();
    case kTlParamsLocked: return tlParamsLocked() ? 1 : 0;
    case kGenDCStreamingMode: return stream->format().genDCSettings().streamingMode;
    // On while the stream delivers GenDC: in streaming mode, and always for a stream file.
    case kGenDCStreamingStatus: return stream->usesFlows() ? 1 : 0;
    case kGenDCFlowMappingConfiguration: return stream->format().genDCSettings().flowMappingConfiguration;
    case kGenDCPartType: return stream->format().genDCSettings().partType;
    case kTestGenDCImageCount: return stream->format().genDCSettings().imageCount;
    // No table and no descriptor while the stream delivers without flows.
    case kGenDCFlowMappingTableSize: return static_cast<std::uint32_t>(stream->format().flowMappingTableSize());
    case kGenDCDescriptorIsAvailable: return stream->format().genDCDescriptorSize() != 0 ? 1 : 0;
    case kGenDCDescriptorSize: return static_cast<std::uint32_t>(stream->format().genDCDescriptorSize());
    case kStreamingDataSource: return stream->format().streamingDataSource();
    case kSourceCount: return device->dataStreamCount();
    case kSourceSelector: return selectedSource_;
    case kSleepBetweenFrames: return static_cast<std::uint32_t>(camera_->framePeriod());
    case kTriggerCount: return triggerCount_;
    case kFileSelector: return FileAccess::instance().fileSelector();
    case kFileSize: return FileAccess::instance().fileSize();
    case kFileOperationResult: return FileAccess::instance().operationResult();
    case kFileOperationStatus: return FileAccess::instance().operationStatus();
    case kFileAccessOffset: return FileAccess::instance().accessOffset();
    case kFileAccessLength: return FileAccess::instance().accessLength();
    case kFileOperationSelector: return FileAccess::instance().operationSelector();
    case kFileOpenMode: return FileAccess::instance().openMode();
    default: unknownId("ReadUint32RegImpl");
  }
}

std::uint64_t RemoteDevice::ReadUint64RegImpl(std::uint32_t id) {
  const auto stream = resolve("ReadUint64RegImpl", kReadCast).stream;
  switch (id) {
    case kTimestamp:
      return static_cast<std::uint64_t>(
          std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
              .count());
    case kPayloadSize: return stream->format().payloadSize();
    case kStreamFileStartFrameId: return stream->format().genDCSettings().streamFileStartFrameId;
    case kStreamFileMaxFrameId: return stream->streamFileMaxFrameId();
    default: unknownId("ReadUint64RegImpl");
  }
}

double RemoteDevice::ReadFloat64RegImpl(std::uint32_t) {
  resolve("ReadFloat64RegImpl", kReadCast);
  unknownId("ReadFloat64RegImpl");
}

void RemoteDevice::ReadRegImpl(std::uint32_t id, void* destination, std::size_t count) {
  const auto stream = resolve("ReadRegImpl", kReadCast).stream;
  switch (id) {
    case kFileAccessBuffer: return FileAccess::instance().readBuffer(destination, count);
    // The whole table or descriptor, as far as the destination reaches: a read shorter than
    // it gets its first bytes, a longer one leaves the bytes behind it as they were.
    case kGenDCFlowMappingTable: return copyOut(stream->format().flowMappingTable(), destination, count);
    case kGenDCDescriptor: return copyOut(stream->format().genDCDescriptor(), destination, count);
    default: unknownId("ReadRegImpl");
  }
}

void RemoteDevice::WriteStringRegImpl(std::uint32_t, const std::string&) {
  resolve("WriteStringRegImpl", kWriteCast);
  unknownId("WriteStringRegImpl");
}

void RemoteDevice::WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) {
  const auto [device, stream] = resolve("WriteUint32RegImpl", kWriteCast);
  switch (id) {
    case kPixelFormat: {
      std::lock_guard lock(moduleMutex());
      return stream->format().setPixelFormat(value == 0 ? pfnc::Mono8 : value);
    }
    case kWidth: return stream->format().setWidth(value);
    case kHeight: return stream->format().setHeight(value);
    case kPaddingMode: return stream->format().setPaddingMode(static_cast<std::int32_t>(value));
    case kPaddingPixelCountX: return stream->format().setPaddingPixelCountX(value);
    case kPaddingLineCountY: return stream->format().setPaddingLineCountY(value);
    case kAcqActive:
      if (value != 0) {
        triggerCount_ = 0;
      }
      acquisitionActive_ = value != 0;
      return;
    case kTlParamsLocked: return writeTlParamsLocked(*device, value);
    case kGenDCStreamingMode: return stream->format().setGenDCStreamingMode(value);
    case kGenDCFlowMappingConfiguration: return stream->format().setFlowMappingConfiguration(value);
    case kGenDCPartType: return stream->format().setGenDCPartType(static_cast<std::uint16_t>(value & 0xFFFF));
    case kTestGenDCImageCount: return stream->format().setGenDCImageCount(value);
    case kSourceSelector: return setSelectedDataStream(value);
    case kSleepBetweenFrames: camera_->setFramePeriod(value); return;
    case kTriggerSoftware:
      ++triggerCount_;
      camera_->trigger();
      return;
    case kFileSelector: return FileAccess::instance().selectFile(value);
    case kFileOperationSelector: return FileAccess::instance().selectOperation(value);
    case kFileAccessOffset: return FileAccess::instance().setAccessOffset(value);
    case kFileAccessLength: return FileAccess::instance().setAccessLength(value);
    case kFileOpenMode: return FileAccess::instance().setOpenMode(value);
    case kFileOperationExecute: return FileAccess::instance().execute();
    default: unknownId("WriteUint32RegImpl");
  }
}

void RemoteDevice::WriteUint64RegImpl(std::uint32_t id, std::uint64_t value) {
  const auto stream = resolve("WriteUint64RegImpl", kWriteCast).stream;
  if (id != kStreamFileStartFrameId) {
    unknownId("WriteUint64RegImpl");
  }
  stream->format().setStreamFileStartFrameId(value);
}

void RemoteDevice::WriteFloat64RegImpl(std::uint32_t, double) {
  resolve("WriteFloat64RegImpl", kWriteCast);
  unknownId("WriteFloat64RegImpl");
}

void RemoteDevice::WriteRegImpl(std::uint32_t id, const void*, std::size_t) {
  resolve("WriteRegImpl", kWriteCast);
  if (id != kFileAccessBuffer) {
    unknownId("WriteRegImpl");
  }
}

}  // namespace lumo::mockTL
