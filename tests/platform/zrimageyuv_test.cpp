#include "filtrix/ku/log.h"
#include "filtrix/zrimage.h"
#include "platform/images.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>

namespace ZR
{
namespace
{
using testing::ElementsAre;

std::unique_ptr<ZRImage> yuvImage(const std::vector<std::uint8_t>& pixels)
{
  auto image = randomImage(static_cast<int>(pixels.size()) / 2, 1, ColorSpace::yuv422);
  std::ranges::copy(pixels, image->data());
  return image;
}

std::vector<std::uint8_t> toBgr(const std::vector<std::uint8_t>& yuv)
{
  ZRImage bgr(1, 1, ColorSpace::gray);
  EXPECT_TRUE(bgr.computeBGRimageFromYUV422(*yuvImage(yuv)));
  return pixelsOf(bgr);
}

TEST(ZRImageYuv, RoundsDownAndClips)
{
  EXPECT_THAT(toBgr({16, 128, 17, 128}), ElementsAre(0, 0, 0, 1, 1, 1));
  EXPECT_THAT(toBgr({235, 128, 255, 128}), ElementsAre(254, 254, 254, 255, 255, 255));
  // U shifts blue up and green down, V red up and green down; a fraction below zero is rounded down too.
  EXPECT_THAT(toBgr({126, 138, 126, 138}), ElementsAre(148, 116, 144, 148, 116, 144));
  EXPECT_THAT(toBgr({126, 118, 126, 128}), ElementsAre(107, 136, 128, 107, 136, 128));
  EXPECT_THAT(toBgr({0, 0, 255, 255}), ElementsAre(0, 35, 184, 19, 255, 255));
}

// What YUV can say in bytes and BGR too must come back: Y exactly but for the rounding, U and V likewise.
TEST(ZRImageYuv, ComesBackFromBgr)
{
  int checked = 0;
  for (int y = 16; y <= 235; y += 3)
    for (int u = 16; u <= 240; u += 7)
      for (int v = 16; v <= 240; v += 7)
      {
        const std::vector<std::uint8_t> yuv = {static_cast<std::uint8_t>(y), static_cast<std::uint8_t>(u),
                                               static_cast<std::uint8_t>(y), static_cast<std::uint8_t>(v)};
        ZRImage bgr(1, 1, ColorSpace::gray);
        ASSERT_TRUE(bgr.computeBGRimageFromYUV422(*yuvImage(yuv)));
        const auto color = pixelsOf(bgr);
        if (std::ranges::any_of(color, [](int byte) { return byte == 0 || byte == 255; }))
          continue;  // may have been clipped
        ++checked;
        ZRImage back(1, 1, ColorSpace::gray);
        ASSERT_TRUE(back.computeYUV422imageFromBGR(bgr));
        for (std::size_t i = 0; i < 4; ++i)
          ASSERT_LE(std::abs(back.bytes()[i] - yuv[i]), 1) << y << ' ' << u << ' ' << v;
      }
  EXPECT_GT(checked, 1000);
}

TEST(ZRImageYuv, SharesTheMeanColorOfAPair)
{
  ZRImage bgr(2, 1, ColorSpace::bgr);
  ZRImage yuv(1, 1, ColorSpace::gray);
  std::ranges::copy(std::array<std::uint8_t, 6>{100, 100, 100, 200, 100, 100}, bgr.data());
  ASSERT_TRUE(yuv.computeYUV422imageFromBGR(bgr));
  ZRImage gray(2, 1, ColorSpace::bgr);
  std::ranges::fill(gray.bytes(), 100);
  ZRImage grayYuv(1, 1, ColorSpace::gray);
  ASSERT_TRUE(grayYuv.computeYUV422imageFromBGR(gray));
  EXPECT_EQ(yuv.bytes()[0], grayYuv.bytes()[0]) << "the first pixel keeps its brightness";
  EXPECT_EQ(grayYuv.bytes()[1], 128);
  EXPECT_GT(yuv.bytes()[1], 128);
}

TEST(ZRImageYuv, SortsIntoPlanes)
{
  const auto pairs = yuvImage({1, 10, 2, 20, 3, 30, 4, 40});
  ZRImage planes(1, 1, ColorSpace::gray);
  ASSERT_TRUE(planes.computeYYYUUUVVVimageFromYUV422(*pairs));
  EXPECT_THAT(pixelsOf(planes), ElementsAre(1, 2, 3, 4, 10, 10, 30, 30, 20, 20, 40, 40));
  ASSERT_TRUE(planes.computeYYYYUUVVimageFromYUV422(*pairs));
  EXPECT_THAT(pixelsOf(planes), ElementsAre(1, 2, 3, 4, 10, 30, 20, 40));
  EXPECT_EQ(planes.timestamp(), pairs->timestamp());
  EXPECT_EQ(planes.angles(), pairs->angles());
  EXPECT_EQ(planes.nbLayers(), 2);
}

TEST(ZRImageYuv, MayReplaceItsOwnInput)
{
  const auto expected = toBgr({16, 90, 100, 200, 50, 60, 70, 80});
  const auto image = yuvImage({16, 90, 100, 200, 50, 60, 70, 80});
  ASSERT_TRUE(image->computeBGRimageFromYUV422(*image));
  EXPECT_EQ(pixelsOf(*image), expected);
}

TEST(ZRImageYuv, LogsWhatItCannotConvert)
{
  const auto odd = randomImage(3, 1, ColorSpace::yuv422);
  const auto rgb = randomImage(2, 1, ColorSpace::rgb);
  const auto yuv = randomImage(2, 1, ColorSpace::yuv422);
  std::array<std::uint8_t, 5> memory{};
  ZRImage external(1, 1, ColorSpace::rgb, {memory.data(), 5, {}});
  const ku::log::Capture log;
  EXPECT_FALSE(external.computeBGRimageFromYUV422(*rgb));
  EXPECT_FALSE(external.computeYUV422imageFromBGR(*rgb));
  EXPECT_FALSE(external.computeYYYYUUVVimageFromYUV422(*odd));
  EXPECT_FALSE(external.computeBGRimageFromYUV422(*yuv));
  EXPECT_THAT(log.texts("vision.zrimage"),
              ElementsAre("Input image is not a YUV422 image.", "Input image is not a BGR image.",
                          "Input image has 3 x 1 pixels, expected pairs.", "External buffer not compatible."));
  EXPECT_EQ(external.nbLayers(), 3);
  EXPECT_TRUE(external.computeYYYYUUVVimageFromYUV422(*yuv)) << "four bytes fit";
}
}  // namespace
}  // namespace ZR
