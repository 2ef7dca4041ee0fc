#include "tree/RemoteDevice.h"

namespace lumo::mockTL {

RemoteDevice::RemoteDevice(const std::shared_ptr<Module>& device) : SpecificModule(device) {
  initRegisterMap();
  initEvents();
}

void RemoteDevice::initRegisterMap() { declareDescribedRegisters(DescriptionKind::Remote, "Device", "Device", {}); }

std::string RemoteDevice::ReadStringRegImpl(std::uint32_t id) {
  return id == kDescriptionRegisterId ? descriptionText() : SpecificModule::ReadStringRegImpl(id);
}

}  // namespace lumo::mockTL
