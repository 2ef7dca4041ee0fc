#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "tools/Acquisition.h"
#include "tools/FeaturesCommand.h"
#include "tools/GenTLArvDevice.h"
#include "tools/GenTLLibrary.h"
#include "tools/ProducerSession.h"

namespace testing_support {

enum class Module { System, Interface, Device, Remote, Stream, Buffer };

// The built LmMockTL.cti loaded as lmmocktl loads it, with the first device of the configuration in
// force open down to announced buffers of its first stream (composite ones when the stream delivers
// more than one flow): a port for each of the six modules, for Aravis' GenApi engine to read.
class ModulePorts {
 public:
  // `beforeStream` may set the camera up before its stream is opened.
  explicit ModulePorts(unsigned buffers, const std::function<void(const lmmocktl::GenTLArvDevice&)>& beforeStream = {})
      : gentl_(std::make_unique<lmmocktl::GenTLLibrary>(LMMOCKTL_CTI_PATH)),
        session_(std::make_unique<lmmocktl::ProducerSession>(*gentl_)) {
    const std::vector<lmmocktl::ProducerSession::DeviceEntry> devices = session_->devices();
    if (devices.empty()) throw std::runtime_error("the configuration has no device");
    iface_ = session_->openInterface(devices.front().interfaceId);
    device_ = session_->openDevice(devices.front());
    gentl_->check(gentl_->DevGetPort(device_, &remote_), "DevGetPort");
    if (beforeStream) beforeStream(lmmocktl::GenTLArvDevice(functions(), remote_));
    const std::vector<std::string> streams = session_->streamIds(device_);
    if (streams.empty()) throw std::runtime_error("the device has no stream");
    acquisition_ = std::make_unique<lmmocktl::Acquisition>(*gentl_, device_, streams.front());
    acquisition_->announce(buffers, 0, flowSizes());
    gentl_->check(gentl_->DSGetBufferID(acquisition_->stream(), 0, &buffer_), "DSGetBufferID");
  }

  lmmocktl::GenTLPortFunctions functions() const { return lmmocktl::FeaturesCommand::portFunctions(*gentl_); }

  void* port(Module module) const {
    switch (module) {
      case Module::System: return session_->system();
      case Module::Interface: return iface_;
      case Module::Device: return device_;
      case Module::Remote: return remote_;
      case Module::Stream: return acquisition_->stream();
      case Module::Buffer: return buffer_;
    }
    return nullptr;
  }

 private:
  // The stream's flow sizes when it delivers more than one flow, which composite buffers receive.
  std::vector<std::size_t> flowSizes() const {
    uint32_t flows = 0;
    if (gentl_->DSGetNumFlows(acquisition_->stream(), &flows) != GC_ERR_SUCCESS || flows < 2) return {};
    std::vector<std::size_t> sizes;
    for (uint32_t flow = 0; flow < flows; ++flow) {
      std::uint64_t size = 0;
      INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
      size_t width = sizeof(size);
      gentl_->check(gentl_->DSGetFlowInfo(acquisition_->stream(), flow, FLOW_INFO_SIZE, &type, &size, &width),
                    "DSGetFlowInfo(FLOW_INFO_SIZE)");
      sizes.push_back(size);
    }
    return sizes;
  }

  // Destroyed in reverse: the acquisition before the session, the session before the library.
  std::unique_ptr<lmmocktl::GenTLLibrary> gentl_;
  std::unique_ptr<lmmocktl::ProducerSession> session_;
  std::unique_ptr<lmmocktl::Acquisition> acquisition_;
  IF_HANDLE iface_ = nullptr;
  DEV_HANDLE device_ = nullptr;
  PORT_HANDLE remote_ = nullptr;
  BUFFER_HANDLE buffer_ = nullptr;
};

}  // namespace testing_support
