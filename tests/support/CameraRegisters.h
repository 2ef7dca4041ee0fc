#pragma once

#include <cstdint>

// Register addresses of the simulated camera, as its GenApi description declares them, for tests
// that drive it through the port DevGetPort hands out.
namespace testing_support::camera {

inline constexpr std::uint64_t kAcqActive = 0x0;
inline constexpr std::uint64_t kTriggerSoftware = 0x4;
inline constexpr std::uint64_t kTriggerCount = 0x8;
inline constexpr std::uint64_t kSleepBetweenFrames = 0x60;
inline constexpr std::uint64_t kSourceCount = 0x100;
inline constexpr std::uint64_t kSourceSelector = 0x200;
inline constexpr std::uint64_t kWidth = 0x1000;
inline constexpr std::uint64_t kHeight = 0x1500;
inline constexpr std::uint64_t kPaddingMode = 0x1600;
inline constexpr std::uint64_t kPaddingLineCountY = 0x1608;
inline constexpr std::uint64_t kPixelFormat = 0x2500;
inline constexpr std::uint64_t kPayloadSize = 0x2600;
inline constexpr std::uint64_t kTlParamsLocked = 0x9000;
inline constexpr std::uint64_t kTimestamp = 0x13400;
inline constexpr std::uint64_t kFileSelector = 0x20000;
inline constexpr std::uint64_t kFileSize = 0x20004;
inline constexpr std::uint64_t kFileAccessOffset = 0x20010;
inline constexpr std::uint64_t kFileOpenMode = 0x20014;
inline constexpr std::uint64_t kFileOperationSelector = 0x20018;
inline constexpr std::uint64_t kFileOperationResult = 0x20020;
inline constexpr std::uint64_t kFileOperationStatus = 0x20024;
inline constexpr std::uint64_t kFileOperationExecute = 0x20028;
inline constexpr std::uint64_t kFileAccessBuffer = 0x20030;
inline constexpr std::uint64_t kGenDCStreamingMode = 0x30000;
inline constexpr std::uint64_t kGenDCStreamingStatus = 0x30004;
inline constexpr std::uint64_t kGenDCFlowMappingTableSize = 0x30008;
inline constexpr std::uint64_t kGenDCDescriptorIsAvailable = 0x3000C;
inline constexpr std::uint64_t kGenDCDescriptorSize = 0x30010;
inline constexpr std::uint64_t kGenDCFlowMappingConfiguration = 0x30020;
inline constexpr std::uint64_t kGenDCPartType = 0x30024;
inline constexpr std::uint64_t kStreamingDataSource = 0x30028;
inline constexpr std::uint64_t kStreamFileStartFrameId = 0x3002C;
inline constexpr std::uint64_t kStreamFileMaxFrameId = 0x30034;
inline constexpr std::uint64_t kGenDCFlowMappingTable = 0x31000;
inline constexpr std::uint64_t kGenDCDescriptor = 0x32000;
inline constexpr std::uint64_t kTestGenDCImageCount = 0x40000;

}  // namespace testing_support::camera
