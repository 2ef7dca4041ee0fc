#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/GenTL.h"
#include "gendc/ContainerLayout.h"
#include "gendc/StreamSettings.h"
#include "source/ImageGeometry.h"
#include "source/SourceImage.h"
#include "stream/GenDCSettings.h"
#include "stream/Recording.h"
#include "stream/StreamConfiguration.h"

namespace lumo::mockTL {

// What a data stream's frames look like: its record of image settings, its GenDC settings and
// what follows from them (payload size, container layout, flow sizes, flow mapping table,
// descriptor). A stream that replays a recording takes the recording's flows, table, descriptor
// and first image once and keeps them; otherwise every change of the settings recomputes them.
//
// Threads: any thread may call any operation. Everything but the stream id is under the settings
// mutex, which no operation holds while it calls out, so it is never held with another lock. The
// acquisition thread takes it once per frame (frameSettings) and at the start of a run.
class StreamFormat {
 public:
  // What a frame is written with, read in one hold of the settings mutex: the image geometry and,
  // in GenDC streaming mode, the settings of the container that carries it.
  struct FrameSettings {
    ImageGeometry geometry;
    std::optional<GenDc::StreamSettings> container;
  };

  // Takes the recording's format when `recording` is open. `recording` is not kept.
  StreamFormat(StreamConfiguration configuration, const Recording& recording);
  StreamFormat(const StreamFormat&) = delete;
  StreamFormat& operator=(const StreamFormat&) = delete;

  // Never changes, so it is read without the lock.
  const std::string& id() const { return configuration_.id; }
  // Fixed by the configuration like the id, so read without a lock.
  const FaultPeriods& faults() const { return configuration_.faults; }

  // As the stream reports them to its buffers: padding counts 0 unless the padding mode is 1,
  // pixel format Mono8 when none is configured. The padding counts alone are as written, whatever
  // the padding mode. Streaming data source: 0 generated images, 1 loaded image files, 2 a stream
  // file.
  ImageGeometry imageGeometry() const;
  FrameSettings frameSettings() const;
  std::uint32_t paddingMode() const;
  std::uint64_t payloadSize() const;
  std::uint32_t paddingPixelCountX() const;
  std::uint32_t paddingLineCountY() const;
  std::uint32_t streamingDataSource() const;
  GenDCSettings genDCSettings() const;
  std::vector<std::shared_ptr<const SourceImage>> sourceImages() const;

  // Each setter stores the value in the stream's record and recomputes the payload size (GenDC
  // changes only when they change a container's size). A change that would leave GenDC streaming
  // on with settings no container can describe (an image count other than 1 or 2, padding beyond
  // 16 bits, sizes beyond 64 bits) is refused with GC_ERR_INVALID_PARAMETER and changes nothing.
  // Source images are taken at the next acquisition start.
  void setPixelFormat(std::uint32_t pixelFormat);
  void setWidth(std::uint32_t width);
  void setHeight(std::uint32_t height);
  void setPaddingMode(std::int32_t mode);
  void setPaddingPixelCountX(std::uint32_t pixels);
  void setPaddingLineCountY(std::uint32_t lines);
  void setGenDCStreamingMode(std::uint32_t mode);
  void setFlowMappingConfiguration(std::uint32_t configuration);
  void setGenDCPartType(std::uint16_t partType);
  void setGenDCImageCount(std::uint32_t count);
  void setStreamFileStartFrameId(std::uint64_t frameId);
  void setSourceImages(std::vector<std::shared_ptr<const SourceImage>> images);

  // The flow answers of DataStream (see there), with its operations' names as their origins. The
  // flow mapping table and the (prefetch) GenDC descriptor of the current settings, as the flow
  // table queries and the camera's GenDC registers deliver them, throw GC_ERR_NO_DATA while the
  // stream uses no flows (the table also GC_ERR_ERROR when longer than its register); their sizes
  // are 0 then.
  bool usesFlows() const;
  std::uint32_t numFlows() const;
  std::uint64_t flowSize(std::uint32_t index) const;
  std::vector<std::uint8_t> flowMappingTable() const;
  std::vector<std::uint8_t> genDCDescriptor() const;
  std::size_t flowMappingTableSize() const;
  std::size_t genDCDescriptorSize() const;

 private:
  template <class Change>
  void updateSettings(Change change);
  void recomputeLocked();
  GenDc::StreamSettings containerSettingsLocked() const;
  ImageGeometry imageGeometryLocked() const;

  mutable std::mutex settingsMutex_;
  StreamConfiguration configuration_;  // the id never changes; the rest under the settings mutex
  // Set when a recording defines the format: nothing is recomputed then.
  const bool recorded_;
  std::uint64_t payloadSize_ = 0;
  GenDCSettings genDC_;
  std::vector<std::shared_ptr<const SourceImage>> sourceImages_;
  // What a GenDC stream reports: the layout of its containers (GenDC streaming mode only), its
  // flow sizes, flow mapping table and descriptor. Empty while the stream uses no flows.
  std::optional<GenDc::ContainerLayout> layout_;
  std::vector<std::uint64_t> flowSizes_;
  std::vector<std::uint8_t> flowTable_;
  std::vector<std::uint8_t> descriptor_;
};

}  // namespace lumo::mockTL
