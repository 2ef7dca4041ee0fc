// The six embedded GenApi descriptions: byte for byte the source files, served through the port
// with the digest the URL reports.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

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
