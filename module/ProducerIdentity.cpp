#include "module/ProducerIdentity.h"

#include <atomic>

namespace lumo::mockTL::identity {
namespace {

std::string builtInUniqueId() { return "LmMockTL.cti"; }

std::atomic<UniqueIdSource> source{&builtInUniqueId};

}  // namespace

void setUniqueIdSource(UniqueIdSource newSource) { source.store(newSource != nullptr ? newSource : &builtInUniqueId); }

std::string uniqueId() { return source.load()(); }

}  // namespace lumo::mockTL::identity
