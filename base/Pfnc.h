#pragma once

#include <cstdint>

// GenICam Pixel Format Naming Convention (PFNC) 32-bit codes of the formats this producer knows.
// Bits 16 to 23 of a code are its bits per pixel.
namespace lumo::mockTL::pfnc {

inline constexpr std::uint32_t Mono8 = 0x01080001;
inline constexpr std::uint32_t Mono10 = 0x01100003;
inline constexpr std::uint32_t Mono12 = 0x01100005;
inline constexpr std::uint32_t Mono14 = 0x01100025;
inline constexpr std::uint32_t Mono16 = 0x01100007;
inline constexpr std::uint32_t Mono10p = 0x010A0046;
inline constexpr std::uint32_t Mono12p = 0x010C0047;

inline constexpr std::uint32_t BayerGR8 = 0x01080008;
inline constexpr std::uint32_t BayerRG8 = 0x01080009;
inline constexpr std::uint32_t BayerGB8 = 0x0108000A;
inline constexpr std::uint32_t BayerBG8 = 0x0108000B;
inline constexpr std::uint32_t BayerGR10 = 0x0110000C;
inline constexpr std::uint32_t BayerRG10 = 0x0110000D;
inline constexpr std::uint32_t BayerGB10 = 0x0110000E;
inline constexpr std::uint32_t BayerBG10 = 0x0110000F;
inline constexpr std::uint32_t BayerGR12 = 0x01100010;
inline constexpr std::uint32_t BayerRG12 = 0x01100011;
inline constexpr std::uint32_t BayerGB12 = 0x01100012;
inline constexpr std::uint32_t BayerBG12 = 0x01100013;
inline constexpr std::uint32_t BayerGR16 = 0x0110002E;
inline constexpr std::uint32_t BayerRG16 = 0x0110002F;
inline constexpr std::uint32_t BayerGB16 = 0x01100030;
inline constexpr std::uint32_t BayerBG16 = 0x01100031;
inline constexpr std::uint32_t BayerBG10p = 0x010A0052;
inline constexpr std::uint32_t BayerGB10p = 0x010A0054;
inline constexpr std::uint32_t BayerGR10p = 0x010A0056;
inline constexpr std::uint32_t BayerRG10p = 0x010A0058;
inline constexpr std::uint32_t BayerBG12p = 0x010C0053;
inline constexpr std::uint32_t BayerGB12p = 0x010C0055;
inline constexpr std::uint32_t BayerGR12p = 0x010C0057;
inline constexpr std::uint32_t BayerRG12p = 0x010C0059;

inline constexpr std::uint32_t RGB8 = 0x02180014;
inline constexpr std::uint32_t BGR8 = 0x02180015;
inline constexpr std::uint32_t RGBa8 = 0x02200016;
inline constexpr std::uint32_t BGRa8 = 0x02200017;
inline constexpr std::uint32_t RGB10 = 0x02300018;
inline constexpr std::uint32_t BGR10 = 0x02300019;
inline constexpr std::uint32_t RGB12 = 0x0230001A;
inline constexpr std::uint32_t BGR12 = 0x0230001B;
inline constexpr std::uint32_t RGB14 = 0x0230005E;
inline constexpr std::uint32_t BGR14 = 0x0230004A;
inline constexpr std::uint32_t RGB16 = 0x02300033;
inline constexpr std::uint32_t BGR16 = 0x0230004B;
inline constexpr std::uint32_t RGBa10 = 0x0240005F;
inline constexpr std::uint32_t BGRa10 = 0x0240004C;
inline constexpr std::uint32_t RGBa12 = 0x02400061;
inline constexpr std::uint32_t BGRa12 = 0x0240004E;
inline constexpr std::uint32_t RGBa14 = 0x02400063;
inline constexpr std::uint32_t BGRa14 = 0x02400050;
inline constexpr std::uint32_t RGBa16 = 0x02400064;
inline constexpr std::uint32_t BGRa16 = 0x02400051;

constexpr std::uint32_t bitsPerPixel(std::uint32_t code) { return (code >> 16) & 0xFF; }

}  // namespace lumo::mockTL::pfnc
