#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

// The pixel formats this producer knows, in one table: their GenICam Pixel Format Naming
// Convention (PFNC) names and 32-bit codes, and how their samples lie in memory. The configuration
// file, the camera, the image sources and decoders and the command line all read it from here.
// Bits 16 to 23 of a code are its bits per pixel.
namespace lumo::mockTL::pfnc {

struct PixelFormat {
  std::string_view name;
  std::uint32_t code;
  std::uint8_t channels;         // samples per pixel in memory
  std::uint8_t bitsPerSample;    // in memory: 8, 16, or 10 / 12 when packed
  std::uint8_t significantBits;  // of each sample
  bool packed;
  bool reversed;      // BGR order in memory
  bool configurable;  // a name a configuration file may give a stream
};

inline constexpr std::array kPixelFormats{
    PixelFormat{"Mono8", 0x01080001, 1, 8, 8, false, false, true},
    PixelFormat{"Mono10", 0x01100003, 1, 16, 10, false, false, false},
    PixelFormat{"Mono12", 0x01100005, 1, 16, 12, false, false, false},
    PixelFormat{"Mono14", 0x01100025, 1, 16, 14, false, false, false},
    PixelFormat{"Mono16", 0x01100007, 1, 16, 16, false, false, true},
    PixelFormat{"Mono10p", 0x010A0046, 1, 10, 10, true, false, false},
    PixelFormat{"Mono12p", 0x010C0047, 1, 12, 12, true, false, true},
    PixelFormat{"BayerGR8", 0x01080008, 1, 8, 8, false, false, false},
    PixelFormat{"BayerRG8", 0x01080009, 1, 8, 8, false, false, false},
    PixelFormat{"BayerGB8", 0x0108000A, 1, 8, 8, false, false, false},
    PixelFormat{"BayerBG8", 0x0108000B, 1, 8, 8, false, false, false},
    PixelFormat{"BayerGR10", 0x0110000C, 1, 16, 10, false, false, false},
    PixelFormat{"BayerRG10", 0x0110000D, 1, 16, 10, false, false, false},
    PixelFormat{"BayerGB10", 0x0110000E, 1, 16, 10, false, false, false},
    PixelFormat{"BayerBG10", 0x0110000F, 1, 16, 10, false, false, false},
    PixelFormat{"BayerGR12", 0x01100010, 1, 16, 12, false, false, false},
    PixelFormat{"BayerRG12", 0x01100011, 1, 16, 12, false, false, false},
    PixelFormat{"BayerGB12", 0x01100012, 1, 16, 12, false, false, false},
    PixelFormat{"BayerBG12", 0x01100013, 1, 16, 12, false, false, false},
    PixelFormat{"BayerGR16", 0x0110002E, 1, 16, 16, false, false, false},
    PixelFormat{"BayerRG16", 0x0110002F, 1, 16, 16, false, false, false},
    PixelFormat{"BayerGB16", 0x01100030, 1, 16, 16, false, false, false},
    PixelFormat{"BayerBG16", 0x01100031, 1, 16, 16, false, false, false},
    PixelFormat{"BayerBG10p", 0x010A0052, 1, 10, 10, true, false, false},
    PixelFormat{"BayerGB10p", 0x010A0054, 1, 10, 10, true, false, false},
    PixelFormat{"BayerGR10p", 0x010A0056, 1, 10, 10, true, false, false},
    PixelFormat{"BayerRG10p", 0x010A0058, 1, 10, 10, true, false, false},
    PixelFormat{"BayerBG12p", 0x010C0053, 1, 12, 12, true, false, true},
    PixelFormat{"BayerGB12p", 0x010C0055, 1, 12, 12, true, false, true},
    PixelFormat{"BayerGR12p", 0x010C0057, 1, 12, 12, true, false, true},
    PixelFormat{"BayerRG12p", 0x010C0059, 1, 12, 12, true, false, true},
    PixelFormat{"RGB8", 0x02180014, 3, 8, 8, false, false, true},
    PixelFormat{"BGR8", 0x02180015, 3, 8, 8, false, true, false},
    PixelFormat{"RGBa8", 0x02200016, 4, 8, 8, false, false, false},
    PixelFormat{"BGRa8", 0x02200017, 4, 8, 8, false, true, false},
    PixelFormat{"RGB10", 0x02300018, 3, 16, 10, false, false, true},
    PixelFormat{"BGR10", 0x02300019, 3, 16, 10, false, true, false},
    PixelFormat{"RGB12", 0x0230001A, 3, 16, 12, false, false, false},
    PixelFormat{"BGR12", 0x0230001B, 3, 16, 12, false, true, false},
    PixelFormat{"RGB14", 0x0230005E, 3, 16, 14, false, false, false},
    PixelFormat{"BGR14", 0x0230004A, 3, 16, 14, false, true, false},
    PixelFormat{"RGB16", 0x02300033, 3, 16, 16, false, false, false},
    PixelFormat{"BGR16", 0x0230004B, 3, 16, 16, false, true, false},
    PixelFormat{"RGBa10", 0x0240005F, 4, 16, 10, false, false, false},
    PixelFormat{"BGRa10", 0x0240004C, 4, 16, 10, false, true, false},
    PixelFormat{"RGBa12", 0x02400061, 4, 16, 12, false, false, false},
    PixelFormat{"BGRa12", 0x0240004E, 4, 16, 12, false, true, false},
    PixelFormat{"RGBa14", 0x02400063, 4, 16, 14, false, false, false},
    PixelFormat{"BGRa14", 0x02400050, 4, 16, 14, false, true, false},
    PixelFormat{"RGBa16", 0x02400064, 4, 16, 16, false, false, false},
    PixelFormat{"BGRa16", 0x02400051, 4, 16, 16, false, true, false},
};

// The row of `code` or of `name`, or none.
constexpr const PixelFormat* find(std::uint32_t code) {
  for (const PixelFormat& format : kPixelFormats) {
    if (format.code == code) return &format;
  }
  return nullptr;
}
constexpr const PixelFormat* find(std::string_view name) {
  for (const PixelFormat& format : kPixelFormats) {
    if (format.name == name) return &format;
  }
  return nullptr;
}
// The code of a name in the table; a name outside it does not compile where a constant is needed.
consteval std::uint32_t codeOf(std::string_view name) { return find(name)->code; }

inline constexpr std::uint32_t Mono8 = codeOf("Mono8");
inline constexpr std::uint32_t Mono10 = codeOf("Mono10");
inline constexpr std::uint32_t Mono12 = codeOf("Mono12");
inline constexpr std::uint32_t Mono14 = codeOf("Mono14");
inline constexpr std::uint32_t Mono16 = codeOf("Mono16");
inline constexpr std::uint32_t Mono10p = codeOf("Mono10p");
inline constexpr std::uint32_t Mono12p = codeOf("Mono12p");
inline constexpr std::uint32_t BayerGR8 = codeOf("BayerGR8");
inline constexpr std::uint32_t BayerRG8 = codeOf("BayerRG8");
inline constexpr std::uint32_t BayerGB8 = codeOf("BayerGB8");
inline constexpr std::uint32_t BayerBG8 = codeOf("BayerBG8");
inline constexpr std::uint32_t BayerGR10 = codeOf("BayerGR10");
inline constexpr std::uint32_t BayerRG10 = codeOf("BayerRG10");
inline constexpr std::uint32_t BayerGB10 = codeOf("BayerGB10");
inline constexpr std::uint32_t BayerBG10 = codeOf("BayerBG10");
inline constexpr std::uint32_t BayerGR12 = codeOf("BayerGR12");
inline constexpr std::uint32_t BayerRG12 = codeOf("BayerRG12");
inline constexpr std::uint32_t BayerGB12 = codeOf("BayerGB12");
inline constexpr std::uint32_t BayerBG12 = codeOf("BayerBG12");
inline constexpr std::uint32_t BayerGR16 = codeOf("BayerGR16");
inline constexpr std::uint32_t BayerRG16 = codeOf("BayerRG16");
inline constexpr std::uint32_t BayerGB16 = codeOf("BayerGB16");
inline constexpr std::uint32_t BayerBG16 = codeOf("BayerBG16");
inline constexpr std::uint32_t BayerBG10p = codeOf("BayerBG10p");
inline constexpr std::uint32_t BayerGB10p = codeOf("BayerGB10p");
inline constexpr std::uint32_t BayerGR10p = codeOf("BayerGR10p");
inline constexpr std::uint32_t BayerRG10p = codeOf("BayerRG10p");
inline constexpr std::uint32_t BayerBG12p = codeOf("BayerBG12p");
inline constexpr std::uint32_t BayerGB12p = codeOf("BayerGB12p");
inline constexpr std::uint32_t BayerGR12p = codeOf("BayerGR12p");
inline constexpr std::uint32_t BayerRG12p = codeOf("BayerRG12p");
inline constexpr std::uint32_t RGB8 = codeOf("RGB8");
inline constexpr std::uint32_t BGR8 = codeOf("BGR8");
inline constexpr std::uint32_t RGBa8 = codeOf("RGBa8");
inline constexpr std::uint32_t BGRa8 = codeOf("BGRa8");
inline constexpr std::uint32_t RGB10 = codeOf("RGB10");
inline constexpr std::uint32_t BGR10 = codeOf("BGR10");
inline constexpr std::uint32_t RGB12 = codeOf("RGB12");
inline constexpr std::uint32_t BGR12 = codeOf("BGR12");
inline constexpr std::uint32_t RGB14 = codeOf("RGB14");
inline constexpr std::uint32_t BGR14 = codeOf("BGR14");
inline constexpr std::uint32_t RGB16 = codeOf("RGB16");
inline constexpr std::uint32_t BGR16 = codeOf("BGR16");
inline constexpr std::uint32_t RGBa10 = codeOf("RGBa10");
inline constexpr std::uint32_t BGRa10 = codeOf("BGRa10");
inline constexpr std::uint32_t RGBa12 = codeOf("RGBa12");
inline constexpr std::uint32_t BGRa12 = codeOf("BGRa12");
inline constexpr std::uint32_t RGBa14 = codeOf("RGBa14");
inline constexpr std::uint32_t BGRa14 = codeOf("BGRa14");
inline constexpr std::uint32_t RGBa16 = codeOf("RGBa16");
inline constexpr std::uint32_t BGRa16 = codeOf("BGRa16");

constexpr std::uint32_t bitsPerPixel(std::uint32_t code) { return (code >> 16) & 0xFF; }

}  // namespace lumo::mockTL::pfnc
