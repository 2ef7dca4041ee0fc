#pragma once

#include <cstddef>
#include <string>

#include "event/EventWorker.h"

namespace lumo::mockTL {

// One failure reported by a module: its GenTL code and text.
struct ErrorEventData {
  GC_ERROR code;
  std::string text;
};

// A module's EVENT_ERROR queue. Event data: the signed 32-bit code at offset 0, then the text,
// zero-terminated, cut to fit 252 bytes with its terminator, so an item is at most 256 bytes.
// Pushes depend on registration: nobody collects errors for a consumer that does not listen.
class ErrorEvent : public EventWorker<ErrorEventData> {
 public:
  static constexpr std::size_t kMaxTextBytes = 252;  // with the terminating zero
  static constexpr std::size_t kMaxDataBytes = sizeof(GC_ERROR) + kMaxTextBytes;

  // Made through Event::create.
  ErrorEvent();

  EVENT_TYPE eventType() const override { return EVENT_ERROR; }
  std::size_t maxDataSize() const override { return kMaxDataBytes; }
  std::size_t maxInfoDataSize() const override { return kMaxTextBytes; }

 protected:
  void GetDataImpl(const ErrorEventData& item, void* buffer, std::size_t& size) override;
  // A code and an empty text.
  std::size_t minDataSize() const override { return sizeof(GC_ERROR) + 1; }
  // EVENT_DATA_ID: the code (INT32); EVENT_DATA_VALUE: the text (STRING), read no further than
  // the input buffer reaches.
  void GetDataInfoImpl(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command, INFO_DATATYPE& type,
                       void* outBuffer, std::size_t& outSize) override;
};

}  // namespace lumo::mockTL
