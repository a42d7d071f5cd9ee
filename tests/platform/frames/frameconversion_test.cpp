#include "platform/frames/frameconversion.h"

#include "platform/images.h"
#include "platform/robot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace ZR
{
namespace
{
std::uint16_t depthAt(const ZRImage& frame, int x, int y)
{
  std::uint16_t value = 0;
  std::memcpy(&value, frame.data() + 2 * (static_cast<std::ptrdiff_t>(y) * frame.width() + x), sizeof value);
  return value;
}

std::unique_ptr<ZRImage> constantDepth(int width, int height, std::uint16_t millimetres)
{
  auto frame = std::make_unique<ZRImage>(width, height, ColorSpace::depth);
  for (std::size_t at = 0; at < frame->bytes().size(); at += 2)
    std::memcpy(frame->data() + at, &millimetres, sizeof millimetres);
  return frame;
}

TEST(FrameConversion, KeepsTimeCameraAndView)
{
  const auto frame = randomImage(8, 6, ColorSpace::rgb);
  const auto out = convertFrame(*frame, {4, 3, ColorSpace::gray});
  EXPECT_EQ(out->width(), 4);
  EXPECT_EQ(out->height(), 3);
  EXPECT_EQ(out->timestamp(), frame->timestamp());
  EXPECT_EQ(out->cameraId(), frame->cameraId());
  EXPECT_EQ(out->angles(), frame->angles());
}

TEST(FrameConversion, SwapsRedAndBlueThereAndBack)
{
  const auto rgb = randomImage(5, 4, ColorSpace::rgb);
  const auto bgr = convertFrame(*rgb, {5, 4, ColorSpace::bgr});
  EXPECT_EQ(bgr->bytes()[0], rgb->bytes()[2]);
  EXPECT_EQ(bgr->bytes()[1], rgb->bytes()[1]);
  EXPECT_EQ(pixelsOf(*convertFrame(*bgr, {5, 4, ColorSpace::rgb})), pixelsOf(*rgb));
}

TEST(FrameConversion, InventsNoDepthBetweenTwoThings)
{
  auto frame = constantDepth(4, 2, 1000);
  const std::uint16_t far = 4000;
  std::memcpy(frame->data(), &far, sizeof far);
  const auto out = convertFrame(*frame, {2, 1, ColorSpace::depth});
  for (int x = 0; x < 2; ++x)
    EXPECT_TRUE(depthAt(*out, x, 0) == 1000 || depthAt(*out, x, 0) == far);
}

TEST(FrameConversion, StretchesDepthToDistanceAlongTheRay)
{
  auto frame = constantDepth(2, 2, 1000);
  frame->setAngles({0.5F, 0.25F, -0.5F, -0.25F});
  const auto distance = convertFrame(*frame, {2, 2, ColorSpace::distance});
  const double across = std::tan(0.5) / 2;
  const double down = std::tan(0.25) / 2;
  const double expected = 1000 * std::sqrt(1 + across * across + down * down);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 2; ++x)
      EXPECT_NEAR(depthAt(*distance, x, y), expected, 0.51);
  EXPECT_EQ(depthAt(*convertFrame(*distance, {2, 2, ColorSpace::depth}), 1, 0), 1000);
}

TEST(FrameConversion, RefusesWhatCannotBe)
{
  EXPECT_EQ(errorOf(
                [] {
                  static_cast<void>(convertFrame(ZRImage(2, 2, ColorSpace::rgb), {2, 2, ColorSpace::depth}));
                }),
            "a frame of color space 11 cannot be made one of 17");
  EXPECT_EQ(errorOf([] { static_cast<void>(frameFormat(99, ColorSpace::rgb)); }),
            "resolution 99, expected one of the camera service's");
  EXPECT_EQ(errorOf([] { static_cast<void>(frameFormat(1, 55)); }),
            "color space 55, expected one of the camera service's");
}
}  // namespace
}  // namespace ZR
