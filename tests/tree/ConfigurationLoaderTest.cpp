// The configuration loader called directly, on files named through a host export: schema,
// defaults and the rule that a broken file leaves what was read before it in force.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "source/ImageFiles.h"
#include "support/ScopedEnvironment.h"
#include "tree/ConfigurationLoader.h"

namespace lumo::mockTL {
namespace {

using testing_support::NoConfigurationFile;
using testing_support::TemporaryDirectory;

std::string hostPath;
const char* hostExport() { return hostPath.c_str(); }

// Loads `text` as the configuration file and returns the result with what went to standard output.
std::pair<SystemConfiguration, std::string> loadText(
    const std::string& text, ConfigurationLoader::Images images = ConfigurationLoader::Images::Load) {
  TemporaryDirectory directory;
  hostPath = directory.write("LmMockTL.json", text).string();
  ::testing::internal::CaptureStdout();
  SystemConfiguration loaded = ConfigurationLoader::load(&hostExport, images);
  return {std::move(loaded), ::testing::internal::GetCapturedStdout()};
}

SystemConfiguration load(const std::string& text) {
  auto [loaded, printed] = loadText(text);
  EXPECT_EQ(printed, "");
  return loaded;
}

const StreamConfiguration& onlyStream(const SystemConfiguration& system) {
  return system.interfaces.at(0).devices.at(0).streams.at(0);
}

// A file with one interface and one device whose stream list is `streams`.
std::string withStreams(const std::string& streams) {
  return R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "Cam", "Streams": [)" + streams + "]}]}]}";
}

// The stream that a file with one stream of these members (besides its ID) loads to.
StreamConfiguration loadStream(const std::string& members) {
  return onlyStream(load(withStreams(R"({"ID": "S", )" + members + "}")));
}

class ConfigurationLoaderTest : public ::testing::Test {
 protected:
  NoConfigurationFile noFile;
};

// The ids and texts of the built-in tree are checked through the built producer.
TEST_F(ConfigurationLoaderTest, NoFileAnywhereGivesTheBuiltInStreamsOfFourFormats) {
  ::testing::internal::CaptureStdout();
  const SystemConfiguration system = ConfigurationLoader::load(nullptr);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  const auto& streams = system.interfaces.at(0).devices.at(0).streams;
  ASSERT_EQ(streams.size(), 4u);
  const std::uint32_t formats[] = {0x01080001, 0x01100007, 0x02180014, 0x02300018};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(streams[i].pixelFormat, formats[i]) << i;
    EXPECT_EQ(streams[i].width, 1920u);
    EXPECT_EQ(streams[i].height, 1080u);
  }
}

TEST_F(ConfigurationLoaderTest, MissingListsAreEmptyAndTheSystemIdDefaults) {
  EXPECT_EQ(load("{}").id, "LmMockTL.cti");
  EXPECT_TRUE(load("{}").interfaces.empty());
  const SystemConfiguration system =
      load(R"({"ID": "Bench", "Interfaces": [{"ID": "Empty"}, {"ID": "I", "Devices": [{"ID": "Cam"}]}]})");
  EXPECT_EQ(system.id, "Bench");
  EXPECT_TRUE(system.interfaces.at(0).devices.empty());
  EXPECT_TRUE(system.interfaces.at(1).devices.at(0).streams.empty());
}

// Each text of a device record: its member in the file, and its value when the member is missing.
struct DeviceText {
  const char* member;
  std::string DeviceConfiguration::*field;
  const char* fallback;
};

TEST_F(ConfigurationLoaderTest, DeviceTextsAreReadOrFallBackToTheIdAndTheDefaults) {
  const DeviceText texts[] = {{"SerialNumber", &DeviceConfiguration::serialNumber, "Cam"},
                              {"UserName", &DeviceConfiguration::userName, "Cam"},
                              {"DisplayName", &DeviceConfiguration::displayName, "Cam"},
                              {"Model", &DeviceConfiguration::model, "Mock Camera (Default)"},
                              {"Vendor", &DeviceConfiguration::vendor, "KORVANE IMAGING"},
                              {"Version", &DeviceConfiguration::version, "1.0"}};
  std::string members;
  for (const auto& text : texts) members += std::string(", \"") + text.member + "\": \"" + text.member + " value\"";
  const auto device = [&](const std::string& extra) {
    return load(R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "Cam")" + extra + "}]}]}")
        .interfaces.at(0)
        .devices.at(0);
  };
  const DeviceConfiguration bare = device("");
  const DeviceConfiguration full = device(members + R"(, "TriggerMode": "Software", "RemoveAfterFrames": 9)");
  EXPECT_EQ(std::tuple(bare.softwareTrigger, bare.removeAfterFrames), std::tuple(false, 0u));
  EXPECT_EQ(std::tuple(full.softwareTrigger, full.removeAfterFrames), std::tuple(true, 9u));
  EXPECT_FALSE(device(R"(, "TriggerMode": "Off")").softwareTrigger);
  for (const auto& text : texts) {
    EXPECT_EQ(bare.*text.field, text.fallback) << text.member;
    EXPECT_EQ(full.*text.field, std::string(text.member) + " value");
  }
}

TEST_F(ConfigurationLoaderTest, StreamFileStreamsReadNoImageSettings) {
  const StreamConfiguration stream =
      loadStream(R"("StreamFilePath": "/data/run", "Width": 640, "PixelFormat": "Mono8")");
  EXPECT_TRUE(stream.isStreamFile);
  EXPECT_EQ(stream.path, "/data/run");
  EXPECT_EQ(stream.width, 1920u);
  EXPECT_EQ(stream.pixelFormat, 0u);
}

TEST_F(ConfigurationLoaderTest, FractionalNumbersInsideTheirRangeAreTruncated) {
  const StreamConfiguration stream = loadStream(R"("Width": 640.9, "Height": -0.5, "PaddingMode": -2147483648.5)");
  EXPECT_EQ(stream.width, 640u);
  EXPECT_EQ(stream.height, 0u);
  EXPECT_EQ(stream.paddingMode, -2147483648);
}

TEST_F(ConfigurationLoaderTest, ImagesAreLoadedOnceAndTheFirstGivesTheStreamItsGeometry) {
  TemporaryDirectory images;
  testing_support::writeImage(images.path() / "b.png", testing_support::makePicture(40, 30, 3, 8));
  testing_support::writeImage(images.path() / "a.png", testing_support::makePicture(40, 30, 3, 8));
  const StreamConfiguration stream = loadStream(R"("ImageDirectoryPath": ")" + images.path().string() +
                                                R"(", "ImageOrder": ["b.png"], "Width": 640, "Height": 480,
      "PixelFormat": "Mono8", "PaddingPixelCountX": 8)");
  EXPECT_EQ(*stream.imageDirectoryPath, images.path());
  EXPECT_EQ(*stream.imageOrder, std::vector<std::filesystem::path>{"b.png"});
  ASSERT_EQ(stream.images.size(), 1u);
  EXPECT_EQ(stream.images[0].path, images.path() / "b.png");
  EXPECT_EQ(stream.width, 40u);
  EXPECT_EQ(stream.height, 30u);
  EXPECT_EQ(stream.pixelFormat, 0x02180014u);
  EXPECT_EQ(stream.paddingPixelCountX, 8u);
}

TEST_F(ConfigurationLoaderTest, ReadingWithoutImagesNeverTouchesTheImageDirectory) {
  const std::string text = R"({"ID": "Rig", "Interfaces": [{"ID": "I", "Devices": [{"ID": "Cam",
      "Streams": [{"ID": "S", "ImageDirectoryPath": "/no/such/directory", "Width": 64}]}]}]})";
  const auto [system, printed] = loadText(text, ConfigurationLoader::Images::Skip);
  EXPECT_EQ(printed, "");
  EXPECT_EQ(system.id, "Rig");
  EXPECT_TRUE(onlyStream(system).images.empty());
  EXPECT_EQ(onlyStream(system).width, 64u);
  EXPECT_NE(loadText(text).second, "");
}

struct FormatCase {
  const char* name;
  const char* member;  // the "PixelFormat" member as it stands in the file, or empty for none
  std::uint32_t code;
};

class PixelFormatName : public ConfigurationLoaderTest, public ::testing::WithParamInterface<FormatCase> {};

TEST_P(PixelFormatName, StoresItsCode) {
  const std::string member = GetParam().member;
  EXPECT_EQ(loadStream(member.empty() ? R"("Width": 8)" : member).pixelFormat, GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(Table, PixelFormatName,
                         ::testing::Values(FormatCase{"Mono12p", R"("PixelFormat": "Mono12p")", 0x010C0047},
                                           FormatCase{"BayerGR12p", R"("PixelFormat": "BayerGR12p")", 0x010C0057},
                                           FormatCase{"FormatOutsideTheTable", R"("PixelFormat": "Mono10")", 0},
                                           FormatCase{"NamesAreCaseSensitive", R"("PixelFormat": "mono8")", 0},
                                           FormatCase{"NoFormatInTheFile", "", 0},
                                           FormatCase{"EmptyNameStoresNoFormat", R"("PixelFormat": "")", 0}),
                         [](const auto& info) { return std::string(info.param.name); });

struct BrokenCase {
  const char* name;
  std::string text;
  const char* printed;              // the start of the message line on standard output
  const char* id = "LmMockTL.cti";  // the system id read before the failure, or the default
};

void keepsTheBuiltInTree(const SystemConfiguration& system) {
  ASSERT_EQ(system.interfaces.size(), 1u);
  EXPECT_EQ(system.interfaces[0].id, "MyInterface0");
  EXPECT_EQ(system.interfaces[0].devices.at(0).streams.size(), 4u);
}

class BrokenFile : public ConfigurationLoaderTest, public ::testing::WithParamInterface<BrokenCase> {};

TEST_P(BrokenFile, PrintsTheMessageAndKeepsWhatWasReadBefore) {
  auto [system, printed] = loadText(GetParam().text);
  EXPECT_EQ(printed.rfind(GetParam().printed, 0), 0u) << printed;
  EXPECT_EQ(printed.find('\n'), printed.size() - 1) << "one line: " << printed;
  EXPECT_EQ(system.id, GetParam().id);
  keepsTheBuiltInTree(system);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BrokenFile,
    ::testing::Values(BrokenCase{"EmptyFile", "", "[json.exception.parse_error.101]"},
                      BrokenCase{"InterfacesNotAnArray", R"({"ID": "Read", "Interfaces": {"ID": "I"}})",
                                 "[json.exception.type_error.302] type must be array, but is object", "Read"},
                      BrokenCase{"WidthNotANumber", withStreams(R"({"ID": "S", "Width": "wide"})"),
                                 "[json.exception.type_error.302] type must be number, but is string"},
                      // Converting these with a plain cast was undefined behaviour (found by fuzzing the loader).
                      BrokenCase{"WidthBeyond32Bits", withStreams(R"({"ID": "S", "Width": 1e30})"),
                                 "value of 'Width' is outside the range of its field"},
                      BrokenCase{"NegativeFractionalHeight", withStreams(R"({"ID": "S", "Height": -1.5})"),
                                 "value of 'Height' is outside the range of its field"},
                      BrokenCase{"PaddingModeBeyond32Bits", withStreams(R"({"ID": "S", "PaddingMode": 3e9})"),
                                 "value of 'PaddingMode' is outside the range of its field"},
                      BrokenCase{"IdNotAString", R"({"ID": 7})",
                                 "[json.exception.type_error.302] type must be string, but is number"},
                      BrokenCase{"InterfaceWithoutId", R"({"Interfaces": [{"ID": "A"}, {"Devices": []}]})",
                                 "[json.exception.out_of_range.403] key 'ID' not found"},
                      BrokenCase{"ImageDirectoryMissing",
                                 withStreams(R"({"ID": "S", "ImageDirectoryPath": "/nonexistent-lmmocktl-images"})"),
                                 "filesystem error: directory_iterator::directory_iterator: No such file or directory "
                                 "[/nonexistent-lmmocktl-images]"},
                      BrokenCase{"FaultEveryZeroFrames", withStreams(R"({"ID": "S", "LostFrameEvery": 0})"),
                                 "value of 'LostFrameEvery' must be a whole number of at least 1"},
                      BrokenCase{"FaultEveryNotANumber", withStreams(R"({"ID": "S", "ErrorEventEvery": "often"})"),
                                 "value of 'ErrorEventEvery' must be a whole number of at least 1"},
                      BrokenCase{"UnknownTriggerMode",
                                 R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "C", "TriggerMode": "On"}]}]})",
                                 "value of 'TriggerMode' must be \"Off\" or \"Software\", not \"On\""},
                      BrokenCase{"RemovalAfterFractionalFrames",
                                 R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "C", "RemoveAfterFrames": 1.5}]}]})",
                                 "value of 'RemoveAfterFrames' must be a whole number of at least 1"},
                      BrokenCase{"SecondStreamBroken", withStreams(R"({"ID": "S"}, {"Width": 1})"),
                                 "[json.exception.out_of_range.403]"}),
    [](const auto& info) { return std::string(info.param.name); });

// Found by fuzzing the loader: copying the interface list recursed once per nesting level.
TEST_F(ConfigurationLoaderTest, DeeplyNestedListElementIsRefusedWithoutExhaustingTheStack) {
  constexpr std::size_t kDepth = 100000;
  auto [system, printed] = loadText(R"({"Interfaces": [)" + std::string(kDepth, '[') + std::string(kDepth, ']') + "]}");
  EXPECT_EQ(printed.rfind("[json.exception.type_error.304] cannot use at() with array", 0), 0u) << printed;
  keepsTheBuiltInTree(system);
}

TEST_F(ConfigurationLoaderTest, DirectoryInPlaceOfTheFileIsTakenAndKeepsTheBuiltInTree) {
  TemporaryDirectory directory;
  hostPath = directory.path().string();
  ::testing::internal::CaptureStdout();
  const SystemConfiguration system = ConfigurationLoader::load(&hostExport);
  const std::string printed = ::testing::internal::GetCapturedStdout();
  EXPECT_FALSE(printed.empty());
  EXPECT_EQ(printed.back(), '\n');
  keepsTheBuiltInTree(system);
}

TEST_F(ConfigurationLoaderTest, LocateTriesHostVariableWorkingDirectoryThenLumodata) {
  TemporaryDirectory work;
  testing_support::ScopedWorkingDirectory inWork(work.path());
  EXPECT_FALSE(ConfigurationLoader::locate(nullptr).has_value());

  TemporaryDirectory data;
  const auto fromData = data.write("drivers/LmMockTL.json", "{}");
  testing_support::ScopedVariable lumodata("LUMODATA", data.path().string());
  EXPECT_EQ(ConfigurationLoader::locate(nullptr), fromData);

  work.write("LmMockTL.json", "{}");
  EXPECT_EQ(ConfigurationLoader::locate(nullptr), "LmMockTL.json");

  const auto fromVariable = work.write("variable.json", "{}");
  testing_support::ScopedVariable variable("LMMOCKTL_CONFIG", fromVariable.string());
  EXPECT_EQ(ConfigurationLoader::locate(nullptr), fromVariable);

  hostPath = (work.path() / "missing.json").string();
  EXPECT_EQ(ConfigurationLoader::locate(&hostExport), fromVariable) << "a host path that does not exist is passed over";
  hostPath = work.write("host.json", "{}").string();
  EXPECT_EQ(ConfigurationLoader::locate(&hostExport), hostPath);
}

}  // namespace
}  // namespace lumo::mockTL
