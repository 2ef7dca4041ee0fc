// lmmocktl against the built LmMockTL.cti, as a user runs it: what it prints, the exit codes and
// the files it writes, checked against what the producer delivered.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tools/PngFile.h"

namespace {

namespace fs = std::filesystem;

std::string quoted(const std::string& word) {
  std::string text = "'";
  for (char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + "'";
}

std::string fileBytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// One run of the built lmmocktl: its exit code and what it printed.
struct CliRun {
  int exitCode = -1;
  std::string out;
  std::string err;

  // Runs lmmocktl with `arguments` in `folder`, with LMMOCKTL_CONFIG naming `configuration`.
  static CliRun run(const std::vector<std::string>& arguments, const fs::path& folder, const fs::path& configuration) {
    std::string command = "cd " + quoted(folder.string()) + " && LMMOCKTL_CONFIG=" + quoted(configuration) + " ";
    command += quoted(LMMOCKTL_CLI_PATH);
    for (const std::string& argument : arguments) command += " " + quoted(argument);
    command += " >" + quoted((folder / "cli.out").string()) + " 2>" + quoted((folder / "cli.err").string());
    const int status = std::system((command + " </dev/null").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), fileBytes(folder / "cli.out"),
            fileBytes(folder / "cli.err")};
  }
};

// Fails the test unless `text` holds each of `parts`, one after the other.
void expectInOrder(const std::string& text, std::initializer_list<std::string> parts) {
  std::size_t at = 0;
  for (const std::string& part : parts) {
    const std::size_t found = text.find(part, at);
    EXPECT_NE(found, std::string::npos) << "\"" << part << "\" missing or out of order in:\n" << text;
    if (found != std::string::npos) at = found + part.size();
  }
}

// Two interfaces; Cam0 streams one format of each family that keeps samples in bytes, Cam1 the
// packed and padded ones.
constexpr const char* kTwoInterfaces = R"({
  "ID": "CliBench",
  "Interfaces": [
    {"ID": "Left", "Devices": [
      {"ID": "Cam0", "Model": "Bench Camera", "Vendor": "Bench Optics", "SerialNumber": "SN-0042", "Streams": [
        {"ID": "Mono8", "PixelFormat": "Mono8", "Width": 64, "Height": 48},
        {"ID": "Mono16", "PixelFormat": "Mono16", "Width": 64, "Height": 48},
        {"ID": "RGB8", "PixelFormat": "RGB8", "Width": 33, "Height": 9},
        {"ID": "RGB10", "PixelFormat": "RGB10", "Width": 33, "Height": 9}]}]},
    {"ID": "Right", "Devices": [
      {"ID": "Cam1", "Model": "Packed Camera", "Streams": [
        {"ID": "Mono12p", "PixelFormat": "Mono12p", "Width": 61, "Height": 7,
         "PaddingMode": 1, "PaddingPixelCountX": 3, "PaddingLineCountY": 2},
        {"ID": "BayerRG12p", "PixelFormat": "BayerRG12p", "Width": 40, "Height": 30}]}]}]
})";

class LmMockTLCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "lmmocktl-cli-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    configuration_ = folder_ / "bench.json";
    std::ofstream(configuration_) << kTwoInterfaces;
  }
  void TearDown() override { fs::remove_all(folder_); }

  CliRun run(const std::vector<std::string>& arguments) const {
    return CliRun::run(arguments, folder_, configuration_);
  }

  fs::path folder_;
  fs::path configuration_;
};

TEST_F(LmMockTLCommand, ListShowsEveryInterfaceWithItsDevicesAndStreams) {
  const CliRun result = run({"list"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  expectInOrder(result.out,
                {"Producer " LMMOCKTL_CTI_PATH, "GenTL 1.6", "System CliBench (2 interfaces)", "├─ Interface Left",
                 "Device Cam0: Bench Optics Bench Camera, serial SN-0042, available (read/write)",
                 "Stream Mono8: Mono8, 64 x 48", "Stream RGB10", "└─ Interface Right",
                 "Device Cam1: ", "Stream Mono12p: Mono12p, 61 x 7", "└─ Stream BayerRG12p"});
}

TEST_F(LmMockTLCommand, FeaturesListingShowsValuesAccessAndEnumerationEntries) {
  const CliRun result = run({"features", "Cam1"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  // In the description's category order.
  expectInOrder(result.out, {"DeviceModelName                    Packed Camera",
                             "AcquisitionStart                   (command)                WO",
                             "PixelFormat                        Mono12p                  RW     {Mono16, Mono8,",
                             "Width                              61                       RW"});
}

// A write is checked through a register the producer derives from it: PayloadSize follows Width
// and PixelFormat only if the writes reached the camera.
TEST_F(LmMockTLCommand, FeatureWritesReachTheCameraInOrder) {
  const CliRun result = run({"features", "Cam0", "Width=40", "Width", "PixelFormat=Mono16", "PayloadSize",
                             "SourceSelector=Source2", "PixelFormat", "Width"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out,
            "Width = 40\n"
            "Width = 40\n"
            "PixelFormat = Mono16\n"
            "PayloadSize = 3840\n"  // 40 x 48 x 2 bytes
            "SourceSelector = Source2\n"
            "PixelFormat = RGB8\n"
            "Width = 33\n");
}

// Executing the file-open command changes the operation status the camera reports.
TEST_F(LmMockTLCommand, CommandsExecuteOnAssignment) {
  const CliRun result = run({"features", "FileOperationStatus", "FileSelector=TestFile1", "FileOpenMode=Read",
                             "FileOperationSelector=Open", "FileOperationExecute=", "FileOperationStatus",
                             "FileOperationSelector=Close", "FileOperationExecute=1"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  expectInOrder(result.out,
                {"FileOperationStatus = Failure\n", "FileOperationExecute executed\nFileOperationStatus = Success\n"});
}

TEST_F(LmMockTLCommand, ModuleOptionReadsTheOtherModulesPorts) {
  const CliRun system = run({"features", "--module", "system", "TLVendorName"});
  ASSERT_EQ(system.exitCode, 0) << system.err;
  EXPECT_EQ(system.out.rfind("TLVendorName = ", 0), 0u) << system.out;
  const CliRun stream = run({"features", "Cam0", "--module", "stream", "--stream", "RGB8", "StreamID"});
  ASSERT_EQ(stream.exitCode, 0) << stream.err;
  EXPECT_EQ(stream.out, "StreamID = RGB8\n");
  const CliRun iface = run({"features", "Cam1", "--module", "interface"});
  ASSERT_EQ(iface.exitCode, 0) << iface.err;
  EXPECT_NE(iface.out.find("Right"), std::string::npos) << iface.out;
}

struct FailureCase {
  const char* name;
  std::vector<std::string> arguments;
  int exitCode;
  std::string message;  // the whole first line of standard error, up to the producer's own text
};

class LmMockTLFailure : public LmMockTLCommand, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(LmMockTLFailure, EndsWithOneLineAndItsExitCode) {
  const CliRun result = run(GetParam().arguments);
  EXPECT_EQ(result.exitCode, GetParam().exitCode) << result.err;
  EXPECT_EQ(result.err.rfind("lmmocktl: " + GetParam().message, 0), 0u) << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LmMockTLFailure,
    ::testing::Values(
        FailureCase{"UnknownDevice",
                    {"grab", "Nope", "--count", "1"},
                    1,
                    "unknown device Nope (devices: Left/Cam0, Right/Cam1)"},
        FailureCase{"UnknownFeature", {"features", "Cam0", "Bogus"}, 1, "unknown feature Bogus\n"},
        FailureCase{"RefusedValue", {"features", "PixelFormat=Mono99"}, 1, "cannot set PixelFormat to Mono99: "},
        FailureCase{"UnknownStream",
                    {"grab", "Cam1", "--stream", "Main"},
                    1,
                    "unknown stream Main (streams of Cam1: Mono12p, BayerRG12p)"},
        // The producer's own last error text ends the line.
        FailureCase{"ProducerRefusal",
                    {"features", "--module", "stream", "--stream", "Main"},
                    1,
                    "DevOpenDataStream(Main) failed: "},
        FailureCase{"ProducerRefusalThroughTheNodeMap",
                    {"features", "FileSelector=TestFile0", "FileOperationSelector=Open", "FileOperationExecute="},
                    1,
                    "cannot execute FileOperationExecute: [FileOperationExecute] [r_FileOperationExecute] "
                    "GCWritePort of 4 bytes at 0x20028 failed: std::exception caught. TestFile0 always fails to open"},
        // Any shared library that is not a producer will do: the PNG library lmmocktl links, by its soname.
        FailureCase{"NotAProducer",
                    {"--cti", "libpng16.so.16", "list"},
                    1,
                    "libpng16.so.16 is not a GenTL producer: it does not export GCGetInfo"},
        FailureCase{"MissingLibrary", {"list", "--cti", "/nonexistent.cti"}, 1, "cannot load /nonexistent.cti: "},
        FailureCase{"UnknownCommand", {"show"}, 2, "unknown command show"},
        FailureCase{"ZeroCount", {"grab", "--count", "0"}, 2, "--count takes a number from 1 to 1000000, not 0"},
        FailureCase{"UnknownOption", {"list", "--verbose"}, 2, "unknown option --verbose"},
        FailureCase{"UnknownModule", {"features", "--module", "camera"}, 2, "unknown module camera"}),
    [](const ::testing::TestParamInfo<FailureCase>& info) { return info.param.name; });

TEST_F(LmMockTLCommand, EveryCommandDescribesItself) {
  for (const char* command : {"list", "features", "grab", "record"}) {
    const CliRun result = run({command, "--help"});
    EXPECT_EQ(result.exitCode, 0) << command;
    EXPECT_EQ(result.out.rfind(std::string("usage: lmmocktl [--cti PATH] ") + command, 0), 0u) << result.out;
  }
}

// What a stream's frames should look like once written: the PNG layout and how to read the
// delivered bytes, written out here independently of the tool's unpacking.
struct GrabCase {
  const char* device;
  const char* stream;
  unsigned channels;
  unsigned bitDepth;
  unsigned significantBits;
  unsigned width;
  unsigned height;
  unsigned paddingX;
  // Sample `index` (in pixels of padded lines times channels) of the delivered bytes.
  std::uint16_t (*sample)(const std::vector<std::uint8_t>& raw, std::size_t index);
};

std::uint16_t byteSample(const std::vector<std::uint8_t>& raw, std::size_t index) { return raw.at(index); }
std::uint16_t wordSample(const std::vector<std::uint8_t>& raw, std::size_t index) {
  return static_cast<std::uint16_t>(raw.at(2 * index) | raw.at(2 * index + 1) << 8);
}
// 12p: two samples in three bytes, the first in the low twelve bits.
std::uint16_t packed12Sample(const std::vector<std::uint8_t>& raw, std::size_t index) {
  const std::size_t group = index / 2 * 3;
  if (index % 2 == 0) return static_cast<std::uint16_t>(raw.at(group) | (raw.at(group + 1) & 0x0F) << 8);
  return static_cast<std::uint16_t>(raw.at(group + 1) >> 4 | raw.at(group + 2) << 4);
}

class LmMockTLGrab : public LmMockTLCommand, public ::testing::WithParamInterface<GrabCase> {};

TEST_P(LmMockTLGrab, WritesEachDeliveredFrameAsAPngOfTheSameSamples) {
  const GrabCase& expected = GetParam();
  const CliRun result =
      run({"grab", expected.device, "--stream", expected.stream, "--count", "3", "--out", "frames", "--raw"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  expectInOrder(result.out,
                {std::string(expected.stream) + " (" + expected.stream + " " + std::to_string(expected.width) + " x " +
                     std::to_string(expected.height) + "): 3 frames in ",
                 "frame ids 0 to 2, 0 underruns", "6 files written:"});

  for (int frame = 0; frame < 3; ++frame) {
    const std::string stem = "frames/" + std::string(expected.stream) + "-00000" + std::to_string(frame);
    EXPECT_NE(result.out.find("  " + stem + ".png\n"), std::string::npos) << result.out;
    std::ifstream rawFile(folder_ / (stem + ".raw"), std::ios::binary);
    const std::vector<std::uint8_t> raw{std::istreambuf_iterator<char>(rawFile), {}};
    ASSERT_FALSE(raw.empty()) << stem;
    const lmmocktl::UnpackedImage image = lmmocktl::PngFile::read(folder_ / (stem + ".png"));
    ASSERT_EQ(image.width, expected.width);
    ASSERT_EQ(image.height, expected.height);
    ASSERT_EQ(image.channels, expected.channels);
    ASSERT_EQ(image.bitDepth, expected.bitDepth);
    EXPECT_EQ(image.significantBits, expected.significantBits);
    std::size_t mismatches = 0;
    bool varies = false;
    for (unsigned y = 0; y < expected.height; ++y) {
      for (unsigned x = 0; x < expected.width; ++x) {
        for (unsigned c = 0; c < expected.channels; ++c) {
          const std::size_t delivered =
              (std::size_t{y} * (expected.width + expected.paddingX) + x) * expected.channels + c;
          const std::uint16_t value = image.samples[(std::size_t{y} * expected.width + x) * expected.channels + c];
          if (value != expected.sample(raw, delivered) && ++mismatches < 5) {
            ADD_FAILURE() << stem << " sample (" << x << ", " << y << ", " << c << "): PNG " << value << ", delivered "
                          << expected.sample(raw, delivered);
          }
          varies = varies || value != image.samples[0];
        }
      }
    }
    EXPECT_EQ(mismatches, 0u) << stem;
    // A constant picture would pass for a stream of zeros: the generated images vary.
    if (expected.channels == 1) {
      EXPECT_TRUE(varies) << stem;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(PixelFormatFamilies, LmMockTLGrab,
                         ::testing::Values(GrabCase{"Cam0", "Mono8", 1, 8, 8, 64, 48, 0, byteSample},
                                           GrabCase{"Cam0", "Mono16", 1, 16, 16, 64, 48, 0, wordSample},
                                           GrabCase{"Cam0", "RGB8", 3, 8, 8, 33, 9, 0, byteSample},
                                           GrabCase{"Cam0", "RGB10", 3, 16, 10, 33, 9, 0, wordSample},
                                           GrabCase{"Cam1", "Mono12p", 1, 16, 12, 61, 7, 3, packed12Sample},
                                           GrabCase{"Cam1", "BayerRG12p", 1, 16, 12, 40, 30, 0, packed12Sample}),
                         [](const ::testing::TestParamInfo<GrabCase>& info) { return info.param.stream; });

TEST_F(LmMockTLCommand, GrabSetsFeaturesOnTheSelectedStreamBeforeStarting) {
  const CliRun result =
      run({"grab", "Cam0", "--stream", "Mono16", "--count", "1", "--out", "small", "Width=16", "Height=4"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const lmmocktl::UnpackedImage image = lmmocktl::PngFile::read(folder_ / "small" / "Mono16-000000.png");
  EXPECT_EQ(image.width, 16u);
  EXPECT_EQ(image.height, 4u);
  EXPECT_EQ(image.bitDepth, 16u);
}

TEST_F(LmMockTLCommand, GrabWithoutOutOnlyCountsEveryStream) {
  const CliRun result = run({"grab", "Cam1", "--stream", "all", "--count", "2"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  expectInOrder(result.out,
                {"Mono12p (Mono12p 61 x 7): 2 frames in ", "BayerRG12p (BayerRG12p 40 x 30): 2 frames in "});
  EXPECT_EQ(result.out.find("written"), std::string::npos) << result.out;
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 3);  // config, out, err
}

// Faults caught: triggers not executed, the frames that came not saved, or a report that misses
// incomplete frames, frame-id gaps, error events or the camera's removal.
TEST_F(LmMockTLCommand, TriggeredGrabSavesWhatArrivesAndReportsWhatWentWrong) {
  std::ofstream(configuration_) << R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "Cam", "TriggerMode": "Software",
      "RemoveAfterFrames": 4, "Streams": [{"ID": "A", "Width": 16, "Height": 4, "IncompleteFrameEvery": 2,
      "LostFrameEvery": 3, "ErrorEventEvery": 4}]}]}]})";
  const CliRun result = run({"grab", "--trigger", "6", "--out", "shots", "--timeout", "300"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  expectInOrder(result.out, {"A (Mono8 16 x 4): 4 frames in ", "frame ids 0 to 4",
                             "A: 2 incomplete, 1 lost (frame-id gaps), 1 error event; the camera was removed"});
  for (const char* file : {"A-000000.png", "A-000001.png", "A-000003.png", "A-000004.png"}) {
    EXPECT_TRUE(fs::exists(folder_ / "shots" / file)) << file;
  }
}

struct RecordCase {
  const char* mapping;  // GenDCFlowMappingConfiguration
  const char* flows;    // as the summary counts them
};

class LmMockTLRecord : public LmMockTLCommand, public ::testing::WithParamInterface<RecordCase> {};

// Recorded containers come back byte for byte from a stream configured with StreamFilePath,
// whether the camera sent them in one flow or split into several (composite buffers).
TEST_P(LmMockTLRecord, RecordedStreamFilesReplayThroughStreamFilePath) {
  const CliRun record =
      run({"record", "Cam0", "--stream", "Mono8", "--out", "rec/take.info", "--count", "4", "--frames-per-file", "3",
           "Width=32", "Height=8", std::string("GenDCFlowMappingConfiguration=") + GetParam().mapping});
  ASSERT_EQ(record.exitCode, 0) << record.err;
  expectInOrder(record.out, {std::string("Mono8: 4 containers of ") + GetParam().flows + " (",
                             "recorded into rec/take.info and 2 data files beside it"});
  const std::string recorded =
      fileBytes(folder_ / "rec" / "take-000000.gdcs") + fileBytes(folder_ / "rec" / "take-000001.gdcs");
  ASSERT_FALSE(recorded.empty());

  const fs::path replay = folder_ / "replay.json";
  std::ofstream(replay) << R"({"ID": "Replay", "Interfaces": [{"ID": "Bench", "Devices": [{"ID": "Player",
      "Streams": [{"ID": "Replay", "StreamFilePath": ")"
                        << (folder_ / "rec" / "take.info").string() << R"("}]}]}]})";
  const CliRun source = CliRun::run({"features", "Player", "StreamingDataSource"}, folder_, replay);
  ASSERT_EQ(source.exitCode, 0) << source.err;
  EXPECT_EQ(source.out, "StreamingDataSource = StreamFile\n");
  const CliRun grab = CliRun::run(
      {"grab", "Player", "--count", "4", "--out", "replayed", "--raw", "GenDCStreamingMode=On"}, folder_, replay);
  ASSERT_EQ(grab.exitCode, 0) << grab.err;
  for (int frame = 0; frame < 4; ++frame) {
    const std::string replayed = fileBytes(folder_ / "replayed" / ("Replay-00000" + std::to_string(frame) + ".raw"));
    ASSERT_FALSE(replayed.empty()) << frame;
    EXPECT_NE(recorded.find(replayed), std::string::npos) << "replayed frame " << frame << " was not recorded";
  }
}

INSTANTIATE_TEST_SUITE_P(FlowMappings, LmMockTLRecord,
                         ::testing::Values(RecordCase{"SingleFlow", "1 flow"}, RecordCase{"MultipleFlow", "2 flows"}),
                         [](const ::testing::TestParamInfo<RecordCase>& info) { return info.param.mapping; });

TEST_F(LmMockTLCommand, RecordRefusesAStreamWithoutGenDCContainersAndLeavesNoFiles) {
  const CliRun record = run({"record", "Cam0", "--out", "rec/take.info", "--count", "2", "GenDCStreamingMode=Off"});
  EXPECT_EQ(record.exitCode, 1);
  EXPECT_EQ(record.err, "lmmocktl: stream Mono8 delivers no GenDC flows (it streams plain images)\n");
  EXPECT_FALSE(fs::exists(folder_ / "rec" / "take.info"));
}

}  // namespace
