#include "tools/GrabCommand.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/Acquisition.h"
#include "tools/FeaturesCommand.h"
#include "tools/FrameWriter.h"
#include "tools/GenTLArvDevice.h"
#include "tools/ProducerSession.h"
#include "tools/ToolError.h"
#include "tools/UnpackedImage.h"

namespace lmmocktl {

namespace {

// A bar on standard error, redrawn in place, for a terminal only: logs get the summary alone.
class ProgressBar {
 public:
  ProgressBar(std::string label, std::uint64_t total)
      : label_(std::move(label)), total_(total), shown_(isatty(STDERR_FILENO) != 0) {}
  ~ProgressBar() {
    if (shown_) std::fputs("\r\033[K", stderr);
  }
  void update(std::uint64_t done) const {
    if (!shown_ || total_ == 0) return;
    constexpr std::uint64_t kWidth = 30;
    const std::uint64_t filled = done * kWidth / total_;
    std::fprintf(stderr, "\r%s [%s%s] %llu/%llu", label_.c_str(), std::string(filled, '#').c_str(),
                 std::string(kWidth - filled, '.').c_str(), static_cast<unsigned long long>(done),
                 static_cast<unsigned long long>(total_));
    std::fflush(stderr);
  }

 private:
  std::string label_;
  std::uint64_t total_;
  bool shown_;
};

struct StreamResult {
  std::uint64_t frames = 0;
  std::uint64_t bytes = 0;
  std::uint64_t firstId = 0;
  std::uint64_t lastId = 0;
  std::uint64_t underruns = 0;
  // What went wrong on the way: frames marked incomplete, frame ids never delivered, items on the
  // stream's error event, and whether the camera was unplugged.
  std::uint64_t incomplete = 0;
  std::uint64_t lost = 0;
  std::uint64_t errorEvents = 0;
  bool removed = false;
  double seconds = 0;
  double framesPerSecond = 0;
  std::string format;  // "Mono8 1920 x 1080" from the last frame
  std::vector<std::filesystem::path> files;
};

// The camera's removal event, registered for one grab when the producer offers it.
class RemovalWatch {
 public:
  RemovalWatch(const GenTLLibrary& gentl, PORT_HANDLE camera) : gentl_(gentl), camera_(camera) {
    if (gentl_.GCRegisterEvent(camera_, EVENT_REMOTE_DEVICE, &event_) != GC_ERR_SUCCESS) event_ = nullptr;
  }
  ~RemovalWatch() {
    if (event_ != nullptr) gentl_.GCUnregisterEvent(camera_, EVENT_REMOTE_DEVICE);
  }
  RemovalWatch(const RemovalWatch&) = delete;
  RemovalWatch& operator=(const RemovalWatch&) = delete;

  bool removed() {
    if (event_ == nullptr || removed_) return removed_;
    char item[256];
    size_t size = sizeof(item);
    removed_ = gentl_.EventGetData(event_, item, &size, 0) == GC_ERR_SUCCESS;
    return removed_;
  }

 private:
  const GenTLLibrary& gentl_;
  PORT_HANDLE camera_;
  EVENT_HANDLE event_ = nullptr;
  bool removed_ = false;
};

// The next frame, waiting in slices so that an unplugged camera ends the wait at once. Empty when
// the camera is gone, or, for triggered frames (some may be lost), when none came in time.
std::optional<Acquisition::Frame> nextFrame(Acquisition& acquisition, RemovalWatch& removal,
                                            const GrabCommand::Options& options) {
  constexpr std::uint64_t kSlice = 100;
  for (std::uint64_t waited = 0; waited < options.timeoutMs; waited += kSlice) {
    if (auto frame = acquisition.tryNext(std::min(kSlice, options.timeoutMs - waited))) return frame;
    if (removal.removed()) return std::nullopt;
  }
  if (options.triggers > 0) return std::nullopt;
  throw ToolError("no frame arrived within " + std::to_string(options.timeoutMs) + " ms");
}

StreamResult grabStream(const GenTLLibrary& gentl, DEV_HANDLE device, const GenTLArvDevice* remote,
                        const std::string& streamId, const GrabCommand::Options& options) {
  std::size_t fallbackPayload = 0;
  if (remote != nullptr) {
    try {
      fallbackPayload = std::stoull(remote->read("PayloadSize"));
    } catch (const std::exception&) {
    }
  }
  Acquisition acquisition(gentl, device, streamId);
  // A stream that delivers GenDC flows fills composite buffers of one segment per flow.
  const std::vector<std::uint64_t> flows = acquisition.flowLayout().sizes;
  acquisition.announce(options.buffers, fallbackPayload, std::vector<std::size_t>(flows.begin(), flows.end()));
  // GenTL consumers lock the transport layer parameters while grabbing.
  const bool lockable = remote != nullptr && arv_gc_get_node(remote->genicam(), "TLParamsLocked") != nullptr;
  if (lockable) FeaturesCommand::apply(*remote, "TLParamsLocked=1", true);

  StreamResult result;
  // A few frames wait in memory while the files are written; a slower disk shows as underruns.
  std::optional<FrameWriter> writer;
  if (options.out) writer.emplace(*options.out, options.raw, 8);
  PORT_HANDLE camera = nullptr;
  gentl.check(gentl.DevGetPort(device, &camera), "DevGetPort");
  RemovalWatch removal(gentl, camera);
  const std::uint64_t wanted = options.triggers > 0 ? options.triggers : options.count;
  ProgressBar progress(streamId, wanted);
  progress.update(0);
  const auto started = std::chrono::steady_clock::now();
  auto firstArrival = started;
  auto lastArrival = started;
  try {
    acquisition.start(options.triggers > 0 ? 0 : options.count);
    for (std::uint64_t i = 0; i < options.triggers; ++i) {
      if (remote == nullptr) throw ToolError("--trigger needs the camera's TriggerSoftware feature");
      FeaturesCommand::apply(*remote, "TriggerSoftware=", true);
    }
    for (std::uint64_t i = 0; i < wanted; ++i) {
      const std::optional<Acquisition::Frame> next = nextFrame(acquisition, removal, options);
      if (!next) break;
      const Acquisition::Frame& frame = *next;
      const auto arrived = std::chrono::steady_clock::now();
      if (result.frames == 0) {
        result.firstId = frame.frameId;
        firstArrival = arrived;
      } else if (frame.frameId > result.lastId + 1) {
        result.lost += frame.frameId - result.lastId - 1;
      }
      result.incomplete += frame.incomplete ? 1 : 0;
      lastArrival = arrived;
      result.lastId = frame.frameId;
      ++result.frames;
      result.bytes += frame.sizeFilled;
      result.format = UnpackedImage::formatName(static_cast<std::uint32_t>(frame.pixelFormat)).value_or("?") + " " +
                      std::to_string(frame.width) + " x " + std::to_string(frame.height);
      if (writer) writer->push(frame, streamId);
      acquisition.requeue(frame);
      progress.update(result.frames);
    }
    result.seconds = std::chrono::duration<double>(lastArrival - started).count();
    // The rate is the camera's: frame intervals after the first frame, which comes at once.
    if (result.frames > 1 && lastArrival > firstArrival) {
      const double interval = std::chrono::duration<double>(lastArrival - firstArrival).count();
      result.framesPerSecond = static_cast<double>(result.frames - 1) / interval;
    } else if (result.seconds > 0) {
      result.framesPerSecond = static_cast<double>(result.frames) / result.seconds;
    }
    acquisition.stop();
    if (writer) result.files = writer->finish();
  } catch (...) {
    if (lockable) {
      try {
        FeaturesCommand::apply(*remote, "TLParamsLocked=0", true);
      } catch (const ToolError&) {
      }
    }
    throw;
  }
  result.underruns = acquisition.underruns();
  result.errorEvents = acquisition.takeErrorEvents();
  result.removed = removal.removed();
  if (lockable) FeaturesCommand::apply(*remote, "TLParamsLocked=0", true);
  return result;
}

// Points the camera's stream features (Width, PixelFormat, ...) at stream `index` when the camera
// selects them with SourceSelector, as LmMockTL's does.
void selectSource(const GenTLArvDevice& remote, std::size_t index) {
  ArvGcNode* node = arv_gc_get_node(remote.genicam(), "SourceSelector");
  if (node == nullptr || !ARV_IS_GC_ENUMERATION(node)) return;
  GError* error = nullptr;
  arv_gc_enumeration_set_int_value(ARV_GC_ENUMERATION(node), static_cast<gint64>(index), &error);
  if (error != nullptr) {
    const std::string message = error->message;
    g_clear_error(&error);
    throw ToolError("cannot select source " + std::to_string(index) + ": " + message);
  }
}

}  // namespace

const char* GrabCommand::help() {
  return "usage: lmmocktl [--cti PATH] grab [DEVICE] [--stream ID|all] [--count N] [--buffers K]\n"
         "                [--out DIR] [--raw] [--timeout MS] [--trigger N] [NAME=VALUE ...]\n"
         "\n"
         "Sets the features (in order, on the camera), grabs N frames from the stream and, with\n"
         "--out, writes each as a PNG file <stream>-<frame id>.png: 8-bit gray for 8-bit mono and\n"
         "Bayer (the mosaic as it is), 16-bit gray for 10- to 16-bit mono and Bayer with the values\n"
         "kept, RGB for colour; packed formats are unpacked; GenDC containers are split into their\n"
         "image parts, <stream>-<frame id>-c<component>p<part>.png. Prints a summary per stream and the\n"
         "files written; frames that came incomplete or never came (frame-id gaps), items on the\n"
         "stream's error event and an unplugged camera get a line of their own.\n"
         "\n"
         "  DEVICE        a device id, or INTERFACE/DEVICE; the first device when left out\n"
         "  --stream ID   the stream to grab (the first one by default); 'all' grabs every stream\n"
         "                of the device, one after the other\n"
         "  --count N     frames per stream (10)\n"
         "  --buffers K   buffers to announce (4)\n"
         "  --out DIR     write the frames there (created if missing); without it, only count\n"
         "  --raw         also write each buffer's bytes as <stream>-<frame id>.raw\n"
         "  --timeout MS  how long to wait for one frame (5000)\n"
         "  --trigger N   for a camera in software-trigger mode: execute TriggerSoftware N times\n"
         "                per stream and save the frames that arrive (--count is not used)\n";
}

int GrabCommand::run(const GenTLLibrary& gentl, const Options& options) {
  if (options.raw && !options.out) throw ToolError("--raw needs --out", ToolError::kUsage);
  std::vector<std::string> words = options.words;

  ProducerSession session(gentl);
  std::string deviceName;
  if (!words.empty() && words.front().find('=') == std::string::npos) {
    deviceName = words.front();
    words.erase(words.begin());
    session.findDevice(deviceName);
  }
  for (const std::string& word : words) {
    if (word.find('=') == std::string::npos) {
      throw ToolError("expected NAME=VALUE, not " + word, ToolError::kUsage);
    }
  }
  const ProducerSession::DeviceEntry entry = session.findDevice(deviceName);
  DEV_HANDLE device = session.openDevice(entry);
  const std::vector<std::string> available = session.streamIds(device);
  if (available.empty()) throw ToolError("device " + entry.deviceId + " has no data stream");
  std::vector<std::string> streams = {options.stream.empty() ? available.front() : options.stream};
  if (options.stream == "all") streams = available;

  PORT_HANDLE port = nullptr;
  gentl.check(gentl.DevGetPort(device, &port), "DevGetPort");
  std::unique_ptr<GenTLArvDevice> remote;
  try {
    remote = std::make_unique<GenTLArvDevice>(FeaturesCommand::portFunctions(gentl), port);
  } catch (const std::exception& failure) {
    if (!words.empty()) throw ToolError(failure.what());
    // Without features to set, a camera without a readable description can still stream.
  }
  if (options.out) {
    std::error_code error;
    std::filesystem::create_directories(*options.out, error);
    if (error) throw ToolError("cannot create " + options.out->string() + ": " + error.message());
  }

  std::vector<std::filesystem::path> files;
  for (const std::string& streamId : streams) {
    const auto index = std::find(available.begin(), available.end(), streamId);
    if (index == available.end()) {
      std::string known;
      for (const std::string& id : available) known += (known.empty() ? "" : ", ") + id;
      throw ToolError("unknown stream " + streamId + " (streams of " + entry.deviceId + ": " + known + ")");
    }
    if (remote) {
      if (available.size() > 1) selectSource(*remote, static_cast<std::size_t>(index - available.begin()));
      for (const std::string& word : words) FeaturesCommand::apply(*remote, word, true);
    }
    const StreamResult result = grabStream(gentl, device, remote.get(), streamId, options);
    const double bytesPerFrame = result.frames > 0 ? static_cast<double>(result.bytes) / result.frames : 0;
    std::printf("%s (%s): %llu frame%s in %.2f s, %.1f frames/s, %.1f MB/s, frame ids %llu to %llu, %llu underrun%s\n",
                streamId.c_str(), result.format.c_str(), static_cast<unsigned long long>(result.frames),
                result.frames == 1 ? "" : "s", result.seconds, result.framesPerSecond,
                result.framesPerSecond * bytesPerFrame / 1e6, static_cast<unsigned long long>(result.firstId),
                static_cast<unsigned long long>(result.lastId), static_cast<unsigned long long>(result.underruns),
                result.underruns == 1 ? "" : "s");
    if (result.incomplete + result.lost + result.errorEvents > 0 || result.removed) {
      std::printf("%s: %llu incomplete, %llu lost (frame-id gaps), %llu error event%s%s\n", streamId.c_str(),
                  static_cast<unsigned long long>(result.incomplete), static_cast<unsigned long long>(result.lost),
                  static_cast<unsigned long long>(result.errorEvents), result.errorEvents == 1 ? "" : "s",
                  result.removed ? "; the camera was removed" : "");
    }
    std::fflush(stdout);
    files.insert(files.end(), result.files.begin(), result.files.end());
  }
  if (options.out) {
    std::printf("%zu file%s written:\n", files.size(), files.size() == 1 ? "" : "s");
    for (const auto& path : files) std::printf("  %s\n", path.c_str());
  }
  return 0;
}

}  // namespace lmmocktl
