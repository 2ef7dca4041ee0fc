#include "source/LmRApi.h"

#include <cstring>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "source/LmRError.h"
#include "source/LmRFlowSetView.h"
#include "source/LmRHandleTable.h"
#include "source/LmRLastError.h"
#include "source/LmRReader.h"

namespace {

namespace LmR = lumo::mockTL::LmR;
using LmR::Error;
using LmR::HandleTable;
using LmR::LastError;

constexpr std::string_view kReaderTag = "LmRecord_Reader";
constexpr std::string_view kViewTag = "LmRecord_FlowSetView";

template <class Handle>
std::uintptr_t token(Handle handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}

std::shared_ptr<LmR::Reader> requireReader(LmRContainerReaderHandle handle) {
  auto reader = HandleTable::instance().find<LmR::Reader>(token(handle), kReaderTag);
  if (!reader) {
    throw Error(LmRStatus::InvalidHandle, "ContainerReader handle invalid");
  }
  return reader;
}

std::shared_ptr<LmR::FlowSetView> requireView(LmRFlowSetViewHandle handle) {
  auto view = HandleTable::instance().find<LmR::FlowSetView>(token(handle), kViewTag);
  if (!view) {
    throw Error(LmRStatus::InvalidHandle, "View handle invalid");
  }
  return view;
}

void requireOutput(const void* pointer) {
  if (pointer == nullptr) {
    throw Error(LmRStatus::InvalidParameter, "output pointer must not be null");
  }
}

std::filesystem::path pathOf(const char* infoFile) { return infoFile; }

// A wide path is UTF-32 where wchar_t has 32 bits; the standard library would convert it through
// the C locale, which knows only ASCII there, and lets surrogates through unchecked.
std::filesystem::path pathOf(const wchar_t* infoFile) {
  if constexpr (sizeof(wchar_t) == sizeof(char32_t)) {
    std::u32string text;
    for (const wchar_t* c = infoFile; *c != 0; ++c) {
      const auto codePoint = static_cast<char32_t>(*c);
      if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
        throw Error(LmRStatus::InvalidParameter, "InfoFile path is not valid Unicode");
      }
      text.push_back(codePoint);
    }
    return text;
  } else {
    return infoFile;
  }
}

template <class Char>
LmRStatus createReader(const Char* infoFile, LmRContainerReaderHandle* reader) {
  return LastError::guard([&] {
    if (infoFile == nullptr) {
      throw Error(LmRStatus::InvalidParameter, "InfoFile path must not be null");
    }
    requireOutput(reader);
    auto opened = std::make_shared<LmR::Reader>(pathOf(infoFile));
    *reader = reinterpret_cast<LmRContainerReaderHandle>(HandleTable::instance().insert(kReaderTag, std::move(opened)));
  });
}

}  // namespace

const char* LmRGetLibraryVersion() { return "1.0.0"; }

const char* LmRGetLastErrorMessage() { return LastError::message(); }

LmRStatus LmRCreateContainerReader(const char* infoFile, LmRContainerReaderHandle* reader) {
  return createReader(infoFile, reader);
}

LmRStatus LmRCreateContainerReaderW(const wchar_t* infoFile, LmRContainerReaderHandle* reader) {
  return createReader(infoFile, reader);
}

LmRStatus LmRContainerReaderRelease(LmRContainerReaderHandle reader) {
  return LastError::guard([&] {
    if (!HandleTable::instance().erase(token(reader), kReaderTag)) {
      throw Error(LmRStatus::InvalidHandle, "ContainerReader handle invalid");
    }
  });
}

LmRStatus LmRContainerReaderGetProperty(LmRContainerReaderHandle reader, LmRProperty property, void* buffer,
                                        std::size_t* size) {
  return LastError::guard([&] {
    const auto opened = requireReader(reader);
    std::uint64_t number = 0;
    std::uint8_t flag = 0;
    std::span<const std::byte> bytes;
    const char* tooSmall = "given buffer is not big enough to hold the property";
    switch (property) {
      case LmRProperty::FlowSetCount:
        number = opened->flowSetCount();
        bytes = std::as_bytes(std::span(&number, 1));
        break;
      case LmRProperty::FlowSizes:
        bytes = std::as_bytes(std::span(opened->info().flowSizes));
        tooSmall = "given buffer is not big enough to hold the flow sizes";
        break;
      case LmRProperty::PrefetchDescriptor:
        bytes = std::as_bytes(std::span(opened->info().prefetchDescriptor));
        tooSmall = "given buffer is not big enough to hold the prefetch descriptor";
        break;
      case LmRProperty::DataFileCount:
        number = opened->info().flowSetCounts.size();
        bytes = std::as_bytes(std::span(&number, 1));
        break;
      case LmRProperty::FixedFlowSizes:
        flag = opened->info().fixedFlowSizes ? 1 : 0;
        bytes = std::as_bytes(std::span(&flag, 1));
        break;
      default: throw Error(LmRStatus::InvalidParameter, "unknown container reader property");
    }
    if (size == nullptr) {
      throw Error(LmRStatus::InvalidParameter, "size pointer must not be null");
    }
    if (buffer != nullptr) {
      if (*size < bytes.size()) {
        throw Error(LmRStatus::BufferTooSmall, tooSmall);
      }
      if (!bytes.empty()) {
        std::memcpy(buffer, bytes.data(), bytes.size());
      }
    }
    *size = bytes.size();
  });
}

LmRStatus LmRContainerReaderCreateView(LmRContainerReaderHandle reader, std::uint64_t index,
                                       LmRFlowSetViewHandle* view) {
  return LastError::guard([&] {
    auto opened = requireReader(reader);
    requireOutput(view);
    auto created = std::make_shared<LmR::FlowSetView>(std::move(opened), index);
    *view = reinterpret_cast<LmRFlowSetViewHandle>(HandleTable::instance().insert(kViewTag, std::move(created)));
  });
}

LmRStatus LmRFlowSetViewMoveTo(LmRFlowSetViewHandle view, std::uint64_t index) {
  return LastError::guard([&] { requireView(view)->moveTo(index); });
}

LmRStatus LmRFlowSetViewFlowCount(LmRFlowSetViewHandle view, std::uint64_t* count) {
  return LastError::guard([&] {
    const auto found = requireView(view);
    requireOutput(count);
    *count = found->flows().size();
  });
}

LmRStatus LmRFlowSetViewGetFlow(LmRFlowSetViewHandle view, std::uint64_t flow, const void** data, std::uint64_t* size) {
  return LastError::guard([&] {
    const auto found = requireView(view);
    requireOutput(data);
    requireOutput(size);
    const auto& chosen = found->flow(flow);
    *data = chosen.data;
    *size = chosen.size;
  });
}

LmRStatus LmRFlowSetViewRelease(LmRFlowSetViewHandle view) {
  return LastError::guard([&] {
    if (!HandleTable::instance().erase(token(view), kViewTag)) {
      throw Error(LmRStatus::InvalidHandle, "View handle invalid");
    }
  });
}
