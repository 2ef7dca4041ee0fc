// The port export bodies, called directly against a test module.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "gentl/GenTL.h"
#include "support/DescribedModule.h"
#include "support/ExportBodies.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;
using testing_support::exportBody;
using testing_support::exportFailed;

struct PortWorld {
  DescribedModule module{DescriptionKind::Interface};
  PORT_HANDLE port = module.handle();
  void* event = module.errorEvent()->handle();
};

using PortExports = testing_support::InitialisedLibrary;
using Refusal = testing_support::Refusal<PortWorld>;
using PortExportRefusal = testing_support::ExportRefusal<PortWorld>;

TEST_P(PortExportRefusal, FailsWithItsCodeAndText) { expectRefused(); }

// Valid arguments for the cases that fail on another one.
char buffer[64];
size_t size = 4;
size_t zero = 0;
INFO_DATATYPE type;
PORT_REGISTER_STACK_ENTRY entries[1] = {{0, buffer, 4}};

// The checks that need a real module or event; null and unknown handles, and the pointer checks
// in front of them, are driven through the built library (PortAndEventExportsTest).
INSTANTIATE_TEST_SUITE_P(
    Checks, PortExportRefusal,
    ::testing::Values(
        Refusal{"ReadEventHandle", "GCReadPort", [](PortWorld& w) { return GCReadPort(w.event, 0, buffer, &size); },
                GC_ERR_INVALID_HANDLE, "hPort is unknown"},
        Refusal{"ReadNullSize", "GCReadPort", [](PortWorld& w) { return GCReadPort(w.port, 0, buffer, nullptr); },
                GC_ERR_INVALID_PARAMETER, "piSize invalid"},
        Refusal{"WriteNullSize", "GCWritePort", [](PortWorld& w) { return GCWritePort(w.port, 0, buffer, nullptr); },
                GC_ERR_INVALID_PARAMETER, "piSize is invalid pointer"},
        Refusal{"UrlNullSize", "GCGetPortURL", [](PortWorld& w) { return GCGetPortURL(w.port, buffer, nullptr); },
                GC_ERR_INVALID_PARAMETER, "piSize<=0"},
        Refusal{"InfoNullType", "GCGetPortInfo",
                [](PortWorld& w) { return GCGetPortInfo(w.port, PORT_INFO_ID, nullptr, buffer, nullptr); },
                GC_ERR_INVALID_PARAMETER, "piType<=0"},
        Refusal{"InfoNullSize", "GCGetPortInfo",
                [](PortWorld& w) { return GCGetPortInfo(w.port, PORT_INFO_ID, &type, buffer, nullptr); },
                GC_ERR_INVALID_PARAMETER, "piSize<=0"},
        Refusal{"NumUrlsNullCount", "GCGetNumPortURLs", [](PortWorld& w) { return GCGetNumPortURLs(w.port, nullptr); },
                GC_ERR_INVALID_PARAMETER, "piNumURLs<=0"},
        Refusal{"UrlInfoNullType", "GCGetPortURLInfo",
                [](PortWorld& w) { return GCGetPortURLInfo(w.port, 0, URL_INFO_URL, nullptr, buffer, nullptr); },
                GC_ERR_INVALID_PARAMETER, "piType<=0"},
        Refusal{"UrlInfoNullSize", "GCGetPortURLInfo",
                [](PortWorld& w) { return GCGetPortURLInfo(w.port, 0, URL_INFO_URL, &type, buffer, nullptr); },
                GC_ERR_INVALID_PARAMETER, "piSize<=0"},
        Refusal{"StackedReadNullEntriesBeforeCount", "GCReadPortStacked",
                [](PortWorld& w) { return GCReadPortStacked(w.port, nullptr, &zero); }, GC_ERR_INVALID_PARAMETER,
                "pEntries<=0"},
        Refusal{"StackedReadNullCount", "GCReadPortStacked",
                [](PortWorld& w) { return GCReadPortStacked(w.port, entries, nullptr); }, GC_ERR_INVALID_PARAMETER,
                "piNumEntries <= 0"},
        Refusal{"StackedReadZeroCount", "GCReadPortStacked",
                [](PortWorld& w) { return GCReadPortStacked(w.port, entries, &zero); }, GC_ERR_INVALID_PARAMETER,
                "*piNumEntries <= 0"},
        Refusal{"StackedWriteNullCountBeforeEntries", "GCWritePortStacked",
                [](PortWorld& w) { return GCWritePortStacked(w.port, nullptr, nullptr); }, GC_ERR_INVALID_PARAMETER,
                "piNumEntries <= 0"},
        Refusal{"StackedWriteZeroCountBeforeEntries", "GCWritePortStacked",
                [](PortWorld& w) { return GCWritePortStacked(w.port, nullptr, &zero); }, GC_ERR_INVALID_PARAMETER,
                "*piNumEntries <= 0"},
        Refusal{"StackedWriteNullEntries", "GCWritePortStacked",
                [](PortWorld& w) { return GCWritePortStacked(w.port, nullptr, &size); }, GC_ERR_INVALID_PARAMETER,
                "pEntries <= 0"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(PortExports, AFailureOfThePortComesThroughWithThePortsOrigin) {
  PortWorld world;
  size_t empty = 0;
  EXPECT_EQ(GCReadPort(world.port, 0, buffer, &empty), GC_ERR_INVALID_PARAMETER);
  EXPECT_NE(error::LastErrorStore::instance().fetch().text.find(":lumo::mockTL::Port::Read:"), std::string::npos);
}

TEST_F(PortExports, WritesAndReadsReachTheModulesRegisters) {
  PortWorld world;
  std::uint32_t value = 0x01020304;
  size_t written = 8;  // covers register 100 and the filler behind it
  EXPECT_EQ(GCWritePort(world.port, 0, &value, &written), GC_ERR_INVALID_ADDRESS);
  written = sizeof(value);
  ASSERT_EQ(GCWritePort(world.port, 0, &value, &written), GC_ERR_SUCCESS);
  EXPECT_EQ(world.module.value, 0x01020304u);

  std::uint32_t read = 0;
  size_t readSize = sizeof(read);
  ASSERT_EQ(GCReadPort(world.port, 0, &read, &readSize), GC_ERR_SUCCESS);
  EXPECT_EQ(read, 0x01020304u);
  EXPECT_EQ(readSize, sizeof(read));
}

TEST_F(PortExports, StackedReadReportsTheEntriesCompleted) {
  PortWorld world;
  world.module.value = 7;
  std::uint32_t first = 0;
  std::uint64_t second = 0;
  char third[4];
  PORT_REGISTER_STACK_ENTRY stack[] = {{0, &first, 4}, {0x10, &second, 8}, {0x4, third, 4}};
  size_t numEntries = 3;
  EXPECT_NE(GCReadPortStacked(world.port, stack, &numEntries), GC_ERR_SUCCESS);
  EXPECT_EQ(numEntries, 2u);
  EXPECT_EQ(first, 7u);
  EXPECT_EQ(second, 0x1122334455667788u);
}

TEST_F(PortExports, UrlQueriesReachTheModulesDescription) {
  PortWorld world;
  uint32_t numUrls = 0;
  ASSERT_EQ(GCGetNumPortURLs(world.port, &numUrls), GC_ERR_SUCCESS);
  EXPECT_EQ(numUrls, 1u);

  size_t urlSize = 0;
  ASSERT_EQ(GCGetPortURL(world.port, nullptr, &urlSize), GC_ERR_SUCCESS);
  std::string url(urlSize, 'x');
  ASSERT_EQ(GCGetPortURL(world.port, url.data(), &urlSize), GC_ERR_SUCCESS);
  EXPECT_EQ(url.rfind("local:tl_interface_1_3_22.xml;f0000000;", 0), 0u) << url;

  INFO_DATATYPE infoType = 0;
  char name[64];
  size_t nameSize = sizeof(name);
  ASSERT_EQ(GCGetPortURLInfo(world.port, 0, URL_INFO_FILENAME, &infoType, name, &nameSize), GC_ERR_SUCCESS);
  EXPECT_STREQ(name, "tl_interface_1_3_22.xml");
  nameSize = sizeof(name);
  ASSERT_EQ(GCGetPortInfo(world.port, PORT_INFO_PORTNAME, &infoType, name, &nameSize), GC_ERR_SUCCESS);
  EXPECT_STREQ(name, "TestPort");
}

}  // namespace
}  // namespace lumo::mockTL
