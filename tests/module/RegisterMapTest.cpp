#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <map>
#include <stdexcept>

#include "module/RegisterMap.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL {
namespace {

// A register space with every type and access, two gaps (one between registers, one before the
// last register) and values kept in plain members.
//   0x00 u32 RW | 0x04 u32 RO | 0x08 u32 WO | 0x0C u32 RW
//   0x10 u64 RW | 0x18 f64 RW | 0x20..0x40 gap | 0x40 string RW 16 | 0x50 raw RW 8
//   0x58..0x60 gap | 0x60 string RO 8 | 0x68 string WO 8
class MixedRegisters : public RegisterMap {
 public:
  MixedRegisters() {
    setNames("TLTest", "TestPort");
    declareRegisters({
        {10, 0x00, 4, RegisterType::Uint32, RegisterAccess::ReadWrite},
        {11, 0x04, 4, RegisterType::Uint32, RegisterAccess::ReadOnly},
        {12, 0x08, 4, RegisterType::Uint32, RegisterAccess::WriteOnly},
        {13, 0x0C, 4, RegisterType::Uint32, RegisterAccess::ReadWrite},
        {20, 0x10, 8, RegisterType::Uint64, RegisterAccess::ReadWrite},
        {30, 0x18, 8, RegisterType::Float64, RegisterAccess::ReadWrite},
        {40, 0x40, 16, RegisterType::String, RegisterAccess::ReadWrite},
        {50, 0x50, 8, RegisterType::Raw, RegisterAccess::ReadWrite},
        {41, 0x60, 8, RegisterType::String, RegisterAccess::ReadOnly},
        {42, 0x68, 8, RegisterType::String, RegisterAccess::WriteOnly},
    });
  }

  std::map<std::uint32_t, std::uint32_t> u32{{10, 0x11223344}, {11, 0xA1B2C3D4}, {12, 0}, {13, 7}};
  bool failUint64 = false;
  std::uint64_t u64 = 0x0102030405060708;
  double f64 = 1.5;
  std::string text = "abcdef";
  std::uint8_t raw[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  std::size_t rawWrites = 0;

  std::uint32_t ReadUint32RegImpl(std::uint32_t id) override { return u32.at(id); }
  void WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) override { u32[id] = value; }
  std::uint64_t ReadUint64RegImpl(std::uint32_t) override {
    if (failUint64) throw std::logic_error("sensor unplugged");
    return u64;
  }
  void WriteUint64RegImpl(std::uint32_t, std::uint64_t value) override { u64 = value; }
  double ReadFloat64RegImpl(std::uint32_t) override { return f64; }
  void WriteFloat64RegImpl(std::uint32_t, double value) override { f64 = value; }
  std::string ReadStringRegImpl(std::uint32_t id) override { return id == 41 ? "RO" : text; }
  void WriteStringRegImpl(std::uint32_t, const std::string& value) override { text = value; }
  void ReadRegImpl(std::uint32_t, void* destination, std::size_t count) override {
    std::memcpy(destination, raw, count);
  }
  void WriteRegImpl(std::uint32_t, const void* source, std::size_t count) override {
    std::memcpy(raw, source, count);
    ++rawWrites;
  }
};

class RegisterMapTest : public ::testing::Test {
 protected:
  std::vector<std::uint8_t> read(std::uint64_t address, std::size_t size) {
    std::vector<std::uint8_t> bytes(size, 0xEE);
    std::size_t done = size;
    map.Read(address, bytes.data(), done);
    EXPECT_EQ(done, size);
    return bytes;
  }
  void write(std::uint64_t address, std::vector<std::uint8_t> bytes) {
    std::size_t done = bytes.size();
    map.Write(address, bytes.data(), done);
    EXPECT_EQ(done, bytes.size());
  }
  void writeText(std::uint64_t address, const std::string& text) {
    write(address, std::vector<std::uint8_t>(text.begin(), text.end()));
  }
  void expectReadFails(std::uint64_t address, std::size_t size, std::int32_t code, const char* message) {
    std::uint8_t bytes[64];  // refused ranges transfer nothing, whatever their size
    std::size_t done = size;
    EXPECT_GENTL_ERROR(map.ReadImpl_(address, bytes, done), code, message);
    EXPECT_EQ(done, size) << "a refused range must leave the caller's size untouched";
  }

  struct Exposed : MixedRegisters {
    void ReadImpl_(std::uint64_t a, void* d, std::size_t& s) { ReadImpl(a, d, s); }
  } map;
};

TEST_F(RegisterMapTest, IntegersReadLittleEndianInPartsAndAcrossAdjacentRegisters) {
  EXPECT_EQ(read(0x00, 4), (std::vector<std::uint8_t>{0x44, 0x33, 0x22, 0x11}));
  EXPECT_EQ(read(0x02, 2), (std::vector<std::uint8_t>{0x22, 0x11}));
  EXPECT_EQ(read(0x13, 2), (std::vector<std::uint8_t>{0x05, 0x04}));
  EXPECT_EQ(read(0x02, 4), (std::vector<std::uint8_t>{0x22, 0x11, 0xD4, 0xC3}));
  double value;
  const auto bytes = read(0x18, 8);
  std::memcpy(&value, bytes.data(), 8);
  EXPECT_EQ(value, 1.5);
}

TEST_F(RegisterMapTest, GapsAreOutOfSpaceAtTheEndAndDeniedInTheMiddle) {
  expectReadFails(0x1C, 8, GC_ERR_INVALID_ADDRESS, "The read request falls out of the module's register space");
  expectReadFails(0x18, 0x30, GC_ERR_ACCESS_DENIED,
                  "One or more registers in the requested read range are not readable");
  expectReadFails(0x08, 4, GC_ERR_ACCESS_DENIED, "One or more registers in the requested read range are not readable");
}

TEST_F(RegisterMapTest, RangeFailuresComeInOrder) {
  expectReadFails(0x70, 1, GC_ERR_INVALID_ADDRESS, "The read request falls out of the module's register map space");
  expectReadFails(0x00, 0, GC_ERR_INVALID_ADDRESS, "The read request of zero size is considered invalid");
  // A size that wraps past 2^64 ends below its start address. The space test compares only the
  // start and the wrapped end, so the wrap is what gets reported, wherever the request starts.
  expectReadFails(0x10, std::numeric_limits<std::size_t>::max() - 7, GC_ERR_INVALID_ADDRESS,
                  "The read request of unsupported (too large) size");
  expectReadFails(0xFFFFFFFFFFFFFFF0, 0x20, GC_ERR_INVALID_ADDRESS, "The read request of unsupported (too large) size");
  // A wrapped end that lands beyond the space is out of space first.
  expectReadFails(0x100, std::numeric_limits<std::size_t>::max() - 0x7F, GC_ERR_INVALID_ADDRESS,
                  "The read request falls out of the module's register map space");
}

TEST_F(RegisterMapTest, PartialIntegerWritesReadModifyWrite) {
  write(0x01, {0xAA, 0xBB});
  EXPECT_EQ(map.u32[10], 0x11BBAA44u);
  write(0x16, {0x99, 0x88});
  EXPECT_EQ(map.u64, 0x8899030405060708u);
  write(0x08, {1, 0, 0, 0});
  EXPECT_EQ(map.u32[12], 1u);
  std::uint8_t half[2] = {0, 0};
  std::size_t size = 2;
  EXPECT_GENTL_ERROR(map.Write(0x08, half, size), GC_ERR_ACCESS_DENIED,
                     "Partial register write (read-modify-write) required on an unreadable uint32 register.");
}

TEST_F(RegisterMapTest, StringWritesOverlayOrReplace) {
  writeText(0x40, "ab");
  EXPECT_EQ(map.text, "ab");
  map.text = "abcdef";
  writeText(0x42, "XY");
  EXPECT_EQ(map.text, "abXYef");
  writeText(0x45, "123");
  EXPECT_EQ(map.text, "abXYe123");
  std::size_t size = 1;
  EXPECT_GENTL_ERROR(map.Write(0x49, "Z", size), GC_ERR_INVALID_VALUE,
                     "Partial register write required beyond the end of the current string register length.");
  size = 1;
  EXPECT_GENTL_ERROR(map.Write(0x69, "Z", size), GC_ERR_ACCESS_DENIED,
                     "Partial register write (read-modify-write) required on an unreadable string register.");
}

TEST_F(RegisterMapTest, StringReadsAreNulPaddedPastTheText) {
  map.text = "abc";
  EXPECT_EQ(read(0x41, 4), (std::vector<std::uint8_t>{'b', 'c', 0, 0}));
  EXPECT_EQ(read(0x4E, 2), (std::vector<std::uint8_t>{0, 0}));
}

TEST_F(RegisterMapTest, RawReadStartsAtRegisterStartAndRawWriteIsReportedAsError) {
  EXPECT_EQ(read(0x54, 2), (std::vector<std::uint8_t>{1, 2}));
  const std::uint8_t bytes[3] = {9, 9, 9};
  std::size_t size = 3;
  EXPECT_GENTL_ERROR(map.Write(0x50, bytes, size), GC_ERR_ERROR,
                     "Unexpected register data type encountered in write operation");
  EXPECT_EQ(map.rawWrites, 1u);
  EXPECT_EQ(map.raw[0], 9);
}

TEST_F(RegisterMapTest, FailureInsideARangeReportsBytesAlreadyTransferred) {
  map.failUint64 = true;
  std::uint8_t bytes[12];
  std::size_t size = sizeof(bytes);
  EXPECT_THROW(map.Read(0x0C, bytes, size), std::logic_error);
  EXPECT_EQ(size, 4u) << "the register before the failing one was transferred";
  EXPECT_EQ(bytes[0], 7);
}

TEST(RegisterMapDeclaration, OverlappingRegistersAreRefused) {
  struct Overlapping : RegisterMap {
    void declare(std::uint64_t secondAddress) {
      declareRegisters({{1, 0x10, 8, RegisterType::Uint64, RegisterAccess::ReadOnly},
                        {2, secondAddress, 4, RegisterType::Uint32, RegisterAccess::ReadOnly}});
    }
  };
  for (std::uint64_t address : {0x0E, 0x14, 0x10}) {
    Overlapping map;
    EXPECT_THROW(
        {
          try {
            map.declare(address);
          } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "node insertion failed");
            throw;
          }
        },
        std::runtime_error)
        << address;
  }
  Overlapping adjacent;
  EXPECT_NO_THROW(adjacent.declare(0x18));
  EXPECT_EQ(adjacent.registers().size(), 2u);
}

TEST(RegisterMapPortInfo, AnswersEveryCommandWithItsType) {
  MixedRegisters map;
  char text[64];
  INFO_DATATYPE type = 0;
  std::size_t size = 0;
  for (auto [command, expected] : {std::pair{PORT_INFO_ID, "TestPort"},
                                   {PORT_INFO_VENDOR, "KORVANE IMAGING"},
                                   {PORT_INFO_MODULE, "TLTest"},
                                   {PORT_INFO_VERSION, "1.1"},
                                   {PORT_INFO_MODEL, "LmMockTL.cti"}}) {
    size = sizeof(text);
    map.GetPortInfo(command, type, text, size);
    EXPECT_STREQ(text, expected);
    EXPECT_EQ(size, std::strlen(expected) + 1);
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
  }
  for (auto [command, expected] : {std::pair{PORT_INFO_LITTLE_ENDIAN, 1},
                                   {PORT_INFO_BIG_ENDIAN, 0},
                                   {PORT_INFO_ACCESS_READ, 1},
                                   {PORT_INFO_ACCESS_WRITE, 1},
                                   {PORT_INFO_ACCESS_NA, 0},
                                   {PORT_INFO_ACCESS_NI, 0}}) {
    std::uint8_t flag = 0xFF;
    size = 1;
    map.GetPortInfo(command, type, &flag, size);
    EXPECT_EQ(flag, expected) << command;
    EXPECT_EQ(type, INFO_DATATYPE_BOOL8);
  }
  EXPECT_GENTL_ERROR(map.GetPortInfo(13, type, text, size), GC_ERR_NOT_IMPLEMENTED,
                     "Unknown register map port info command used");
}

}  // namespace
}  // namespace lumo::mockTL
