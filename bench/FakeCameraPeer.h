#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The peer the stream benchmark measures LmMockTL against: Aravis' in-process fake camera,
// driven the way an Aravis application drives it (continuous acquisition, trigger off, frame
// rate at its maximum, one thread popping and pushing buffers). Built only with
// LMMOCKTL_BENCH_ARAVIS; without it every measurement is absent and `note` says why.
namespace bench {

struct PeerGrab {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  // "Mono8" or "RGB8".
  const char* pixelFormat = "Mono8";
  int buffers = 8;
  double warmupSeconds = 0.2;
  double seconds = 2.0;
};

// Frames per second the fake camera delivered during the measured window, or nothing when the
// peer is not built or failed (then `note` tells why).
std::optional<double> fakeCameraFramesPerSecond(const PeerGrab& grab, std::string& note);

}  // namespace bench
