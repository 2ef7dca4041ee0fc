// GenDC containers assembled from arbitrary stream settings. A container is refused exactly when
// its settings cannot describe one (image count, padding, sizes beyond 64 bits), and only with
// the refusals its interface names. An assembled container is self-consistent in the terms a
// consumer indexes memory by: every part lies inside its flow and the container, the flows add up
// to the container, and the flow mapping table reads back the flow sizes. Placed into memory of
// exactly the right size it stays inside it; placed into memory too small it is refused before
// anything is written.
//
// Input: streaming mode u8 | flow mapping u32 | part type u16 | image count u32 | width u32 |
// height u32 | pixel format u32 | padding X u32 | padding Y u32 | buffer size change i16 |
// short segment u8 | segment base offset u64.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <vector>

#include "fuzz/Expect.h"
#include "fuzz/FuzzInput.h"
#include "gendc/Container.h"
#include "gendc/ContainerData.h"
#include "gendc/FlowMappingTable.h"

namespace {

namespace GenDc = lumo::mockTL::GenDc;
using lumo::mockTL::fuzz::expect;
using lumo::mockTL::fuzz::FuzzInput;

// Containers up to this size are also placed into real memory.
constexpr std::uint64_t kMaxPlacedSize = 1 << 20;

std::uint64_t readLittleEndian(std::span<const std::uint8_t> bytes, std::uint64_t offset, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    value |= std::uint64_t{bytes[offset + i]} << (8 * i);
  }
  return value;
}

// Whether the settings describe a container at all, worked out without the code under test.
bool describable(const GenDc::StreamSettings& settings) {
  if (settings.imageCount < 1 || settings.imageCount > 2 || settings.paddingX > 0xFFFF || settings.paddingY > 0xFFFF) {
    return false;
  }
  const std::uint64_t bitsPerPixel = (settings.pixelFormat >> 16) & 0xFF;
  std::uint64_t bits = 0;
  std::uint64_t data = 0;
  std::uint64_t total = 0;
  const std::uint64_t descriptor = 56 + settings.imageCount * (56 + 56 + 8);
  return !__builtin_mul_overflow(bitsPerPixel, std::uint64_t{settings.width} + settings.paddingX, &bits) &&
         !__builtin_mul_overflow(bits, std::uint64_t{settings.height} + settings.paddingY, &bits) &&
         !__builtin_mul_overflow(bits / 8, std::uint64_t{settings.imageCount}, &data) &&
         !__builtin_add_overflow(descriptor, data, &total);
}

void checkLayout(const GenDc::Container& container, const GenDc::StreamSettings& settings) {
  const GenDc::ContainerLayout& layout = container.layout();
  const auto descriptor = container.descriptor().bytes();
  expect(descriptor.size() == layout.descriptorSize(), "the descriptor has the size the layout gives");
  expect(readLittleEndian(descriptor, 0, 4) == 0x43444E47, "a descriptor opens with the GenDC signature");
  expect(readLittleEndian(descriptor, 32, 8) == layout.dataSize(), "DataSize is the sum of the parts");
  expect(readLittleEndian(descriptor, 48, 4) == descriptor.size(), "DescriptorSize is the descriptor's size");

  const auto& flows = layout.flowSizes();
  std::uint64_t flowTotal = 0;
  for (const auto flow : flows) {
    expect(!__builtin_add_overflow(flowTotal, flow, &flowTotal), "flow sizes add up within 64 bits");
  }
  expect(flowTotal == layout.totalSize(), "the flows carry the whole container");
  expect(flows.size() == (settings.multipleFlow() ? 1 + layout.parts().size() : 1), "one flow per part, or one");

  for (const GenDc::PartLayout& part : layout.parts()) {
    const std::uint64_t header = part.headerOffset;
    expect(header + 56 <= descriptor.size(), "a part header lies inside the descriptor");
    expect(readLittleEndian(descriptor, header, 2) == static_cast<std::uint16_t>(settings.partType),
           "a part header carries the part type");
    const std::uint64_t flowId = readLittleEndian(descriptor, header + 14, 2);
    const std::uint64_t flowOffset = readLittleEndian(descriptor, header + 16, 8);
    const std::uint64_t dataSize = readLittleEndian(descriptor, header + 24, 8);
    const std::uint64_t dataOffset = readLittleEndian(descriptor, header + 32, 8);
    expect(flowId < flows.size(), "a part names an existing flow");
    expect(flowOffset <= flows[flowId] && dataSize <= flows[flowId] - flowOffset, "a part lies inside its flow");
    expect(dataOffset >= descriptor.size() && dataOffset <= layout.totalSize() &&
               dataSize <= layout.totalSize() - dataOffset,
           "a part lies inside the container, behind the descriptor");
  }

  const auto table = GenDc::FlowMappingTable::bytesFor(flows);
  expect(table.size() == 16 + 8 * flows.size(), "the flow mapping table has one entry per flow");
  expect(readLittleEndian(table, 12, 4) == flows.size(), "FlowCount is the number of flows");
  for (std::size_t flow = 0; flow < flows.size(); ++flow) {
    expect(readLittleEndian(table, 16 + 8 * flow, 8) == flows[flow], "the table holds every flow size");
  }
}

// Every returned part span must be the part's own bytes of the given memory.
void expectPartsInside(const std::vector<std::span<std::uint8_t>>& parts, const GenDc::ContainerLayout& layout,
                       const std::vector<std::span<std::uint8_t>>& flows) {
  expect(parts.size() == layout.parts().size(), "one span per part");
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const GenDc::PartLayout& part = layout.parts()[i];
    const auto flow = flows.at(part.flowId);
    expect(parts[i].size() == part.dataSize, "a part span has the part's size");
    expect(parts[i].data() == flow.data() + part.flowOffset, "a part span starts at the part's flow offset");
  }
}

void placeContiguous(const GenDc::Container& container, std::int16_t sizeChange) {
  const GenDc::ContainerLayout& layout = container.layout();
  const std::uint64_t total = layout.totalSize();
  const std::int64_t wanted = static_cast<std::int64_t>(total) + sizeChange;
  // Heap memory of the exact size, so that AddressSanitizer sees a write one byte beyond it.
  std::vector<std::uint8_t> buffer(static_cast<std::size_t>(std::max<std::int64_t>(wanted, 0)), 0xA5);
  if (buffer.size() < total) {
    try {
      container.writeInto(buffer);
      expect(false, "a container does not go into a buffer that is too small");
    } catch (const std::invalid_argument&) {
      expect(std::all_of(buffer.begin(), buffer.end(), [](std::uint8_t b) { return b == 0xA5; }),
             "a refused placement writes nothing");
    }
    return;
  }
  const auto parts = container.writeInto(buffer);
  const auto descriptor = container.descriptor().bytes();
  expect(std::equal(descriptor.begin(), descriptor.end(), buffer.begin()), "the descriptor opens the buffer");
  std::vector<std::span<std::uint8_t>> flows{std::span(buffer).first(layout.flowSizes()[0])};
  for (const auto& segment : container.data().segments()) {
    flows.push_back(std::span(buffer).subspan(segment.offset, segment.size));
  }
  expectPartsInside(parts, layout, flows);
}

void placeSegments(const GenDc::Container& container, std::uint8_t shortSegment) {
  const auto& flowSizes = container.layout().flowSizes();
  std::vector<std::vector<std::uint8_t>> memory;
  for (const auto size : flowSizes) {
    memory.emplace_back(size);
  }
  std::vector<std::span<std::uint8_t>> segments(memory.begin(), memory.end());
  const auto parts = container.writeIntoSegments(segments);
  expectPartsInside(parts, container.layout(), segments);

  std::vector<std::span<std::uint8_t>> tooMany = segments;
  tooMany.push_back(segments.back());
  try {
    container.writeIntoSegments(tooMany);
    expect(false, "a segment count other than the flow count is refused");
  } catch (const std::invalid_argument&) {
  }
  const std::size_t shortened = shortSegment % segments.size();
  if (!segments[shortened].empty()) {
    segments[shortened] = segments[shortened].first(segments[shortened].size() - 1);
    try {
      container.writeIntoSegments(segments);
      expect(false, "a segment shorter than its flow is refused");
    } catch (const std::invalid_argument&) {
    }
  }
}

// The segment list on its own, at any base offset: it either lies within 64 bits or is refused.
void checkSegments(const GenDc::ContainerLayout& layout, std::uint64_t baseOffset) {
  try {
    const GenDc::ContainerData data(baseOffset, layout.descriptorSize(), layout.flowSizes());
    std::uint64_t offset = baseOffset + layout.descriptorSize();
    for (std::size_t i = 0; i < data.segments().size(); ++i) {
      expect(data.segments()[i].offset == offset && data.segments()[i].size == layout.flowSizes()[i + 1],
             "segments follow each other behind the descriptor");
      offset += data.segments()[i].size;
    }
  } catch (const std::overflow_error&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input({data, size});
  GenDc::StreamSettings settings;
  settings.streamingMode = (input.take<std::uint8_t>() & 1) != 0;
  settings.flowMappingConfiguration = input.take<std::uint32_t>();
  settings.partType = static_cast<GenDc::PartType>(input.take<std::uint16_t>());
  settings.imageCount = input.take<std::uint32_t>();
  settings.width = input.take<std::uint32_t>();
  settings.height = input.take<std::uint32_t>();
  settings.pixelFormat = input.take<std::uint32_t>();
  settings.paddingX = input.take<std::uint32_t>();
  settings.paddingY = input.take<std::uint32_t>();
  const auto sizeChange = input.take<std::int16_t>();
  const auto shortSegment = input.take<std::uint8_t>();
  const auto baseOffset = input.take<std::uint64_t>();

  const bool expected = describable(settings);
  try {
    const GenDc::Container container(settings);
    expect(expected, "a container is built only from settings that describe one");
    checkLayout(container, settings);
    checkSegments(container.layout(), baseOffset);
    if (container.layout().totalSize() <= kMaxPlacedSize) {
      placeContiguous(container, sizeChange);
      placeSegments(container, shortSegment);
    }
  } catch (const std::invalid_argument&) {
    expect(!expected, "settings that describe a container are not refused");
  } catch (const std::overflow_error&) {
    expect(!expected, "settings that describe a container are not refused");
  }
  return 0;
}
