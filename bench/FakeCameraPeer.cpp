// Aravis' fake camera, grabbed with the same geometry, buffer count and consumer loop as the
// LmMockTL streams of the stream benchmark.
#include "FakeCameraPeer.h"

#include <arv.h>

#include <chrono>
#include <memory>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

template <class T>
struct GObjectUnref {
  void operator()(T* object) const {
    if (object != nullptr) g_object_unref(object);
  }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref<T>>;

// True when `error` is set; moves its message into `note` and frees it.
bool failed(GError*& error, std::string& note, const char* step) {
  if (error == nullptr) return false;
  note = std::string(step) + ": " + error->message;
  g_clear_error(&error);
  return true;
}

}  // namespace

std::optional<double> fakeCameraFramesPerSecond(const PeerGrab& grab, std::string& note) {
  arv_enable_interface("Fake");
  GError* error = nullptr;
  GObjectPtr<ArvCamera> camera(arv_camera_new("Fake_1", &error));
  if (failed(error, note, "arv_camera_new")) return std::nullopt;

  arv_camera_set_region(camera.get(), 0, 0, static_cast<gint>(grab.width), static_cast<gint>(grab.height), &error);
  if (failed(error, note, "region")) return std::nullopt;
  arv_camera_set_pixel_format_from_string(camera.get(), grab.pixelFormat, &error);
  if (failed(error, note, "pixel format")) return std::nullopt;
  arv_camera_set_string(camera.get(), "TriggerMode", "Off", &error);
  if (failed(error, note, "trigger mode")) return std::nullopt;
  arv_camera_set_acquisition_mode(camera.get(), ARV_ACQUISITION_MODE_CONTINUOUS, &error);
  if (failed(error, note, "acquisition mode")) return std::nullopt;
  double minimumRate = 0;
  double maximumRate = 0;
  arv_camera_get_frame_rate_bounds(camera.get(), &minimumRate, &maximumRate, &error);
  if (failed(error, note, "frame rate bounds")) return std::nullopt;
  arv_camera_set_frame_rate(camera.get(), maximumRate, &error);
  if (failed(error, note, "frame rate")) return std::nullopt;
  const guint payload = arv_camera_get_payload(camera.get(), &error);
  if (failed(error, note, "payload")) return std::nullopt;

  GObjectPtr<ArvStream> stream(arv_camera_create_stream(camera.get(), nullptr, nullptr, &error));
  if (failed(error, note, "create stream")) return std::nullopt;
  for (int i = 0; i < grab.buffers; ++i) arv_stream_push_buffer(stream.get(), arv_buffer_new(payload, nullptr));

  arv_camera_start_acquisition(camera.get(), &error);
  if (failed(error, note, "start")) return std::nullopt;
  const auto windowStart =
      Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(grab.warmupSeconds));
  const auto windowEnd =
      windowStart + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(grab.seconds));
  std::uint64_t frames = 0;
  for (auto now = Clock::now(); now < windowEnd; now = Clock::now()) {
    ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream.get(), 1000000);
    if (buffer == nullptr) continue;
    if (arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS && Clock::now() >= windowStart) ++frames;
    arv_stream_push_buffer(stream.get(), buffer);
  }
  arv_camera_stop_acquisition(camera.get(), &error);
  failed(error, note, "stop");
  return static_cast<double>(frames) / grab.seconds;
}

}  // namespace bench
