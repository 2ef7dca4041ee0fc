#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/GenTL.h"
#include "module/Module.h"
#include "stream/CameraLink.h"
#include "tree/Configuration.h"

namespace lumo::mockTL {

class DataStream;
class RemoteDevice;

// One simulated device of an interface, built from one device record with one data stream per
// stream record. Its remote device (the simulated camera) is built when it is first opened. Any
// thread may call any operation except close, which must not run on one of its streams'
// acquisition threads.
//
// Locks: the module mutex guards the selector writes, the record's two mode fields and the remote
// device; close holds it while it joins the acquisition threads, so those threads never take it.
// The open flag and the selector are atomic because the interface reads them without this mutex.
class Device final : public SpecificModule<void*>, public std::enable_shared_from_this<Device> {
 public:
  // Builds the device and its data streams.
  static std::shared_ptr<Device> create(const std::shared_ptr<Module>& iface, DeviceConfiguration configuration);
  Device(const std::shared_ptr<Module>& iface, DeviceConfiguration configuration);
  ~Device() override;

  // The record's texts and stream records never change; its two mode fields do, under the module
  // mutex: read those through streamingMode() and rdmaCapable().
  const DeviceConfiguration& configuration() const { return configuration_; }
  void getInfo(DEVICE_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) const;
  // DEVICE_ACCESS_STATUS_OPEN_READWRITE while open, else DEVICE_ACCESS_STATUS_READWRITE.
  std::int32_t accessStatus() const;

  std::uint32_t dataStreamCount() const { return static_cast<std::uint32_t>(dataStreams_.size()); }
  std::shared_ptr<DataStream> getDataStream(std::uint32_t index) const;
  // The first stream whose id is exactly `id`, or empty.
  std::shared_ptr<DataStream> findDataStream(std::string_view id) const;
  void setSelectorIndex(std::uint32_t value);

  // Opens for exclusive access; false when the device is open already. Builds the remote device
  // on the first open.
  bool open();
  bool isOpen() const { return open_; }
  // Marks the device closed and stops every stream's acquisition, joining its thread. Throws
  // std::system_error (resource_deadlock_would_occur) when called on an acquisition thread.
  void close();
  // The simulated camera, built here if the device has never been opened.
  std::shared_ptr<RemoteDevice> remoteDevice();

  // GevDataStreamingMode (0 GVSP, 1 RDMA) and GevRDMACapable of the record.
  std::uint32_t streamingMode();
  void setStreamingMode(std::uint32_t mode);
  bool rdmaCapable();
  void setRdmaCapable(bool capable);

  void initRegisterMap() override;
  std::string ReadStringRegImpl(std::uint32_t id) override;
  std::uint32_t ReadUint32RegImpl(std::uint32_t id) override;
  void WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) override;

 private:
  DeviceConfiguration configuration_;
  std::atomic<bool> open_{false};
  std::atomic<std::uint32_t> selectedStream_{0};
  // Filled by create, constant afterwards.
  std::vector<std::shared_ptr<DataStream>> dataStreams_;
  std::shared_ptr<RemoteDevice> remoteDevice_;
  // Shared with the remote device and every data stream of this device.
  const std::shared_ptr<CameraLink> camera_ = std::make_shared<CameraLink>();
};

}  // namespace lumo::mockTL
