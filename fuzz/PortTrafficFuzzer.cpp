// Arbitrary port traffic against every module of a freshly built tree: reads, writes and stacked
// entries at any address with any size and data, port and URL info queries, and the device being
// opened and closed in between. Every operation either succeeds completely or fails with a
// GenericException after transferring less than was asked, and never touches memory beyond what
// the caller passed (the buffers are heap blocks of exactly the size given, so AddressSanitizer
// sees one byte too many).
//
// Input: a sequence of operations, each: module u8 | action u8 | the action's fields (below).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/GenericException.h"
#include "fuzz/Expect.h"
#include "fuzz/FuzzInput.h"
#include "stream/DataStream.h"
#include "tree/ConfigurationLoader.h"
#include "tree/Device.h"
#include "tree/Interface.h"
#include "tree/RemoteDevice.h"
#include "tree/TransportLayer.h"

namespace {

using namespace lumo::mockTL;
using fuzz::expect;
using fuzz::FuzzInput;

// Largest single transfer: above every register, the descriptions included.
constexpr std::uint32_t kMaxTransfer = 1 << 16;
constexpr std::size_t kMaxStackedEntries = 8;
constexpr std::size_t kMaxOperations = 64;
// The digest answer copies its 20 bytes without looking at the size; consumers pass 20.
constexpr std::size_t kDigestSize = 20;

// Two interfaces, the first with two devices of two streams each, the second empty: enough for
// every selector to point at something, at the count, and beyond it.
SystemConfiguration configuration() {
  SystemConfiguration system = ConfigurationLoader::builtIn();
  auto& iface = system.interfaces[0];
  iface.devices[0].streams.resize(2);
  DeviceConfiguration second = iface.devices[0];
  second.id = second.serialNumber = second.userName = second.displayName = "Second";
  iface.devices.push_back(second);
  system.interfaces.push_back(InterfaceConfiguration{"Empty", {}});
  return system;
}

struct Tree {
  std::shared_ptr<Device> device;
  // Every module the traffic goes to.
  std::vector<std::shared_ptr<RegisterMap>> modules;
};

// The modules come from the tree classes as the exports build them. Another module (a buffer, say)
// joins the traffic with one more line here.
Tree buildTree() {
  Tree tree;
  const auto system = std::make_shared<TransportLayer>(configuration());
  const auto iface = system->InterfaceByIndex(0);
  iface->updateDeviceList();
  tree.device = iface->getDevice(0);
  tree.modules.push_back(system);
  tree.modules.push_back(iface);
  tree.modules.push_back(tree.device);
  tree.modules.push_back(tree.device->remoteDevice());
  tree.modules.push_back(tree.device->getDataStream(0));
  return tree;
}

// An address and size: near a declared register (so that most traffic reaches a register) or
// anywhere at all.
struct Request {
  std::uint64_t address;
  std::size_t size;
};

Request pickRequest(FuzzInput& input, const RegisterMap& module) {
  const auto shape = input.take<std::uint8_t>();
  const auto& registers = module.registers();
  const RegisterRecord& near = registers[input.take<std::uint16_t>() % registers.size()];
  const auto shift = input.take<std::int8_t>();
  Request request;
  request.address = (shape & 1) ? input.take<std::uint64_t>() : near.address + static_cast<std::uint64_t>(shift);
  request.size = (shape & 2) ? input.take<std::uint32_t>() % kMaxTransfer
                             : static_cast<std::size_t>(static_cast<std::int64_t>(near.length) + (shape >> 2) - 32);
  if (request.size > kMaxTransfer) {
    request.size = 0;
  }
  return request;
}

// A failure of the port is a GenericException with an error code, or a standard exception with a
// text, which the export frame hands the consumer as "std::exception caught. <text>" (a stream
// file register read on a stream without one, a file operation that fails); anything else
// escaping is a finding.
template <class Operation>
bool attempt(Operation operation) {
  try {
    operation();
    return true;
  } catch (const error::GenericException& failure) {
    expect(failure.code() < 0 && !failure.text().empty(), "a port failure carries a code and a text");
    return false;
  } catch (const std::exception& failure) {
    expect(*failure.what() != '\0', "a port failure carries a text");
    return false;
  }
}

// Heap memory of exactly `size` bytes; a zero size still gets a valid pointer, so that the port's
// own size test is what refuses it.
std::vector<std::uint8_t> block(std::size_t size) { return std::vector<std::uint8_t>(size == 0 ? 1 : size); }

void read(FuzzInput& input, RegisterMap& module) {
  const Request request = pickRequest(input, module);
  auto destination = block(request.size);
  std::size_t size = request.size;
  if (attempt([&] { module.Read(request.address, destination.data(), size); })) {
    expect(size == request.size, "a successful read reads everything");
  } else {
    expect(size <= request.size, "a failed read reports no more than was asked");
  }
}

void write(FuzzInput& input, RegisterMap& module) {
  const Request request = pickRequest(input, module);
  auto source = input.takePadded(request.size);
  source.resize(source.empty() ? 1 : source.size());
  std::size_t size = request.size;
  if (attempt([&] { module.Write(request.address, source.data(), size); })) {
    expect(size == request.size, "a successful write writes everything");
  } else {
    expect(size <= request.size, "a failed write reports no more than was asked");
  }
}

void stacked(FuzzInput& input, RegisterMap& module, bool writing) {
  const std::size_t count = input.take<std::uint8_t>() % (kMaxStackedEntries + 1);
  std::vector<std::vector<std::uint8_t>> buffers;
  std::vector<PORT_REGISTER_STACK_ENTRY> entries(count == 0 ? 1 : count);
  std::vector<std::size_t> requested;
  for (std::size_t i = 0; i < count; ++i) {
    const Request request = pickRequest(input, module);
    const bool nullBuffer = (input.take<std::uint8_t>() & 0x0F) == 0;
    buffers.push_back(writing ? input.takePadded(request.size) : std::vector<std::uint8_t>(request.size));
    buffers.back().resize(buffers.back().empty() ? 1 : buffers.back().size());
    entries[i] = {request.address, nullBuffer ? nullptr : buffers.back().data(), request.size};
    requested.push_back(request.size);
  }
  std::size_t done = count;
  const bool succeeded =
      attempt([&] { writing ? module.WriteStacked(entries.data(), done) : module.ReadStacked(entries.data(), done); });
  expect(succeeded ? done == count : done < count || count == 0, "the count tells how many entries completed");
  for (std::size_t i = 0; i < done; ++i) {
    expect(entries[i].Size == requested[i], "a completed entry transferred its whole size");
  }
}

void portInfo(FuzzInput& input, RegisterMap& module) {
  const auto command = static_cast<PORT_INFO_CMD>(input.take<std::uint8_t>() % 16);
  const std::size_t capacity = input.take<std::uint8_t>();
  auto destination = block(capacity);
  const bool sizeQuery = (capacity & 1) != 0;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  std::size_t size = capacity;
  if (attempt([&] { module.GetPortInfo(command, type, sizeQuery ? nullptr : destination.data(), size); })) {
    expect(sizeQuery || size <= capacity, "a port info answer fits the buffer it was written into");
  }
}

void urls(FuzzInput& input, RegisterMap& module) {
  const auto index = input.take<std::uint8_t>() % 3u;
  const auto command = static_cast<URL_INFO_CMD>(input.take<std::uint8_t>() % 13);
  const std::size_t capacity = input.take<std::uint8_t>();
  const bool sizeQuery = (capacity & 1) != 0;
  auto destination = block(command == URL_INFO_FILE_SHA1_HASH ? std::max(capacity, kDigestSize) : capacity);
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  std::size_t size = capacity;
  attempt([&] { module.GetURLInfo(index, command, type, sizeQuery ? nullptr : destination.data(), size); });

  std::size_t listSize = capacity * 2;
  auto list = block(listSize);
  attempt([&] { module.GetURL(sizeQuery ? nullptr : reinterpret_cast<char*>(list.data()), listSize); });
  expect(module.GetNumURLs() == 1, "every module describes itself once");
}

enum Action : std::uint8_t { kRead, kWrite, kReadStacked, kWriteStacked, kPortInfo, kUrls, kOpenClose, kActions };

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input({data, size});
  Tree tree = buildTree();
  for (std::size_t operation = 0; operation < kMaxOperations && !input.empty(); ++operation) {
    RegisterMap& module = *tree.modules[input.take<std::uint8_t>() % tree.modules.size()];
    switch (input.take<std::uint8_t>() % kActions) {
      case kRead: read(input, module); break;
      case kWrite: write(input, module); break;
      case kReadStacked: stacked(input, module, false); break;
      case kWriteStacked: stacked(input, module, true); break;
      case kPortInfo: portInfo(input, module); break;
      case kUrls: urls(input, module); break;
      case kOpenClose: tree.device->isOpen() ? tree.device->close() : static_cast<void>(tree.device->open()); break;
    }
  }
  return 0;
}
