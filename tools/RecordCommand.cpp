#include "tools/RecordCommand.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "source/StreamFileWriter.h"
#include "tools/Acquisition.h"
#include "tools/FeaturesCommand.h"
#include "tools/GenTLArvDevice.h"
#include "tools/InfoQuery.h"
#include "tools/ProducerSession.h"
#include "tools/ToolError.h"

namespace lmmocktl {

namespace {

using lumo::mockTL::LmR::Flow;
using lumo::mockTL::LmR::StreamFileWriter;

// The flows of one delivered frame, one after the other from its base: composite buffers are
// announced with their segments back to back.
std::vector<Flow> flowsOf(const Acquisition& acquisition, const Acquisition::Frame& frame,
                          const Acquisition::FlowLayout& layout) {
  std::vector<Flow> flows;
  std::uint64_t offset = 0;
  for (std::uint64_t size : layout.sizes) {
    if (offset + size > std::max<std::uint64_t>(acquisition.payloadSize(), frame.sizeFilled)) {
      throw ToolError("frame " + std::to_string(frame.frameId) + "'s buffer is smaller than its flows");
    }
    flows.push_back({frame.base + offset, size});
    offset += size;
  }
  return flows;
}

}  // namespace

const char* RecordCommand::help() {
  return "usage: lmmocktl [--cti PATH] record [DEVICE] --out PATH --count N [--stream ID]\n"
         "                [--buffers K] [--frames-per-file M] [NAME=VALUE ...]\n"
         "\n"
         "Sets the features (GenDCStreamingMode=On unless given otherwise), grabs N GenDC\n"
         "containers from the stream and records them flow by flow into stream files: the InfoFile\n"
         "PATH (e.g. rec/take.info) and data files beside it named <name>-000000.gdcs, ... A\n"
         "stream configured with \"StreamFilePath\": PATH replays them.\n"
         "\n"
         "  DEVICE               a device id, or INTERFACE/DEVICE; the first device when left out\n"
         "  --stream ID          the stream to record (the first one by default)\n"
         "  --buffers K          buffers to announce (4)\n"
         "  --frames-per-file M  containers per data file (100)\n"
         "  --timeout MS         how long to wait for one frame (5000)\n";
}

int RecordCommand::run(const GenTLLibrary& gentl, const Options& options) {
  std::vector<std::string> words = options.words;
  if (!options.out) throw ToolError("record needs --out PATH, the InfoFile to write", ToolError::kUsage);
  if (!options.count) throw ToolError("record needs --count N", ToolError::kUsage);

  ProducerSession session(gentl);
  std::string deviceName;
  if (!words.empty() && words.front().find('=') == std::string::npos) {
    deviceName = words.front();
    words.erase(words.begin());
  }
  for (const std::string& word : words) {
    if (word.find('=') == std::string::npos) throw ToolError("expected NAME=VALUE, not " + word, ToolError::kUsage);
  }
  const ProducerSession::DeviceEntry entry = session.findDevice(deviceName);
  DEV_HANDLE device = session.openDevice(entry);
  const std::vector<std::string> streams = session.streamIds(device);
  if (streams.empty()) throw ToolError("device " + entry.deviceId + " has no data stream");
  const std::string streamId = options.stream.value_or(streams.front());
  const auto index = std::find(streams.begin(), streams.end(), streamId);
  if (index == streams.end()) throw ToolError("unknown stream " + streamId);

  PORT_HANDLE port = nullptr;
  gentl.check(gentl.DevGetPort(device, &port), "DevGetPort");
  std::unique_ptr<GenTLArvDevice> camera;
  try {
    camera = std::make_unique<GenTLArvDevice>(FeaturesCommand::portFunctions(gentl), port);
  } catch (const std::exception& failure) {
    throw ToolError(failure.what());
  }
  ArvGcNode* selector = arv_gc_get_node(camera->genicam(), "SourceSelector");
  if (selector != nullptr && ARV_IS_GC_ENUMERATION(selector)) {
    FeaturesCommand::apply(*camera, "SourceSelector=Source" + std::to_string(index - streams.begin()), true);
  }
  const bool modeGiven = std::any_of(words.begin(), words.end(),
                                     [](const std::string& word) { return word.starts_with("GenDCStreamingMode="); });
  if (!modeGiven && arv_gc_get_node(camera->genicam(), "GenDCStreamingMode") != nullptr) {
    FeaturesCommand::apply(*camera, "GenDCStreamingMode=On", true);
  }
  for (const std::string& word : words) FeaturesCommand::apply(*camera, word, true);

  Acquisition acquisition(gentl, device, streamId);
  const Acquisition::FlowLayout layout = acquisition.flowLayout();
  if (layout.sizes.empty()) {
    throw ToolError("stream " + streamId + " delivers no GenDC flows (it streams plain images)");
  }
  const std::vector<std::size_t> segmentSizes(layout.sizes.begin(), layout.sizes.end());

  const std::filesystem::path infoFile = *options.out;
  if (infoFile.has_parent_path()) {
    std::error_code error;
    std::filesystem::create_directories(infoFile.parent_path(), error);
    if (error) throw ToolError("cannot create " + infoFile.parent_path().string() + ": " + error.message());
  }
  std::uint64_t flowSetSize = 0;
  for (std::uint64_t size : layout.sizes) flowSetSize += size;

  acquisition.announce(options.buffers, flowSetSize, segmentSizes);
  const bool lockable = arv_gc_get_node(camera->genicam(), "TLParamsLocked") != nullptr;
  if (lockable) FeaturesCommand::apply(*camera, "TLParamsLocked=1", true);
  std::uint64_t firstId = 0;
  std::uint64_t lastId = 0;
  std::uint64_t files = 0;
  try {
    // Created once the first container arrived, so that a stream that cannot be recorded leaves
    // no files behind.
    std::optional<StreamFileWriter> writer;
    acquisition.start(*options.count);
    for (std::uint64_t i = 0; i < *options.count; ++i) {
      const Acquisition::Frame frame = acquisition.next(options.timeoutMs);
      if (i == 0) {
        firstId = frame.frameId;
        // Stream files hold GenDC containers: a plain image would record, but never replay.
        if (frame.payloadType != PAYLOAD_TYPE_GENDC) {
          throw ToolError("stream " + streamId + " delivers payload type " + std::to_string(frame.payloadType) +
                          ", not GenDC containers (" + std::to_string(PAYLOAD_TYPE_GENDC) + ")");
        }
        writer.emplace(infoFile, layout.sizes, layout.prefetchDescriptor, options.framesPerFile);
      }
      lastId = frame.frameId;
      const std::vector<Flow> flows = flowsOf(acquisition, frame, layout);
      writer->append(flows);
      acquisition.requeue(frame);
    }
    acquisition.stop();
    writer->finish();
    files = (writer->flowSetCount() + options.framesPerFile - 1) / options.framesPerFile;
  } catch (const ToolError&) {
    if (lockable) FeaturesCommand::apply(*camera, "TLParamsLocked=0", true);
    throw;
  } catch (const std::exception& failure) {
    if (lockable) FeaturesCommand::apply(*camera, "TLParamsLocked=0", true);
    throw ToolError(failure.what());
  }
  if (lockable) FeaturesCommand::apply(*camera, "TLParamsLocked=0", true);

  std::printf("%s: %llu containers of %zu flow%s (%llu bytes each), frame ids %llu to %llu\n", streamId.c_str(),
              *options.count, layout.sizes.size(), layout.sizes.size() == 1 ? "" : "s",
              static_cast<unsigned long long>(flowSetSize), static_cast<unsigned long long>(firstId),
              static_cast<unsigned long long>(lastId));
  std::printf("recorded into %s and %llu data file%s beside it\n", infoFile.c_str(),
              static_cast<unsigned long long>(files), files == 1 ? "" : "s");
  return 0;
}

}  // namespace lmmocktl
