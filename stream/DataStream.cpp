#include "stream/DataStream.h"

#include <mutex>

#include "gentl/GenericException.h"
#include "module/Info.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

constexpr std::uint32_t kStreamIdRegister = 4008;

}  // namespace

DataStream::DataStream(const std::shared_ptr<Module>& device, StreamConfiguration configuration)
    : SpecificModule(device), configuration_(std::move(configuration)) {
  initRegisterMap();
  initEvents();
}

void DataStream::open() {
  std::lock_guard lock(moduleMutex());
  if (open_) {
    throw GenericException(GC_ERR_RESOURCE_IN_USE, "lumo::mockTL::DataStream::open", "ds already open");
  }
  open_ = true;
}

void DataStream::haltAcquisition() {
  running_ = false;
  grabbing_ = false;
  if (acquisitionThread_.joinable()) {
    acquisitionThread_.join();
  }
}

void DataStream::getInfo(STREAM_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) {
  constexpr const char* where = "lumo::mockTL::DataStream::getInfo";
  if (type == INFO_DATATYPE_CUSTOM_ID) {
    throw GenericException(GC_ERR_NOT_AVAILABLE, where, "only standard info commands implemented");
  }
  // The two text answers keep this 0 as their type: consumers of the stream id have always seen it.
  type = INFO_DATATYPE_UNKNOWN;
  INFO_DATATYPE textType = INFO_DATATYPE_UNKNOWN;
  switch (command) {
    case STREAM_INFO_ID: return info::ReportInfoString(textType, destination, size, id(), where, "buffer too small");
    case STREAM_INFO_CUSTOM_ID:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "requested custom info not implemented");
    default: throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "requested info not implemented");
  }
}

void DataStream::initRegisterMap() {
  declareDescribedRegisters(DescriptionKind::DataStream, "TLDataStream", "StreamPort",
                            {{kStreamIdRegister, 0x100, 256, RegisterType::String, RegisterAccess::ReadOnly}});
}

std::string DataStream::ReadStringRegImpl(std::uint32_t id) {
  switch (id) {
    case kDescriptionRegisterId: return descriptionText();
    case kStreamIdRegister: return this->id();
    default:
      throw GenericException(GC_ERR_INVALID_ID, "lumo::mockTL::DataStream::ReadStringRegImpl",
                             "unknown reg id during read string reg");
  }
}

}  // namespace lumo::mockTL
