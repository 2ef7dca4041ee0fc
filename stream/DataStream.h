#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "gentl/GenTL.h"
#include "module/Module.h"
#include "tree/Configuration.h"

namespace lumo::mockTL {

// One data stream of a device, built from one stream record when the device is built, and opened
// at most once (DevOpenDataStream). It serves its id, its GenApi description and its open state;
// buffer management and acquisition build on the members marked below.
class DataStream final : public SpecificModule<void*>, public std::enable_shared_from_this<DataStream> {
 public:
  DataStream(const std::shared_ptr<Module>& device, StreamConfiguration configuration);

  const std::string& id() const { return configuration_.id; }

  // Marks the stream open; GC_ERR_RESOURCE_IN_USE when it already is. Nothing closes it again.
  void open();
  bool isOpen() const { return open_; }
  bool isGrabbing() const { return grabbing_; }

  // Ends acquisition for the device's close: clears the running and grabbing flags and joins the
  // acquisition thread if there is one. Called under the device's module mutex, which the
  // acquisition thread therefore never takes. Throws std::system_error
  // (resource_deadlock_would_occur) when called on the acquisition thread itself.
  void haltAcquisition();

  void getInfo(STREAM_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size);

  void initRegisterMap() override;
  std::string ReadStringRegImpl(std::uint32_t id) override;

 private:
  StreamConfiguration configuration_;
  std::atomic<bool> open_{false};
  // Acquisition state. The acquisition thread reads the two flags without a lock; the thread
  // object is started by the acquisition start and joined by its stop or by haltAcquisition.
  std::atomic<bool> running_{false};
  std::atomic<bool> grabbing_{false};
  std::thread acquisitionThread_;
};

}  // namespace lumo::mockTL
