#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/GenTL.h"
#include "module/Module.h"
#include "source/ImageGeometry.h"
#include "source/SourceImage.h"
#include "stream/AcquisitionControl.h"
#include "stream/BufferQueues.h"
#include "stream/CameraLink.h"
#include "stream/FrameComposer.h"
#include "stream/GenDCSettings.h"
#include "stream/Recording.h"
#include "stream/Resource.h"
#include "stream/StreamConfiguration.h"
#include "stream/StreamFormat.h"

namespace lumo::mockTL {

// One data stream of a device, built from one stream record when the device is built and opened
// at most once (DevOpenDataStream). Its public operations are the consumer's face and may be
// called from any thread; it answers the stream's info and registers itself and leaves the rest
// to its parts:
// - BufferQueues: the announced buffers, the input queue of buffers waiting to be filled and, as
//   the stream's new-buffer event, the output queue of filled ones;
// - StreamFormat: the image and GenDC settings and what is computed from them;
// - Recording: the stream file it replays, if any;
// - AcquisitionControl: grabbing, and the one acquisition thread that grabs, which sees only the
//   FillSide face;
// - FrameComposer: the write of a frame of images or generated images into a buffer's memory.
//
// Locks:
// - the module mutex: starting and stopping acquisition (the thread object), which joins the
//   acquisition thread while holding it; the thread therefore never takes it;
// - the settings mutex (StreamFormat): the acquisition thread takes it briefly for every frame;
// - the buffer-map and input-queue mutexes (BufferQueues): the acquisition thread takes the
//   input-queue mutex to pop a buffer;
// - the wake mutex (AcquisitionControl): the end of grabbing against the thread's frame wait.
// Where two are held at once they are taken in this order: module, buffer-map, input-queue, then
// the output queue's own mutex (the discarding flush holds the module mutex throughout, and moves
// between the queues hold the input-queue mutex); the module mutex is held while the wake mutex
// is taken; the settings mutex is never held with another. The grabbing and open flags, the
// number of images, the started count and the buffers' flags are atomics read without a lock.
//
// Flows. A stream delivers plain images in one flow until it delivers GenDC: either it replays a
// recorded stream file (its recording, opened at construction, fixes flows, payload, flow table
// and descriptor for the stream's life), or GenDC streaming mode is on, when every frame is a
// container whose layout follows the stream's settings and is recomputed with every change of
// them. Both report through the same flow queries, so a consumer cannot tell them apart there.
class DataStream final : public SpecificModule<void*>, public std::enable_shared_from_this<DataStream> {
 public:
  static constexpr std::uint64_t kMinimumAnnouncedBuffers = 3;

  // Must be owned by a std::shared_ptr: buffers are announced with a reference to it. A record
  // that names a stream file opens its recording here; when it cannot be replayed, the failure
  // (the reader's status and text) is what open() throws.
  // `camera` is what the device's camera tells its streams; a stream of its own when none is given.
  DataStream(const std::shared_ptr<Module>& device, StreamConfiguration configuration,
             std::shared_ptr<CameraLink> camera = nullptr);
  ~DataStream() override;

  const std::string& id() const { return format_.id(); }

  // Marks the stream open; GC_ERR_RESOURCE_IN_USE when it already is, and the recording's
  // failure when its stream file could not be opened. Nothing opens it twice: neither close nor
  // the device's close clears the flag.
  void open();
  bool isOpen() const { return open_; }
  // Lets the stream be opened again: only for the device's close after its camera was unplugged.
  void forgetOpen() { open_ = false; }
  bool isGrabbing() const { return acquisition_.isGrabbing(); }

  // --- Buffer management. Each returns the Resource the consumer then knows by its buffer's
  // handle; failures are GenericExceptions with the operation's name.
  std::shared_ptr<Resource> Announce(std::uint64_t size, void* memory, void* privateData);
  std::shared_ptr<Resource> AllocAndAnnounce(std::uint64_t size, void* privateData);
  // A composite buffer: one segment per flow of the stream.
  std::shared_ptr<Resource> Announce(void* const* segments, const std::size_t* sizes, std::size_t count,
                                     void* privateData);
  // Forgets the buffer named by `handle`; a queue that still holds it keeps it until the entry
  // leaves. Writes the buffer's handle to `buffer` and its private pointer to `privateData` when
  // they are given. GC_ERR_INVALID_ID when the stream has no such buffer.
  void RevokeBuffer(const void* handle, void** buffer, void** privateData);
  void QueueBuffer(const std::shared_ptr<Resource>& resource);
  // Buffer `index` in the order of the buffers' id texts.
  std::shared_ptr<Resource> BufferByIndex(std::uint32_t index) const;
  // This stream's buffer whose handle is `handle`, or empty. Never dereferences `handle`.
  std::shared_ptr<Resource> findBuffer(const void* handle) const;
  // Whether a buffer is announced at `memory` (the address its id is made of).
  bool isAnnounced(const void* memory) const;
  std::size_t announcedCount() const;
  void flush(ACQ_QUEUE_TYPE mode);

  // --- Acquisition.
  void startGrabbing(ACQ_START_FLAGS flags, std::uint64_t numberOfImages);
  // GC_ERR_RESOURCE_IN_USE when the stream is not grabbing. Joins the acquisition thread. Both
  // queues stay as they are.
  void stopGrabbing();
  // Ends acquisition whatever the state: for the stream's and the device's close. Called under
  // the device's module mutex. Throws std::system_error (resource_deadlock_would_occur) on the
  // acquisition thread itself.
  void haltAcquisition();
  // DSClose: no acquisition thread touches the buffers any more once it returns; the buffers stay
  // announced and the stream stays open.
  void close() { haltAcquisition(); }

  void getInfo(STREAM_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size);

  // --- Flows: true while the stream delivers GenDC (a stream file, or GenDC streaming mode on).
  bool usesFlows() const;
  std::uint32_t numFlows() const;
  void GetFlowInfo(std::uint32_t index, FLOW_INFO_CMD command, INFO_DATATYPE& type, void* destination,
                   std::size_t& size) const;
  // The last flow set of the recording. Throws std::runtime_error "container reader not
  // initialized" when the stream replays no stream file.
  std::uint64_t streamFileMaxFrameId() const;

  // --- The image and GenDC settings and what they make of a frame: the camera reads and writes
  // them there. Buffers announced earlier keep the sizes they were made with, while fills follow
  // the new settings.
  StreamFormat& format() { return format_; }
  const StreamFormat& format() const { return format_; }

  // Writes one frame of the current settings into a buffer's segments: the image into the first
  // (see writeImageData), or, in GenDC streaming mode, a container built now with the image as
  // every component's data, contiguous in one segment or spread over one segment per flow.
  // Throws std::invalid_argument when the segments cannot take the container, and what the
  // image writers throw. Any one thread while the stream is not grabbing: the acquisition thread
  // writes its frames itself.
  FrameContent writeFrame(std::span<const Segment> segments, const SourceImage* image);

  void initRegisterMap() override;
  void initEvents() override;
  std::string ReadStringRegImpl(std::uint32_t id) override;
  std::uint32_t ReadUint32RegImpl(std::uint32_t id) override;

 private:
  void stopIfGrabbing();
  static void requireSize(const char* where, std::uint64_t size);
  void requireSingleFlow(const char* where) const;

  std::atomic<bool> open_{false};
  // Declared in the order they depend on each other; the stream ends acquisition before any of
  // them goes. The acquisition thread reads the recording's frames (alone), the format (under the
  // settings mutex), the composer (its own while it runs), the queues (under their mutexes) and
  // the acquisition control's atomics; never open_ or camera_.
  const Recording recording_;
  StreamFormat format_;
  FrameComposer composer_;
  BufferQueues queues_;
  AcquisitionControl acquisition_;
  const std::shared_ptr<CameraLink> camera_;
  // Underruns are reported on standard error, never counted: consumers read 0 here.
  static constexpr std::uint64_t kUnderrunCount = 0;
};

}  // namespace lumo::mockTL
