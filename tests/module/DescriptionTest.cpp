// The six embedded GenApi descriptions: byte for byte the source files, served through the port
// with the digest the URL reports.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "module/Description.h"
#include "support/DescribedModule.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;

// A plain SHA-1 (FIPS 180-4), so the tests can check the digests that the build computed
// without trusting the build.
std::array<std::uint8_t, 20> sha1(std::string_view data) {
  auto rotl = [](std::uint32_t v, int s) { return (v << s) | (v >> (32 - s)); };
  std::uint32_t h[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
  std::vector<std::uint8_t> msg(data.begin(), data.end());
  const std::uint64_t bits = static_cast<std::uint64_t>(data.size()) * 8;
  msg.push_back(0x80);
  while (msg.size() % 64 != 56) msg.push_back(0);
  for (int i = 7; i >= 0; --i) msg.push_back(static_cast<std::uint8_t>(bits >> (8 * i)));
  for (std::size_t chunk = 0; chunk < msg.size(); chunk += 64) {
    std::uint32_t w[80];
    for (int i = 0; i < 16; ++i) {
      w[i] = (std::uint32_t{msg[chunk + 4 * i]} << 24) | (std::uint32_t{msg[chunk + 4 * i + 1]} << 16) |
             (std::uint32_t{msg[chunk + 4 * i + 2]} << 8) | std::uint32_t{msg[chunk + 4 * i + 3]};
    }
    for (int i = 16; i < 80; ++i) w[i] = rotl(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
    std::uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
    for (int i = 0; i < 80; ++i) {
      std::uint32_t f, k;
      if (i < 20) {
        f = (b & c) | (~b & d);
        k = 0x5A827999;
      } else if (i < 40) {
        f = b ^ c ^ d;
        k = 0x6ED9EBA1;
      } else if (i < 60) {
        f = (b & c) | (b & d) | (c & d);
        k = 0x8F1BBCDC;
      } else {
        f = b ^ c ^ d;
        k = 0xCA62C1D6;
      }
      const std::uint32_t t = rotl(a, 5) + f + e + k + w[i];
      e = d;
      d = c;
      c = rotl(b, 30);
      b = a;
      a = t;
    }
    h[0] += a;
    h[1] += b;
    h[2] += c;
    h[3] += d;
    h[4] += e;
  }
  std::array<std::uint8_t, 20> out{};
  for (int i = 0; i < 20; ++i) out[i] = static_cast<std::uint8_t>(h[i / 4] >> (24 - 8 * (i % 4)));
  return out;
}

struct Kind {
  DescriptionKind kind;
  const char* fileName;
};

class EmbeddedDescription : public ::testing::TestWithParam<Kind> {};

std::string sourceFile(const char* name) {
  std::ifstream in(std::string(LMMOCKTL_DESCRIPTIONS_DIR) + "/" + name, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST_P(EmbeddedDescription, IsTheSourceFileByteForByte) {
  const Description& d = description(GetParam().kind);
  EXPECT_EQ(d.fileName, GetParam().fileName);
  EXPECT_EQ(d.text, sourceFile(GetParam().fileName));
  EXPECT_EQ(d.text.back(), '\n');
  EXPECT_EQ(d.text.find('\r'), std::string_view::npos);
}

TEST_P(EmbeddedDescription, ReadsThroughThePortWithTheDigestItsUrlReports) {
  DescribedModule module(GetParam().kind);
  INFO_DATATYPE type = 0;
  std::uint64_t fileSize = 0;
  std::size_t size = sizeof(fileSize);
  module.GetURLInfo(0, URL_INFO_FILE_SIZE, type, &fileSize, size);
  std::uint64_t address = 0;
  size = sizeof(address);
  module.GetURLInfo(0, URL_INFO_FILE_REGISTER_ADDRESS, type, &address, size);

  std::string text(fileSize, '\0');
  size = text.size();
  module.Read(address, text.data(), size);
  EXPECT_EQ(size, fileSize);
  EXPECT_EQ(text, sourceFile(GetParam().fileName));

  std::array<std::uint8_t, 20> reported{};
  size = reported.size();
  module.GetURLInfo(0, URL_INFO_FILE_SHA1_HASH, type, reported.data(), size);
  EXPECT_EQ(reported, sha1(text));

  char past = 0;
  size = 1;
  EXPECT_GENTL_ERROR(module.Read(address + fileSize, &past, size), GC_ERR_INVALID_ADDRESS,
                     "The read request falls out of the module's register map space");
  size = 2;
  char straddling[2];
  EXPECT_GENTL_ERROR(module.Read(address + fileSize - 1, straddling, size), GC_ERR_INVALID_ADDRESS,
                     "The read request falls out of the module's register map space");
}

INSTANTIATE_TEST_SUITE_P(AllSix, EmbeddedDescription,
                         ::testing::Values(Kind{DescriptionKind::System, "tl_system_1_3_22.xml"},
                                           Kind{DescriptionKind::Interface, "tl_interface_1_3_22.xml"},
                                           Kind{DescriptionKind::Device, "tl_device_1_3_22.xml"},
                                           Kind{DescriptionKind::Remote, "tl_remote_1_3_22.xml"},
                                           Kind{DescriptionKind::DataStream, "tl_datastream_1_3_22.xml"},
                                           Kind{DescriptionKind::Buffer, "tl_buffer_1_3_22.xml"}),
                         [](const auto& info) {
                           std::string name = info.param.fileName;
                           return name.substr(3, name.find('_', 3) - 3);
                         });

}  // namespace
}  // namespace lumo::mockTL
