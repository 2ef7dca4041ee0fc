// The GenDC reader of lmmocktl on containers laid out by hand after the GenDC standard.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "tools/GenDcContainerView.h"

namespace {

using lmmocktl::GenDcContainerView;

class ContainerBytes {
 public:
  explicit ContainerBytes(std::size_t size) : bytes(size, 0) {}
  template <class T>
  void put(std::size_t offset, T value) {
    std::memcpy(bytes.data() + offset, &value, sizeof(T));
  }
  std::vector<std::uint8_t> bytes;
};

// One component with a 2D part (Mono8 4 x 2, one padding byte a line) and a JPEG part; the
// image data follows the descriptor.
ContainerBytes twoPartContainer() {
  ContainerBytes c(256);
  c.put<std::uint32_t>(0, 0x43444E47);
  c.put<std::uint16_t>(8, 0x1000);
  c.put<std::uint32_t>(52, 1);   // ComponentCount
  c.put<std::uint64_t>(56, 64);  // ComponentOffset[0]
  c.put<std::uint16_t>(64, 0x2000);
  c.put<std::uint16_t>(64 + 46, 2);    // PartCount
  c.put<std::uint64_t>(64 + 48, 128);  // PartOffset[0]
  c.put<std::uint64_t>(64 + 56, 192);  // PartOffset[1]
  c.put<std::uint16_t>(128, 0x4200);
  c.put<std::uint32_t>(128 + 8, 0x01080001);  // Mono8
  c.put<std::uint64_t>(128 + 24, 10);         // DataSize
  c.put<std::uint64_t>(128 + 32, 240);        // DataOffset
  c.put<std::uint32_t>(128 + 40, 4);
  c.put<std::uint32_t>(128 + 44, 2);
  c.put<std::uint16_t>(128 + 48, 1);  // PaddingX
  c.put<std::uint16_t>(192, 0x4201);  // JPEG
  for (std::uint8_t i = 0; i < 10; ++i) c.bytes[240 + i] = i;
  return c;
}

TEST(GenDcContainerView, ListsTwoDimensionalPartsWithTheirGeometryAndData) {
  const ContainerBytes c = twoPartContainer();
  const GenDcContainerView view(c.bytes.data(), c.bytes.size());
  ASSERT_EQ(view.imageParts().size(), 1u);
  EXPECT_EQ(view.otherParts(), 1u);
  const auto& part = view.imageParts().front();
  EXPECT_EQ(part.pixelFormat, 0x01080001u);
  EXPECT_EQ(part.width, 4u);
  EXPECT_EQ(part.height, 2u);
  EXPECT_EQ(part.paddingX, 1u);
  EXPECT_EQ(part.dataSize, 10u);
  EXPECT_EQ(part.data, c.bytes.data() + 240);
}

TEST(GenDcContainerView, RefusesContainersWhoseHeadersOrDataLieOutside) {
  ContainerBytes notGenDc = twoPartContainer();
  notGenDc.put<std::uint32_t>(0, 0x47474747);
  EXPECT_THROW(GenDcContainerView(notGenDc.bytes.data(), notGenDc.bytes.size()), std::runtime_error);

  ContainerBytes dataBeyond = twoPartContainer();
  dataBeyond.put<std::uint64_t>(128 + 24, 17);
  EXPECT_THROW(GenDcContainerView(dataBeyond.bytes.data(), dataBeyond.bytes.size()), std::runtime_error);

  ContainerBytes partBeyond = twoPartContainer();
  partBeyond.put<std::uint64_t>(64 + 48, 255);
  EXPECT_THROW(GenDcContainerView(partBeyond.bytes.data(), partBeyond.bytes.size()), std::runtime_error);

  ContainerBytes offsetWraps = twoPartContainer();
  offsetWraps.put<std::uint64_t>(56, ~std::uint64_t{0} - 1);
  EXPECT_THROW(GenDcContainerView(offsetWraps.bytes.data(), offsetWraps.bytes.size()), std::runtime_error);
}

}  // namespace
