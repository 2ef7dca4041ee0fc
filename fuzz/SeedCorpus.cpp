// Writes the binary seeds of the fuzz corpora in the harnesses' input layouts: recordings made by
// the stream file writer, GenDC stream settings, and port traffic that reaches each module's
// registers, and small image files of each format. Usage: lmmocktl_fuzz_seeds <corpus directory>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "base/Pfnc.h"
#include "gendc/Container.h"
#include "source/ImageFiles.h"
#include "source/StreamFileWriter.h"

namespace {

namespace GenDc = lumo::mockTL::GenDc;
namespace LmR = lumo::mockTL::LmR;
namespace fs = std::filesystem;

class Seed {
 public:
  Seed& u8(std::uint64_t value) { return put(value, 1); }
  Seed& u16(std::uint64_t value) { return put(value, 2); }
  Seed& u32(std::uint64_t value) { return put(value, 4); }
  Seed& u64(std::uint64_t value) { return put(value, 8); }
  Seed& raw(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }
  void save(const fs::path& file) const {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes_.data()), static_cast<std::streamsize>(bytes_.size()));
  }

 private:
  Seed& put(std::uint64_t value, int width) {
    for (int i = 0; i < width; ++i) {
      bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    return *this;
  }
  std::vector<std::uint8_t> bytes_;
};

std::vector<std::uint8_t> fileBytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A recording of `flowSets` containers of `settings`, `perFile` flow sets to a data file, packed as
// the stream file reader's harness reads its input.
Seed recording(const GenDc::StreamSettings& settings, std::uint64_t flowSets, std::uint64_t perFile, bool wide,
               bool fixed) {
  const fs::path directory = fs::temp_directory_path() / "lmmocktl-fuzz-seeds";
  fs::remove_all(directory);
  fs::create_directories(directory);
  const GenDc::Container container(settings);
  const auto descriptor = container.descriptor().bytes();
  {
    LmR::StreamFileWriter writer(directory / "rec.info", container.layout().flowSizes(),
                                 {descriptor.begin(), descriptor.end()}, perFile);
    for (std::uint64_t frame = 0; frame < flowSets; ++frame) {
      std::vector<std::vector<std::uint8_t>> memory;
      std::vector<LmR::Flow> flows;
      for (const auto size : container.layout().flowSizes()) {
        memory.emplace_back(size, static_cast<std::uint8_t>(frame + memory.size()));
        flows.push_back({memory.back().data(), size});
      }
      writer.append(flows);
    }
    writer.finish();
  }
  auto info = fileBytes(directory / "rec.info");
  info[9] = fixed ? 1 : 0;
  std::vector<std::vector<std::uint8_t>> data;
  for (std::uint64_t file = 0; fs::exists(LmR::InfoFile::dataFilePath(directory / "rec.info", file)); ++file) {
    data.push_back(fileBytes(LmR::InfoFile::dataFilePath(directory / "rec.info", file)));
  }
  fs::remove_all(directory);
  Seed seed;
  seed.u8(data.size()).u8(wide ? 1 : 0).u32(info.size()).raw(info);
  if (data.size() == 2) {
    seed.u32(data[0].size()).raw(data[0]).raw(data[1]);
  } else if (data.size() == 1) {
    seed.raw(data[0]);
  }
  return seed;
}

GenDc::StreamSettings settings(std::uint32_t images, std::uint32_t flowMapping, std::uint32_t width,
                               std::uint32_t height, std::uint32_t format) {
  GenDc::StreamSettings stream;
  stream.streamingMode = true;
  stream.imageCount = images;
  stream.flowMappingConfiguration = flowMapping;
  stream.width = width;
  stream.height = height;
  stream.pixelFormat = format;
  return stream;
}

Seed settingsSeed(const GenDc::StreamSettings& stream, std::int16_t sizeChange) {
  Seed seed;
  seed.u8(stream.streamingMode ? 1 : 0)
      .u32(stream.flowMappingConfiguration)
      .u16(static_cast<std::uint16_t>(stream.partType))
      .u32(stream.imageCount)
      .u32(stream.width)
      .u32(stream.height)
      .u32(stream.pixelFormat)
      .u32(stream.paddingX)
      .u32(stream.paddingY)
      .u16(static_cast<std::uint16_t>(sizeChange))
      .u8(1)
      .u64(0);
  return seed;
}

// Port traffic: the module indexes and actions of the port traffic harness.
enum Module : std::uint8_t { kSystem, kInterface, kDevice, kRemote, kStream };
enum Action : std::uint8_t { kRead, kWrite, kReadStacked, kWriteStacked, kPortInfo, kUrls, kOpenClose };

// A request at an explicit address and size (shape 3), with the register pick left unused.
Seed& request(Seed& seed, std::uint64_t address, std::uint32_t size) {
  return seed.u8(3).u16(0).u8(0).u64(address).u32(size);
}
Seed& read(Seed& seed, Module module, std::uint64_t address, std::uint32_t size) {
  return request(seed.u8(module).u8(kRead), address, size);
}
Seed& write32(Seed& seed, Module module, std::uint64_t address, std::uint32_t value) {
  return request(seed.u8(module).u8(kWrite), address, 4).u32(value);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <corpus directory>\n", argv[0]);
    return 2;
  }
  const fs::path corpus = argv[1];
  constexpr std::uint32_t kMono8 = lumo::mockTL::pfnc::Mono8;
  constexpr std::uint32_t kMono16 = 0x01100007;
  constexpr std::uint32_t kRgb10 = 0x02300018;
  constexpr std::uint32_t kMono12p = 0x010C0047;

  const fs::path recordings = corpus / "StreamFileReader";
  recording(settings(1, 0, 8, 4, kMono8), 5, 3, false, true).save(recordings / "single-flow-two-files");
  recording(settings(2, 1, 4, 2, kMono16), 2, 4, true, true).save(recordings / "multiple-flow-one-file");
  recording(settings(1, 0, 2, 2, kMono8), 3, 1, false, false).save(recordings / "dynamic-flow-sizes");
  recording(settings(1, 1, 3, 1, kMono12p), 0, 1, false, true).save(recordings / "no-flow-sets");

  const fs::path containers = corpus / "GenDcContainer";
  settingsSeed(settings(1, 0, 640, 480, kMono8), 0).save(containers / "single-image-single-flow");
  settingsSeed(settings(2, 1, 64, 48, kMono16), -1).save(containers / "two-images-multiple-flow");
  auto padded = settings(1, 1, 33, 7, kRgb10);
  padded.paddingX = 3;
  padded.paddingY = 2;
  padded.partType = GenDc::PartType::Type2D_JPEG;
  settingsSeed(padded, 16).save(containers / "padded-jpeg");
  settingsSeed(settings(3, 0, 8, 8, kMono12p), 0).save(containers / "three-images");
  settingsSeed(settings(1, 0, 0xFFFFFFFF, 0xFFFFFFFF, 0x02FF0000), 0).save(containers / "beyond-64-bits");

  const fs::path traffic = corpus / "PortTraffic";
  {
    Seed seed;
    read(seed, kSystem, 0x0, 4);
    write32(seed, kSystem, 0x10, 1);
    read(seed, kSystem, 0x3000, 64);
    write32(seed, kSystem, 0x10, 7);
    read(seed, kSystem, 0x4000, 256);
    read(seed, kSystem, 0x50, 0x300);
    read(seed, kSystem, 0xF0000000, 0x200);
    seed.save(traffic / "system-interface-selector");
  }
  {
    Seed seed;
    read(seed, kInterface, 0x5500, 4);
    write32(seed, kInterface, 0x0, 1);
    write32(seed, kInterface, 0x6000, 1);
    read(seed, kInterface, 0x2000, 256);
    write32(seed, kInterface, 0x6000, 2);
    read(seed, kInterface, 0x6500, 4);
    seed.u8(kInterface).u8(kReadStacked).u8(3);
    request(seed, 0x5500, 4).u8(1);
    request(seed, 0x3000, 64).u8(1);
    request(seed, 0x3500, 32).u8(1);
    seed.save(traffic / "interface-device-selector");
  }
  {
    Seed seed;
    read(seed, kDevice, 0x500, 4);
    write32(seed, kDevice, 0x0, 1);
    read(seed, kDevice, 0x4500, 64);
    seed.u8(kDevice).u8(kOpenClose);
    read(seed, kInterface, 0x1500, 4);
    seed.u8(kDevice).u8(kWriteStacked).u8(2);
    request(seed, 0x504, 4).u8(1).u32(1);
    request(seed, 0x508, 2).u8(1).u16(0);
    for (std::uint8_t command = 0; command < 13; ++command) {
      seed.u8(kDevice).u8(kPortInfo).u8(command).u8(64);
    }
    seed.save(traffic / "device-modes-and-port-info");
  }
  {
    Seed seed;
    read(seed, kRemote, 0xF0000000, 0x400);
    for (std::uint8_t command = 0; command < 11; ++command) {
      seed.u8(kRemote).u8(kUrls).u8(0).u8(command).u8(64);
    }
    read(seed, kStream, 0xF0000000, 0x80);
    seed.save(traffic / "descriptions-and-urls");
  }
  // Image files behind the byte that picks their extension, in the image harness's order.
  const fs::path images = corpus / "ImageDecoders";
  const char* extensions[] = {".png", ".jpg", ".tif", ".j2k", ".bmp"};
  for (std::uint8_t selector = 0; selector < 5; ++selector) {
    for (const std::size_t channels : {std::size_t{1}, std::size_t{3}}) {
      const fs::path file = fs::temp_directory_path() / (std::string("lmmocktl-seed") + extensions[selector]);
      testing_support::writeImage(file, testing_support::makePicture(8, 6, channels, 8));
      Seed seed;
      seed.u8(selector).raw(fileBytes(file));
      seed.save(images / (std::string(channels == 1 ? "gray" : "colour") + extensions[selector]));
      fs::remove(file);
    }
  }
  return 0;
}
