#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "module/Description.h"
#include "support/DescribedModule.h"
#include "support/ExpectGenTLError.h"
#include "support/Sha1.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;

struct Kind {
  DescriptionKind kind;
  const char* fileName;
};

void PrintTo(const Kind& c, std::ostream* out) { *out << c.fileName; }

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
  EXPECT_EQ(reported, testing_support::sha1(text));

  char past = 0;
  size = 1;
  EXPECT_GENTL_ERROR(module.Read(address + fileSize, &past, size), GC_ERR_INVALID_ADDRESS,
                     "The read request falls out of the module's register map space");
  size = 2;
  char straddling[2];
  EXPECT_GENTL_ERROR(module.Read(address + fileSize - 1, straddling, size), GC_ERR_INVALID_ADDRESS,
                     "The read request falls out of the module's register map space");
}

struct RegisterNode {
  std::string name;
  std::uint64_t address;
  std::uint64_t length;  // 1 for registers whose length is given by another node
};

std::string elementText(const std::string& text, const std::string& tag, std::size_t from, std::size_t to) {
  const std::string open = "<" + tag + ">";
  const std::size_t begin = text.find(open, from);
  if (begin == std::string::npos || begin > to) return {};
  const std::size_t valueBegin = begin + open.size();
  return text.substr(valueBegin, text.find('<', valueBegin) - valueBegin);
}

std::vector<RegisterNode> registerNodes(const std::string& text) {
  std::vector<RegisterNode> nodes;
  for (const std::string kind : {"IntReg", "MaskedIntReg", "StringReg", "Register"}) {
    const std::string open = "<" + kind + " Name=\"";
    for (std::size_t at = text.find(open); at != std::string::npos; at = text.find(open, at + 1)) {
      const std::size_t nameBegin = at + open.size();
      const std::size_t close = text.find("</" + kind + ">", at);
      const std::string name = text.substr(nameBegin, text.find('"', nameBegin) - nameBegin);
      const std::string length = elementText(text, "Length", at, close);
      nodes.push_back({name, std::stoull(elementText(text, "Address", at, close), nullptr, 16),
                       length.empty() ? 1 : std::stoull(length)});
    }
  }
  return nodes;
}

// Register nodes of a description must not overlap one another: two features at one address
// would silently alias in a consumer's node map.
TEST_P(EmbeddedDescription, RegisterNodesDoNotOverlap) {
  auto nodes = registerNodes(std::string(description(GetParam().kind).text));
  ASSERT_GT(nodes.size(), 4u);
  std::sort(nodes.begin(), nodes.end(), [](const auto& a, const auto& b) { return a.address < b.address; });
  for (std::size_t i = 1; i < nodes.size(); ++i) {
    EXPECT_LE(nodes[i - 1].address + nodes[i - 1].length, nodes[i].address)
        << nodes[i - 1].name << " overlaps " << nodes[i].name;
  }
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

TEST(Sha1Reference, MatchesTheStandardTestVector) {
  const auto digest = testing_support::sha1("abc");
  EXPECT_EQ(digest[0], 0xA9);
  EXPECT_EQ(digest[19], 0x9D);
}

}  // namespace
}  // namespace lumo::mockTL
