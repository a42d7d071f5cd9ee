#include "filtrix/zrimage.h"

#include "filtrix/ku/log.h"
#include "platform/images.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace ZR
{
namespace
{
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int unknown = 999;

template <typename Use>
std::string messageOf(const Use& use)
{
  try
  {
    use();
  }
  catch (const ZRImageError& error)
  {
    return error.what();
  }
  return "no error";
}

TEST(ZRImage, BeginsBlackWithTheSizeOfItsResolution)
{
  const ZRImage image(10, ColorSpace::rgb);
  EXPECT_EQ(image.width(), 320);
  EXPECT_EQ(image.height(), 180);
  EXPECT_EQ(image.nbLayers(), 3);
  EXPECT_EQ(image.resolution(), 10);
  EXPECT_EQ(image.allocatedSize(), 320 * 180 * 3);
  EXPECT_THAT(pixelsOf(image), Each(0));
  EXPECT_EQ(ZRImage(5, 5, ColorSpace::rgb).resolution(), -1);
}

TEST(ZRImage, RefusesWhatItCannotBe)
{
  constexpr int huge = std::numeric_limits<int>::max();
  std::array<std::uint8_t, 11> memory{};
  EXPECT_EQ(messageOf([] { ZRImage(6, ColorSpace::rgb); }), "ZRImage: invalid resolution");
  EXPECT_EQ(messageOf([] { ZRImage(1, 1, unknown); }), "ZRImage: setColorSpace: invalid color space");
  EXPECT_EQ(messageOf([] { ZRImage(-1, 4, ColorSpace::rgb); }), "ZRImage: -1 x 4 pixels, expected no negative side");
  EXPECT_THAT(messageOf([] { ZRImage(huge, huge, ColorSpace::rgb); }), HasSubstr("at most 2147483647 bytes"));
  EXPECT_EQ(messageOf(
                [&] {
                  ZRImage(2, 2, ColorSpace::rgb, {memory.data(), 11, {}});
                }),
            "ZRImage: external buffer of 11 bytes, expected 12 or more");
  EXPECT_THAT(messageOf([] { ZRImage(2, 2, ColorSpace::rgb, {nullptr, 12, {}}); }), HasSubstr("null buffer"));
}

TEST(ZRImage, HasNoPixelsWhenASideIsZero)
{
  ZRImage image(0, std::numeric_limits<int>::max(), ColorSpace::rgb);
  EXPECT_TRUE(image.bytes().empty());
  EXPECT_THAT(image.dump(), HasSubstr("FirstPixel    : none\n"));
  EXPECT_EQ(ZRImage::fromZRValue(image.toZRValue())->header(), image.header());
}

TEST(ZRImage, TakesMoreMemoryOnlyWhenAColorSpaceNeedsIt)
{
  ZRImage image(4, 4, ColorSpace::yuv422);
  const std::uint8_t* const before = image.data();
  image.setColorSpace(ColorSpace::gray);
  EXPECT_EQ(image.data(), before);
  EXPECT_EQ(image.bytes().size(), 16U);
  EXPECT_EQ(image.allocatedSize(), 32);
  image.setColorSpace(ColorSpace::rgb);
  EXPECT_EQ(image.allocatedSize(), 48);
  EXPECT_EQ(messageOf([&] { image.setColorSpace(unknown); }), "ZRImage: setColorSpace: invalid color space");
  EXPECT_EQ(image.colorSpace(), ColorSpace::rgb);
}

TEST(ZRImage, NeverReplacesExternalMemory)
{
  std::array<std::uint8_t, 32> memory{};
  ZRImage image(4, 4, ColorSpace::yuv422, {memory.data(), 32, {}});
  image.setColorSpace(ColorSpace::gray);
  EXPECT_EQ(image.data(), memory.data());
  EXPECT_EQ(messageOf([&] { image.setColorSpace(ColorSpace::rgb); }),
            "ZRImage: external buffer of 32 bytes, expected 48 or more");
  EXPECT_EQ(image.colorSpace(), ColorSpace::gray);
  EXPECT_EQ(image.nbLayers(), 1);
}

TEST(ZRImage, GivesOwnedMemoryBackOnce)
{
  std::array<std::uint8_t, 16> memory{};
  int calls = 0;
  {
    ZRImage image(4, 4, ColorSpace::gray, {memory.data(), 16, [&](std::uint8_t*) { ++calls; }});
    image.setColorSpace(ColorSpace::rgb);
    EXPECT_EQ(calls, 1) << "replaced";
    const ZRImage kept(4, 4, ColorSpace::gray, {memory.data(), 16, [&](std::uint8_t*) { ++calls; }});
  }
  EXPECT_EQ(calls, 2);
}

TEST(ZRImage, AssumesVgaForAWeirdResolution)
{
  const ku::log::Capture log;
  ZRImage image(1, 1, ColorSpace::gray);
  image.reallocateDataSize(13);
  EXPECT_EQ(image.bytes().size(), 2560U * 720U);
  image.reallocateDataSize(42);
  EXPECT_EQ(image.resolution(), 2);
  EXPECT_THAT(log.texts("vision.zrimage"), ElementsAre("ZRImage: reallocateDataSize: Weird resolution #42"));
}

TEST(ZRImage, DumpsALineAMember)
{
  const auto image = randomImage(2, 1, ColorSpace::rgb);
  image->bytes()[0] = 7;
  image->bytes()[1] = 8;
  image->bytes()[2] = 9;
  const std::string dump = image->dump();
  EXPECT_THAT(dump, testing::StartsWith("this          : 0x"));
  EXPECT_THAT(dump, HasSubstr("\n"
                              "Width         : 2\n"
                              "Height        : 1\n"
                              "NbLayers      : 3\n"
                              "ColorSpace    : 11\n"
                              "TimeStamp     : 1234567890123\n"
                              "CameraID      : 2\n"
                              "Left angle    : 0.5\n"
                              "Top angle     : 0.25\n"
                              "Right angle   : -0.125\n"
                              "Bottom angle  : -0.75\n"
                              "Frame         : 0x"));
  EXPECT_THAT(dump, testing::EndsWith("\nFirstPixel    : 7 8 9\nAllocatedSize : 6\n"));
}
}  // namespace
}  // namespace ZR
