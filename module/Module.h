#pragma once

#include <memory>
#include <mutex>

#include "base/HandleRegistry.h"
#include "event/ErrorEvent.h"
#include "event/EventSource.h"
#include "module/Description.h"
#include "module/RegisterMap.h"

namespace lumo::mockTL {

// Common base of every GenTL module (system, interface, device, remote device, data stream,
// buffer). Adds to the register map the module mutex, the event source with the module's error
// event, the weak link to the parent module and the two initialisation steps that each concrete
// module implements.
//
// Locks: the recursive port mutex (every port operation) is taken before the plain module mutex
// (the module's own state: children, selectors). A typed register operation may take the module
// mutex while the port mutex is held; no operation takes the port mutex while holding the module
// mutex.
class Module : public RegisterMap {
 public:
  // A failure here or in a derived constructor leaves nothing behind but the error event's handle,
  // which stays known (as every event's does) while the event itself is gone.
  explicit Module(const std::shared_ptr<Module>& parent);

  // Makes a completely built module's handle known to the exports, and hands the module back.
  // Until then no handle reaches it, so nothing can call into a module under construction.
  template <class T>
  static std::shared_ptr<T> published(std::shared_ptr<T> module) {
    HandleRegistry::RegisterModule(module);
    return module;
  }

  // Declares the module's names, registers, description register and URL entry. Runs exactly once,
  // before the module is handed out.
  virtual void initRegisterMap() = 0;
  // Sets up the module's event kinds, then marks the event source as set up. A module with kinds
  // beyond the error event adds them before calling this. Runs once, after initRegisterMap.
  virtual void initEvents();

  // The parent module, or empty when it is gone (and always for the system module).
  std::shared_ptr<Module> parent() const { return parent_.lock(); }
  bool eventsInitialised() const { return eventSource_->isSetUp(); }

  // The module's event kinds, for GCRegisterEvent and GCUnregisterEvent.
  const std::shared_ptr<EventSource>& eventSource() const { return eventSource_; }
  // The module's EVENT_ERROR queue: push a failure here to signal it to a listening consumer.
  const std::shared_ptr<ErrorEvent>& errorEvent() const { return errorEvent_; }

 protected:
  std::mutex& moduleMutex() { return moduleMutex_; }

  // The part of initRegisterMap that every module shares: names, the URL entry of its kind's
  // description, and the description register (id 1 at 0xF0000000, read-only string) in front of
  // the module's own registers.
  void declareDescribedRegisters(DescriptionKind kind, std::string moduleName, std::string portName,
                                 std::initializer_list<RegisterRecord> records);
  // Serves the description register; a module's ReadStringRegImpl calls this for id 1.
  std::string descriptionText() const;

 private:
  std::mutex moduleMutex_;
  std::shared_ptr<EventSource> eventSource_;
  std::shared_ptr<ErrorEvent> errorEvent_;
  std::weak_ptr<Module> parent_;
  const Description* description_ = nullptr;
};

// The handle-typed layer of a module: every concrete module derives from it, and a module's GenTL
// handle is its own address (the address of its Port base, the first base of the chain).
template <class HandleT>
class SpecificModule : public Module {
 public:
  using Module::Module;

  HandleT handle() { return static_cast<HandleT>(static_cast<Port*>(this)); }
};

}  // namespace lumo::mockTL
