// The peer when the build leaves Aravis out: the benchmark prints its LmMockTL figures alone.
#include "FakeCameraPeer.h"

namespace bench {

std::optional<double> fakeCameraFramesPerSecond(const PeerGrab&, std::string& note) {
  note = "Aravis peer not built (configure with -DLMMOCKTL_BENCH_ARAVIS=ON)";
  return std::nullopt;
}

}  // namespace bench
