// A module's port: the URL list and its info, argument checks and stacked access.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "module/Port.h"
#include "support/DescribedModule.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;

TEST(PortUrl, ListCarriesEveryNulAndRefusesSmallBuffers) {
  DescribedModule module(DescriptionKind::System);
  const std::size_t textSize = description(DescriptionKind::System).text.size();
  char hex[32];
  std::snprintf(hex, sizeof(hex), "%zx", textSize);
  const std::string expected =
      std::string("local:tl_system_1_3_22.xml;f0000000;") + hex + "?SchemaVersion=1.1.0" + std::string(2, '\0');

  std::size_t size = 0;
  module.GetURL(nullptr, size);
  EXPECT_EQ(size, expected.size());

  std::string list(expected.size() - 1, 'x');
  size = list.size();
  EXPECT_GENTL_ERROR(module.GetURL(list.data(), size), GC_ERR_BUFFER_TOO_SMALL,
                     "The passed buffer is too small to receive the URL list");
  EXPECT_EQ(list, std::string(expected.size() - 1, 'x')) << "nothing may be copied";

  list.assign(expected.size() + 4, 'x');
  size = list.size();
  module.GetURL(list.data(), size);
  EXPECT_EQ(size, expected.size());
  EXPECT_EQ(list.substr(0, size), expected);
  EXPECT_EQ(module.GetNumURLs(), 1u);
}

TEST(PortUrl, InfoAnswersFromTheEntryAndRefusesBadIndexAndCommand) {
  DescribedModule module(DescriptionKind::Interface);
  INFO_DATATYPE type = 0;
  std::uint32_t number = 0;
  std::size_t size = sizeof(number);
  EXPECT_GENTL_ERROR(module.GetURLInfo(1, URL_INFO_URL, type, &number, size), GC_ERR_INVALID_INDEX,
                     "Out of range index used when querying URL info: iInfoCmd");
  EXPECT_GENTL_ERROR(module.GetURLInfo(0, 11, type, &number, size), GC_ERR_NOT_IMPLEMENTED,
                     "Unknown URL info command used");

  const std::pair<URL_INFO_CMD, std::uint32_t> versions[] = {
      {URL_INFO_SCHEMA_VER_MAJOR, 1}, {URL_INFO_SCHEMA_VER_MINOR, 1},   {URL_INFO_FILE_VER_MAJOR, 1},
      {URL_INFO_FILE_VER_MINOR, 3},   {URL_INFO_FILE_VER_SUBMINOR, 22}, {URL_INFO_SCHEME, 0}};
  for (auto [command, expected] : versions) {
    size = sizeof(number);
    module.GetURLInfo(0, command, type, &number, size);
    EXPECT_EQ(number, expected) << command;
    EXPECT_EQ(type, INFO_DATATYPE_INT32);
    EXPECT_EQ(size, 4u);
  }
  std::uint64_t wide = 0;
  size = sizeof(wide);
  module.GetURLInfo(0, URL_INFO_FILE_REGISTER_ADDRESS, type, &wide, size);
  EXPECT_EQ(wide, 0xF0000000u);
  EXPECT_EQ(type, INFO_DATATYPE_UINT64);

  char name[64];
  size = sizeof(name);
  module.GetURLInfo(0, URL_INFO_FILENAME, type, name, size);
  EXPECT_STREQ(name, "tl_interface_1_3_22.xml");
  EXPECT_EQ(size, std::strlen(name) + 1);

  // The digest is copied whatever size the caller claims; the size reports 20 all the same.
  std::uint8_t digest[20] = {};
  size = 1;
  module.GetURLInfo(0, URL_INFO_FILE_SHA1_HASH, type, digest, size);
  EXPECT_EQ(size, 20u);
  EXPECT_EQ(type, INFO_DATATYPE_BUFFER);
  EXPECT_EQ(std::memcmp(digest, description(DescriptionKind::Interface).sha1.data(), 20), 0);
}

TEST(PortAccess, ArgumentChecksComeBeforeAddressChecks) {
  DescribedModule module(DescriptionKind::Device);
  std::uint8_t byte = 0;
  std::size_t size = 0;
  EXPECT_GENTL_ERROR(module.Read(0xDEAD0000, &byte, size), GC_ERR_INVALID_PARAMETER,
                     "Invalid parameters used for port read operation");
  size = 1;
  EXPECT_GENTL_ERROR(module.Read(0, nullptr, size), GC_ERR_INVALID_PARAMETER,
                     "Invalid parameters used for port read operation");
  EXPECT_GENTL_ERROR(module.Write(0, nullptr, size), GC_ERR_INVALID_PARAMETER,
                     "Invalid parameters used for port write operation");
}

TEST(PortAccess, StackedOperationsCountCompletedEntriesAndStopAtTheFirstFailure) {
  DescribedModule module(DescriptionKind::Device);
  std::uint32_t written = 0xCAFEF00D;
  std::uint32_t readBack = 0;
  std::uint64_t wide = 0;
  PORT_REGISTER_STACK_ENTRY writes[] = {{0x0, &written, 4}, {0x10, &wide, 8}};
  std::size_t count = 2;
  EXPECT_GENTL_ERROR(module.WriteStacked(writes, count), GC_ERR_ACCESS_DENIED,
                     "One or more registers in the requested write range are not writable");
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(module.value, 0xCAFEF00Du);

  std::uint8_t spanningGap[16];
  PORT_REGISTER_STACK_ENTRY reads[] = {{0x0, &readBack, 4}, {0x10, &wide, 8}, {0x4, spanningGap, 16}};
  count = 3;
  EXPECT_GENTL_ERROR(module.ReadStacked(reads, count), GC_ERR_ACCESS_DENIED,
                     "One or more registers in the requested read range are not readable");
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(readBack, 0xCAFEF00Du);
  EXPECT_EQ(wide, 0x1122334455667788u);
}

// Found by fuzzing port traffic: a stacked entry's null buffer was followed, crashing the consumer.
TEST(PortAccess, StackedEntryWithoutBufferIsRefusedAfterTheEntriesBeforeIt) {
  DescribedModule module(DescriptionKind::Device);
  std::uint32_t written = 0xCAFEF00D;
  PORT_REGISTER_STACK_ENTRY writes[] = {{0x0, &written, 4}, {0x0, nullptr, 4}};
  std::size_t count = 2;
  EXPECT_GENTL_ERROR(module.WriteStacked(writes, count), GC_ERR_INVALID_PARAMETER,
                     "Invalid parameters used for stacked write operation");
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(module.value, 0xCAFEF00Du);

  std::uint32_t readBack = 0;
  PORT_REGISTER_STACK_ENTRY reads[] = {{0x0, &readBack, 4}, {0x0, nullptr, 4}};
  count = 2;
  EXPECT_GENTL_ERROR(module.ReadStacked(reads, count), GC_ERR_INVALID_PARAMETER,
                     "Invalid parameters used for stacked read operation");
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(readBack, 0xCAFEF00Du);
}

TEST(PortAccess, ADisabledPortRefusesEveryOperation) {
  DescribedModule module(DescriptionKind::Buffer);
  module.disablePort();
  std::uint8_t byte = 0;
  std::size_t size = 1;
  constexpr const char* message = "Port functionality is not implemented for this module";
  EXPECT_GENTL_ERROR(module.Read(0, &byte, size), GC_ERR_NOT_IMPLEMENTED, message);
  EXPECT_GENTL_ERROR(module.GetURL(nullptr, size), GC_ERR_NOT_IMPLEMENTED, message);
  EXPECT_GENTL_ERROR(module.GetNumURLs(), GC_ERR_NOT_IMPLEMENTED, message);
}

}  // namespace
}  // namespace lumo::mockTL
