// A recording made of the input: an InfoFile and up to two data files beside it. Whatever their
// bytes, opening either fails with a status and a text or yields a reader whose every property
// reads back, and whose every flow lies inside the data file the InfoFile places it in, with that
// file's bytes. Mapped files are not poisoned by AddressSanitizer, so the flows are checked
// against the written bytes rather than left to the sanitizer.
//
// Input: dataFiles u8 (mod 3) | wide path u8 (odd: the wide-character entry) | info length u32 |
// InfoFile bytes | first data file length u32 | first data file bytes | second data file: the rest.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/GenericException.h"
#include "fuzz/Expect.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/ScratchDirectory.h"
#include "gendc/DescriptorReader.h"
#include "gendc/FlowMappingTable.h"
#include "source/ContainerReader.h"
#include "source/LmRApi.h"

namespace {

using lumo::mockTL::fuzz::expect;
using lumo::mockTL::fuzz::FuzzInput;
using lumo::mockTL::fuzz::ScratchDirectory;

constexpr std::size_t kMaxDataFiles = 2;
// Views checked per recording: the first few, the last ones and one past the end.
constexpr std::uint64_t kLeadingViews = 6;
constexpr std::uint64_t kTrailingViews = 2;
constexpr std::uint64_t kMaxCheckedFlows = 64;

struct Recording {
  std::string infoFile;
  std::vector<std::uint8_t> info;
  std::vector<std::vector<std::uint8_t>> dataFiles;
  bool wide = false;
};

Recording writeRecording(const ScratchDirectory& scratch, FuzzInput& input) {
  Recording recording;
  const std::size_t dataFiles = input.take<std::uint8_t>() % (kMaxDataFiles + 1);
  recording.wide = (input.take<std::uint8_t>() & 1) != 0;
  const auto info = input.takeBytes(input.take<std::uint32_t>());
  recording.infoFile = scratch.write("rec.info", info).string();
  recording.info.assign(info.begin(), info.end());
  const char* names[kMaxDataFiles] = {"rec-000000.gdcs", "rec-000001.gdcs"};
  for (std::size_t i = 0; i < kMaxDataFiles; ++i) {
    if (i >= dataFiles) {
      scratch.remove(names[i]);
      continue;
    }
    const auto bytes = i + 1 < dataFiles ? input.takeBytes(input.take<std::uint32_t>()) : input.takeRest();
    scratch.write(names[i], bytes);
    recording.dataFiles.emplace_back(bytes.begin(), bytes.end());
  }
  return recording;
}

LmRContainerReaderHandle open(const Recording& recording) {
  LmRContainerReaderHandle reader = nullptr;
  LmRStatus status;
  if (recording.wide) {
    const std::wstring path(recording.infoFile.begin(), recording.infoFile.end());
    status = LmRCreateContainerReaderW(path.c_str(), &reader);
  } else {
    status = LmRCreateContainerReader(recording.infoFile.c_str(), &reader);
  }
  if (status != LmRStatus::Success) {
    expect(*LmRGetLastErrorMessage() != '\0', "a refused recording says why");
    return nullptr;
  }
  return reader;
}

// A property read as a consumer reads it: the size first, then a buffer of exactly that size, and
// a buffer one byte short, which must be refused.
std::vector<std::uint8_t> readProperty(LmRContainerReaderHandle reader, LmRProperty property) {
  std::size_t size = 0;
  expect(LmRContainerReaderGetProperty(reader, property, nullptr, &size) == LmRStatus::Success,
         "every property has a size");
  std::vector<std::uint8_t> value(size);
  std::size_t given = size;
  expect(LmRContainerReaderGetProperty(reader, property, value.data(), &given) == LmRStatus::Success && given == size,
         "a property fits the size it reports");
  if (size > 0) {
    // Never empty: an empty vector's null data() would ask for the size instead.
    std::vector<std::uint8_t> tooSmall(size);
    given = size - 1;
    expect(LmRContainerReaderGetProperty(reader, property, tooSmall.data(), &given) == LmRStatus::BufferTooSmall,
           "a buffer one byte short is refused");
  }
  return value;
}

std::vector<std::uint64_t> asNumbers(const std::vector<std::uint8_t>& bytes) {
  std::vector<std::uint64_t> numbers(bytes.size() / 8);
  if (!numbers.empty()) {
    std::memcpy(numbers.data(), bytes.data(), numbers.size() * 8);
  }
  return numbers;
}

// The flow sizes and per-file flow set counts of an InfoFile the reader accepted, read here by its
// documented layout rather than through the reader: N1 at offset 10, the flow sizes, N2, the
// per-file values, the counts.
void readInfoTables(const std::vector<std::uint8_t>& info, std::vector<std::uint64_t>& flowSizes,
                    std::vector<std::uint64_t>& flowSetCounts) {
  FuzzInput in(std::span(info).subspan(std::min<std::size_t>(info.size(), 10)));
  const auto table = [&in](std::uint64_t count) {
    expect(count <= in.remaining() / 8, "an accepted InfoFile holds its tables");
    std::vector<std::uint64_t> values(count);
    for (auto& value : values) {
      value = in.take<std::uint64_t>();
    }
    return values;
  };
  expect(in.remaining() >= 8, "an accepted InfoFile holds its flow count");
  flowSizes = table(in.take<std::uint64_t>());
  expect(in.remaining() >= 8, "an accepted InfoFile holds its data file count");
  const auto dataFiles = in.take<std::uint64_t>();
  table(dataFiles);
  flowSetCounts = table(dataFiles);
}

struct Shape {
  std::vector<std::uint64_t> flowSizes;
  std::vector<std::uint64_t> flowSetCounts;  // per data file, as the reader's files are found
  std::uint64_t flowSetCount = 0;
  bool fixed = false;
};

// Where flow `flow` of flow set `index` must be: in which data file and at which offset, worked out
// from the counts and sizes alone.
std::pair<std::size_t, std::uint64_t> expectedPlace(const Shape& shape, std::uint64_t index, std::uint64_t flow) {
  std::size_t file = 0;
  while (index >= shape.flowSetCounts[file]) {
    index -= shape.flowSetCounts[file];
    ++file;
  }
  std::uint64_t flowSetSize = 0;
  std::uint64_t before = 0;
  for (std::size_t i = 0; i < shape.flowSizes.size(); ++i) {
    flowSetSize += shape.flowSizes[i];
    if (i < flow) {
      before += shape.flowSizes[i];
    }
  }
  return {file, index * flowSetSize + before};
}

void checkView(LmRFlowSetViewHandle view, const Shape& shape, const Recording& recording, std::uint64_t index) {
  std::uint64_t count = 0;
  expect(LmRFlowSetViewFlowCount(view, &count) == LmRStatus::Success && count == shape.flowSizes.size(),
         "a view has one flow per flow size");
  for (std::uint64_t flow = 0; flow < std::min(count, kMaxCheckedFlows); ++flow) {
    const void* data = nullptr;
    std::uint64_t size = 0;
    expect(LmRFlowSetViewGetFlow(view, flow, &data, &size) == LmRStatus::Success, "every flow of a view reads");
    expect(size == shape.flowSizes[flow], "a flow has its recorded size");
    const auto [file, offset] = expectedPlace(shape, index, flow);
    const auto& bytes = recording.dataFiles.at(file);
    expect(offset <= bytes.size() && size <= bytes.size() - offset, "a flow lies inside its data file");
    expect(size == 0 || std::memcmp(data, bytes.data() + offset, size) == 0, "a flow holds its data file's bytes");
  }
  const void* data = nullptr;
  std::uint64_t size = 0;
  expect(LmRFlowSetViewGetFlow(view, count, &data, &size) == LmRStatus::InvalidIndex, "a flow past the end is refused");
}

void checkViews(LmRContainerReaderHandle reader, const Shape& shape, const Recording& recording) {
  std::vector<std::uint64_t> indexes;
  for (std::uint64_t i = 0; i < std::min(shape.flowSetCount, kLeadingViews); ++i) {
    indexes.push_back(i);
  }
  for (std::uint64_t back = kTrailingViews; back > 0; --back) {
    if (shape.flowSetCount >= kLeadingViews + back) {
      indexes.push_back(shape.flowSetCount - back);
    }
  }
  indexes.push_back(shape.flowSetCount);
  LmRFlowSetViewHandle moving = nullptr;
  for (const std::uint64_t index : indexes) {
    LmRFlowSetViewHandle view = nullptr;
    const LmRStatus status = LmRContainerReaderCreateView(reader, index, &view);
    if (index >= shape.flowSetCount) {
      expect(status == LmRStatus::InvalidIndex, "a flow set past the end is refused");
      continue;
    }
    if (!shape.fixed) {
      expect(status == LmRStatus::NotImplemented, "dynamic flow sizes are refused");
      continue;
    }
    expect(status == LmRStatus::Success, "every flow set of a fixed recording has a view");
    checkView(view, shape, recording, index);
    expect(LmRFlowSetViewRelease(view) == LmRStatus::Success, "a view releases once");
    expect(LmRFlowSetViewRelease(view) == LmRStatus::InvalidHandle, "a released view is unknown");
    // The replay path: one view moved from flow set to flow set.
    if (moving == nullptr) {
      expect(LmRContainerReaderCreateView(reader, index, &moving) == LmRStatus::Success, "a view opens twice");
    } else {
      expect(LmRFlowSetViewMoveTo(moving, index) == LmRStatus::Success, "a view moves to every flow set");
    }
    checkView(moving, shape, recording, index);
  }
  if (moving != nullptr) {
    expect(LmRFlowSetViewMoveTo(moving, shape.flowSetCount) == LmRStatus::InvalidIndex, "a view stays in range");
    expect(LmRFlowSetViewRelease(moving) == LmRStatus::Success, "the moving view releases");
  }
}

// The data stream's wrapper over the same functions: it opens or raises, and replays in range.
void checkContainerReader(const Recording& recording, const Shape& shape) {
  try {
    lumo::mockTL::ContainerReader wrapper(recording.infoFile);
    expect(wrapper.frameCount() == shape.flowSetCount && wrapper.flowSizes() == shape.flowSizes,
           "the stream's reader sees the recording's properties");
    if (shape.fixed && shape.flowSetCount > 0) {
      const auto flows = wrapper.flowsOf(shape.flowSetCount - 1);
      expect(flows.size() == shape.flowSizes.size(), "the stream's reader replays every flow");
    }
  } catch (const lumo::mockTL::error::GenericException&) {
    // A recording the functions opened may still be refused by the stream, such as one without
    // flow sets; that is reported, not crashed on.
  }
}

// A replaying stream reads the image of the recording's first part from its prefetch descriptor:
// whatever its bytes, the reading ends in one of the descriptor reader's refusals or a value, never
// outside the bytes (the sanitizers watch) and never with another failure (it would escape here).
void checkDescriptor(const std::vector<std::uint8_t>& descriptor) {
  try {
    const lumo::mockTL::GenDc::DescriptorReader view(descriptor);
    for (std::uint64_t component = 0; component <= std::min<std::uint64_t>(view.componentCount(), 4); ++component) {
      view.part(component, 0);
    }
  } catch (const std::invalid_argument&) {
  } catch (const std::out_of_range&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const ScratchDirectory scratch;
  FuzzInput input({data, size});
  const Recording recording = writeRecording(scratch, input);

  const LmRContainerReaderHandle reader = open(recording);
  if (reader == nullptr) {
    return 0;
  }
  Shape shape;
  shape.flowSetCount = asNumbers(readProperty(reader, LmRProperty::FlowSetCount)).at(0);
  shape.flowSizes = asNumbers(readProperty(reader, LmRProperty::FlowSizes));
  checkDescriptor(readProperty(reader, LmRProperty::PrefetchDescriptor));
  const auto dataFileCount = asNumbers(readProperty(reader, LmRProperty::DataFileCount)).at(0);
  shape.fixed = readProperty(reader, LmRProperty::FixedFlowSizes).at(0) != 0;
  std::size_t unknownSize = 0;
  expect(LmRContainerReaderGetProperty(reader, static_cast<LmRProperty>(5), nullptr, &unknownSize) ==
             LmRStatus::InvalidParameter,
         "an unknown property is refused");
  expect(dataFileCount <= recording.dataFiles.size(), "an opened recording has all its data files");

  std::vector<std::uint64_t> infoFlowSizes;
  readInfoTables(recording.info, infoFlowSizes, shape.flowSetCounts);
  expect(infoFlowSizes == shape.flowSizes, "the flow sizes property is the InfoFile's table");
  expect(shape.flowSetCounts.size() == dataFileCount, "one flow set count per data file");
  // A replaying stream announces the recorded flow sizes in its flow mapping table.
  const auto table = lumo::mockTL::GenDc::FlowMappingTable::bytesFor(shape.flowSizes);
  expect(table.size() == 16 + 8 * shape.flowSizes.size(), "the flow mapping table holds every recorded flow");
  checkViews(reader, shape, recording);
  checkContainerReader(recording, shape);

  expect(LmRContainerReaderRelease(reader) == LmRStatus::Success, "a reader releases once");
  std::size_t afterRelease = 0;
  expect(LmRContainerReaderGetProperty(reader, LmRProperty::FlowSetCount, nullptr, &afterRelease) ==
             LmRStatus::InvalidHandle,
         "a released reader is unknown");
  return 0;
}
