#include "module/Module.h"

namespace lumo::mockTL {

Module::Module(const std::shared_ptr<Module>& parent)
    : eventSource_(std::make_shared<EventSource>()), errorEvent_(Event::create<ErrorEvent>()), parent_(parent) {
  eventSource_->add(errorEvent_);
}

void Module::initEvents() { eventSource_->markSetUp(); }

void Module::declareDescribedRegisters(DescriptionKind kind, std::string moduleName, std::string portName,
                                       std::initializer_list<RegisterRecord> records) {
  const Description& own = description(kind);
  description_ = &own;
  setNames(std::move(moduleName), std::move(portName));
  markDescribed();
  UrlEntry url;
  url.fileName = std::string(own.fileName);
  url.registerAddress = kDescriptionAddress;
  url.fileSize = own.text.size();
  url.sha1 = own.sha1;
  addUrl(std::move(url));
  addRegister(
      {kDescriptionRegisterId, kDescriptionAddress, own.text.size(), RegisterType::String, RegisterAccess::ReadOnly});
  declareRegisters(records);
}

std::string Module::descriptionText() const {
  return description_ != nullptr ? std::string(description_->text) : std::string();
}

}  // namespace lumo::mockTL
