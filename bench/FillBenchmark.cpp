// Fill throughput of the image writers for a 1920 x 1080 stream, per pixel-format family, and of a
// stream-file replay of 1920 x 1080 Mono8 containers, as a ratio to memcpy of the same number of
// bytes measured in the same run. Exits with 1 when one misses its target, so that a slow change
// shows.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "base/Pfnc.h"
#include "source/ContainerReader.h"
#include "source/GeneratedSource.h"
#include "source/MemoryImage.h"
#include "source/StreamFileWriter.h"
#include "stream/AcquisitionThread.h"
#include "stream/DataStream.h"
#include "stream/ImageTransfer.h"

namespace {

using namespace lumo::mockTL;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;
constexpr int kRounds = 9;
// A stream fills its buffers in turn; several destinations keep the copy from staying in cache
// more than a real stream's would.
constexpr std::size_t kBuffers = 3;

// Where a family's frames come from: the generated image, or an image in memory laid out as the
// image decoders leave a loaded file (samples interleaved) or as planar storage would be.
enum class Source { Generated, LoadedImage, PlanarImage };

struct Family {
  const char* name;
  std::uint32_t format;
  double target;  // 0: measured for information only
  Source source;
};

// Seconds per operation: the median over rounds, each round long enough to swamp timer noise.
double secondsPerOperation(std::size_t bytes, const std::function<void(std::size_t)>& operation) {
  const std::size_t repeats = std::max<std::size_t>(8, (std::size_t{256} << 20) / bytes);
  std::vector<double> rounds;
  for (int round = 0; round < kRounds; ++round) {
    const auto start = Clock::now();
    for (std::size_t i = 0; i < repeats; ++i) operation(i % kBuffers);
    rounds.push_back(std::chrono::duration<double>(Clock::now() - start).count() / static_cast<double>(repeats));
  }
  std::nth_element(rounds.begin(), rounds.begin() + kRounds / 2, rounds.end());
  return rounds[kRounds / 2];
}

std::shared_ptr<SourceImage> imageFor(std::uint32_t format, Source source) {
  if (source == Source::Generated) return nullptr;
  const bool colour = format == pfnc::RGB8;
  auto image = std::make_shared<MemoryImage>(
      kWidth, kHeight, colour ? 3 : 1, PlaneDataType{8, false},
      source == Source::LoadedImage ? MemoryImage::Arrangement::Interleaved : MemoryImage::Arrangement::Planar);
  for (std::size_t i = 0; i < image->size(); ++i) image->data()[i] = static_cast<std::byte>(i * 7);
  return image;
}

void printRow(const char* name, std::size_t bytes, double firstMs, double fill, double copy, double target,
              bool& allMet) {
  const double ratio = copy / fill;
  const bool met = ratio >= target;
  allMet = allMet && met;
  char shown[16] = "-";
  if (target > 0) std::snprintf(shown, sizeof shown, "%.1f%s", target, met ? "" : " MISS");
  std::printf("%-26s %10zu %11.2f %12.2f %12.2f %7.2f %7s\n", name, bytes, firstMs, bytes / fill / 1e9,
              bytes / copy / 1e9, ratio, shown);
}

// Replay of a recording of 1920 x 1080 Mono8 GenDC containers in two flows (descriptor, image)
// into composite buffers, the way the acquisition thread copies each frame: every flow once,
// straight from the mapped data file into its segment.
void measureReplay(bool& allMet) {
  const std::vector<std::uint64_t> flowSizes = {176, std::uint64_t{kWidth} * kHeight};
  const std::size_t bytes = static_cast<std::size_t>(flowSizes[0] + flowSizes[1]);
  constexpr std::uint64_t kFlowSets = 3;
  const auto directory = std::filesystem::temp_directory_path() / "lmmocktl-replay-bench";
  std::filesystem::create_directories(directory);
  const auto info = directory / "capture.info";
  {
    LmR::StreamFileWriter writer(info, flowSizes, std::vector<std::uint8_t>(176, 1), kFlowSets);
    std::vector<std::uint8_t> descriptor(flowSizes[0]);
    std::vector<std::uint8_t> image(flowSizes[1]);
    for (std::uint64_t set = 0; set < kFlowSets; ++set) {
      for (std::size_t i = 0; i < image.size(); ++i) image[i] = static_cast<std::uint8_t>(i * 7 + set);
      const LmR::Flow flows[] = {{descriptor.data(), descriptor.size()}, {image.data(), image.size()}};
      writer.append(flows);
    }
    writer.finish();
  }
  StreamConfiguration record;
  record.id = "Replay";
  record.isStreamFile = true;
  record.path = info;
  const auto stream = std::make_shared<DataStream>(nullptr, record);
  ContainerReader recording(info);
  std::vector<std::vector<std::byte>> memory;
  std::vector<std::shared_ptr<Resource>> buffers;
  for (std::size_t b = 0; b < kBuffers; ++b) {
    void* segments[2];
    std::size_t sizes[2];
    for (std::size_t flow = 0; flow < 2; ++flow) {
      memory.emplace_back(flowSizes[flow], std::byte{1});
      segments[flow] = memory.back().data();
      sizes[flow] = memory.back().size();
    }
    buffers.push_back(stream->Announce(segments, sizes, 2, nullptr));
  }
  std::vector<FlowRecord> flows;
  std::uint64_t frame = 0;
  const auto firstStart = Clock::now();
  AcquisitionThread::copyRecordedFrame(recording, 0, frame++, buffers[0]->buffer(), flows);
  const double firstMs = std::chrono::duration<double, std::milli>(Clock::now() - firstStart).count();

  std::vector<std::byte> source(bytes, std::byte{2});
  std::vector<std::vector<std::byte>> targets(kBuffers, std::vector<std::byte>(bytes, std::byte{1}));
  const double copy =
      secondsPerOperation(bytes, [&](std::size_t b) { std::memcpy(targets[b].data(), source.data(), bytes); });
  const double fill = secondsPerOperation(bytes, [&](std::size_t b) {
    AcquisitionThread::copyRecordedFrame(recording, 0, frame++, buffers[b]->buffer(), flows);
  });
  printRow("Mono8 stream file replay", bytes, firstMs, fill, copy, 0.8, allMet);
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
}

}  // namespace

int main() {
  const Family families[] = {
      {"Mono8 ramp", pfnc::Mono8, 0.8, Source::Generated},
      {"Mono10..16 ramp", pfnc::Mono12, 0.8, Source::Generated},
      {"Bayer8 mosaic", pfnc::BayerRG8, 0.8, Source::Generated},
      {"Bayer10..16 mosaic", pfnc::BayerGB12, 0.8, Source::Generated},
      {"RGB8/BGR8", pfnc::BGR8, 0.8, Source::Generated},
      {"RGB10..16/BGR10..16", pfnc::RGB16, 0.8, Source::Generated},
      {"RGBa8/BGRa8 (alpha kept)", pfnc::RGBa8, 0.5, Source::Generated},
      {"RGBa10..16/BGRa10..16", pfnc::BGRa12, 0.5, Source::Generated},
      {"10p packed", pfnc::Mono10p, 0.5, Source::Generated},
      {"12p packed", pfnc::BayerRG12p, 0.5, Source::Generated},
      {"Mono8 loaded image", pfnc::Mono8, 0.8, Source::LoadedImage},
      {"RGB8 loaded image", pfnc::RGB8, 0.8, Source::LoadedImage},
      {"RGB8 planar image copy", pfnc::RGB8, 0, Source::PlanarImage},
  };

  std::printf("fill throughput, %u x %u, median of %d rounds, ratio = memcpy time / fill time\n\n", kWidth, kHeight,
              kRounds);
  std::printf("%-26s %10s %11s %12s %12s %7s %7s\n", "family", "bytes", "first ms", "fill GB/s", "memcpy GB/s", "ratio",
              "target");
  bool allMet = true;
  for (const Family& family : families) {
    const ImageGeometry geometry{family.format, kWidth, kHeight, 0, 0};
    const auto bytes = static_cast<std::size_t>(geometry.payloadSize());
    std::vector<std::vector<std::byte>> buffers(kBuffers, std::vector<std::byte>(bytes, std::byte{1}));
    std::vector<std::byte> source(bytes, std::byte{2});
    const std::shared_ptr<SourceImage> image = imageFor(family.format, family.source);
    GeneratedSource generated;

    const auto firstStart = Clock::now();
    writeImageData(geometry, buffers[0], image.get(), generated);
    const double firstMs = std::chrono::duration<double, std::milli>(Clock::now() - firstStart).count();

    const double copy =
        secondsPerOperation(bytes, [&](std::size_t b) { std::memcpy(buffers[b].data(), source.data(), bytes); });
    const double fill = secondsPerOperation(
        bytes, [&](std::size_t b) { writeImageData(geometry, buffers[b], image.get(), generated); });
    printRow(family.name, bytes, firstMs, fill, copy, family.target, allMet);
  }
  measureReplay(allMet);
  return allMet ? 0 : 1;
}
