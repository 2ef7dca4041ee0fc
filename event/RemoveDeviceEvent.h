#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "event/EventWorker.h"

namespace lumo::mockTL {

// The remote device's EVENT_REMOTE_DEVICE queue (device removal). An item's event data is its
// bytes as stored: the remote device stores the removed device's id with its terminating zero.
// EventGetDataInfo serves EVENT_DATA_ID, that id as a string. Pushes depend on registration.
class RemoveDeviceEvent : public EventWorker<std::vector<std::uint8_t>> {
 public:
  // Made through Event::create.
  RemoveDeviceEvent();

  EVENT_TYPE eventType() const override { return EVENT_REMOTE_DEVICE; }
  // The largest item waiting; 0 when none is.
  std::size_t maxDataSize() const override;
  // The id is the whole item.
  std::size_t maxInfoDataSize() const override { return maxDataSize(); }

 protected:
  void GetDataImpl(const std::vector<std::uint8_t>& item, void* buffer, std::size_t& size) override;
  std::size_t minDataSize() const override { return 0; }
  void GetDataInfoImpl(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command, INFO_DATATYPE& type,
                       void* outBuffer, std::size_t& outSize) override;
};

}  // namespace lumo::mockTL
