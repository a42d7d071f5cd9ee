#include "filtrix/ku/log.h"
#include "filtrix/zrimage.h"
#include "platform/images.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace ZR
{
namespace
{
using ku::log::Entry;
using testing::ElementsAre;

// The value form of a 2 x 1 gray record, with one item replaced.
ZRValue with(std::size_t index, const ZRValue& item)
{
  ZRValue::Array items = randomImage(2, 1, ColorSpace::gray)->toZRValue().asArray();
  items.at(index) = item;
  return ZRValue(std::move(items));
}

TEST(ZRImageValue, ReadsBackWhatItWrote)
{
  for (const std::int64_t time : {std::int64_t{0}, std::int64_t{1'999'999}, std::int64_t{-1},
                                  std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()})
  {
    const auto image = randomImage(5, 3, ColorSpace::xyz);
    image->setTimestamp(time);
    const auto again = ZRImage::fromZRValue(image->toZRValue());
    ASSERT_TRUE(again) << time;
    EXPECT_EQ(again->header(), image->header());
    EXPECT_EQ(pixelsOf(*again), pixelsOf(*image));
  }
}

TEST(ZRImageValue, SplitsTheTimeAtTheSecond)
{
  const ZRValue value = randomImage(1, 1, ColorSpace::gray)->toZRValue();
  EXPECT_EQ(value.size(), 12U);
  EXPECT_EQ(value.at(4), ZRValue(1'234'567));
  EXPECT_EQ(value.at(5), ZRValue(890'123));
}

TEST(ZRImageValue, TakesFurtherItemsAndNumbersOfOtherKinds)
{
  ZRValue value = with(8, 0.5);
  value.push_back("QVGA");
  const auto image = ZRImage::fromZRValue(value);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->angles().left, 0.5F);
}

TEST(ZRImageValue, LogsAValueThatIsNoImage)
{
  ZRValue::Array eleven = randomImage(1, 1, ColorSpace::gray)->toZRValue().asArray();
  eleven.pop_back();
  const ku::log::Capture log;
  EXPECT_FALSE(ZRImage::fromZRValue(43));
  EXPECT_FALSE(ZRImage::fromZRValue(ZRValue(std::move(eleven))));
  const Entry line{ku::log::Level::Error, "ZRImage", "ZRValue is not an image, cannot convert"};
  EXPECT_THAT(log.entries(), ElementsAre(line, line));
}

struct BadItem
{
  const char* name;
  std::size_t index;
  ZRValue item;
  const char* problem;
};

class ZRImageValueTest : public testing::TestWithParam<BadItem>
{
};

TEST_P(ZRImageValueTest, RefusesABadItem)
{
  const ku::log::Capture log;
  EXPECT_FALSE(ZRImage::fromZRValue(with(GetParam().index, GetParam().item)));
  EXPECT_THAT(log.texts("ZRImage"),
              ElementsAre(std::string("ZRValue is not an image, cannot convert: ") + GetParam().problem));
}

INSTANTIATE_TEST_SUITE_P(
    Items, ZRImageValueTest,
    testing::Values(BadItem{"AStringForAWidth", 0, "2", "ZRValue: expected Integer, Float or Double, came String"},
                    BadItem{"AHeightOfMoreThan32Bits", 1, 1LL << 40, "1099511627776 is out of range"},
                    BadItem{"ANegativeHeight", 1, -1, "2 x -1 pixels, expected no negative side"},
                    BadItem{"LayersThatTheColorSpaceHasNot", 2, 2,
                            "2 bytes per pixel, expected 1 for color space 0 (Gray)"},
                    BadItem{"NoLayers", 2, 0, "0 bytes per pixel, expected 1 or more"},
                    BadItem{"ATimeBeyondItsRange", 4, 1LL << 50, "1125899906842624 seconds are out of range"},
                    BadItem{"TooFewPixels", 6, ZRValue::Blob{1}, "1 bytes of pixels, expected 2"},
                    BadItem{"PixelsThatAreNoBlob", 6, "ab", "ZRValue: expected Blob, came String"},
                    BadItem{"ACameraOfMoreThan8Bits", 7, 128, "128 is out of range"}),
    [](const auto& test) { return std::string(test.param.name); });
}  // namespace
}  // namespace ZR
