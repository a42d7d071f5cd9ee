// Objects whose regions or sizes are none, or have no end, for the filters that reckon with boxes.

#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

namespace ZR::Filtrix::Test
{
namespace
{
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float endless = std::numeric_limits<float>::infinity();

DataPtr objectAt(const Type::Region2& region)
{
  auto object = std::make_shared<Type::Object2D>();
  object->setProperty(Object2DProperty::Region2D, makeData(region));
  object->setProperty(Object2DProperty::SizeImage, makeData(320.0F, 240.0F));
  object->setProperty(Object2DProperty::FieldOfView, makeData(1.0F, 0.75F));
  return makeData(object);
}

/// The width and height that something really has, in metres, and the distance of ten pixels of it.
struct DistanceCase
{
  const char* name;
  float width;
  float height;
  float distance;
};

class DistanceTest : public testing::TestWithParam<DistanceCase>
{
};

TEST_P(DistanceTest, IsFinite)
{
  const DistanceCase& row = GetParam();
  const DataList out = Filters::makeComputeDistanceFromSize()->run(
      {objectAt({{10, 10}, {19, 19}}), makeData(row.width), makeData(row.height)});
  ASSERT_EQ(out.size(), 1U);
  EXPECT_NEAR(out[0]->toFloat(), row.distance, 1e-3F);
}

const float byWidth = 160.0F / std::tan(0.5F) * 0.2F / 10.0F;

INSTANTIATE_TEST_SUITE_P(Sizes, DistanceTest,
                         testing::Values(DistanceCase{"Known", 0.2F, 0.0F, byWidth},
                                         DistanceCase{"EndlessHeight", 0.2F, endless, byWidth},
                                         DistanceCase{"HeightIsNoNumber", 0.2F, nan, byWidth},
                                         DistanceCase{"EndlessWidth", endless, 0.0F, 0.0F},
                                         DistanceCase{"WidthBeyondAllNumbers", 3e38F, 0.0F, 0.0F}),
                         [](const auto& row) { return std::string(row.param.name); });

// The faces that come in go out as regions, and what moves is searched for bodies.
TEST(BodyDetectionFromImage, PassesOverBoxesWithoutEnd)
{
  const auto filter = Filters::makeBodyDetectionFromImage();
  const cv::Mat pixels = cv::Mat::zeros(120, 160, CV_8UC3);
  const DataPtr image = makeData(std::make_shared<Type::ColorImage>(pixels, "test", Time(1'000'000), 1.0F, 0.75F));
  DataArray objects{objectAt({{10, 10}, {19, 19}})};
  for (const float number : {nan, endless, -endless})
  {
    objects.push_back(objectAt({{number, 0}, {60, 60}}));
    objects.push_back(objectAt({{0, 0}, {number, number}}));
  }
  const DataList out = filter->run({image, makeData(objects), makeData(objects)});
  ASSERT_EQ(out.size(), 2U);
  EXPECT_EQ(out[0]->toArray().size(), objects.size()) << "objects are what they are";
  ASSERT_EQ(out[1]->toArray().size(), 1U);
  EXPECT_EQ(*out[1]->toArray()[0]->get<Type::Region2>(), Type::Region2({10, 10}, {19, 19}));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
