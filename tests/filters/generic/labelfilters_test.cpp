#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/generic/labelize.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using Test::image;
using testing::ElementsAre;
using Type::LabelImage;
using Type::Region2;
using Type::Vector2;

constexpr int huge = std::numeric_limits<int>::max();

cv::Mat labelRows(int count, std::vector<int> labels)
{
  return cv::Mat(labels, true).reshape(1, count);
}

std::vector<int> toVector(const cv::Mat& mat)
{
  return mat.empty() ? std::vector<int>() : std::vector<int>(mat.begin<int>(), mat.end<int>());
}

std::vector<int> labelsOf(const DataPtr& value)
{
  return toVector(value->get<LabelImage>()->cvMat());
}

// Labels of all sorts: of regions, scattered, negative, huge; a part of a larger matrix.
std::vector<cv::Mat> labelImages()
{
  std::vector<cv::Mat> images{cv::Mat(0, 0, CV_32S), labelRows(1, {huge}), labelRows(1, {0, 4, 4, 0, -1, 7, 7, 7}),
                              labelRows(2, {65'535, 65'536, 65'536, 65'535, 65'537, 65'537}),
                              labelRows(6, {3, 3, 0, huge, -5, 3})};
  cv::RNG random(11);
  for (const auto& [size, highest] : {std::pair(cv::Size(40, 31), 5), {cv::Size(17, 60), 900}, {cv::Size(64, 48), 2}})
  {
    cv::Mat blobs(size, CV_8U);
    random.fill(blobs, cv::RNG::UNIFORM, 0, 2);
    cv::Mat labels;
    labelize(blobs, labels, 0, 0, 0);
    images.push_back(labels);
    cv::Mat scattered(size + cv::Size(7, 3), CV_32S);
    random.fill(scattered, cv::RNG::UNIFORM, -1, highest);
    for (int i = 0; i < 9; ++i)
      scattered.at<int>(random.uniform(0, scattered.rows), random.uniform(0, scattered.cols)) = huge - i % 3;
    images.push_back(scattered(cv::Rect({2, 1}, size)));
  }
  return images;
}

// What there is to know about a label, pixel by pixel.
struct Figures
{
  int count = 0;
  long sumX = 0;
  long sumY = 0;
  int minX = huge;
  int minY = huge;
  int maxX = 0;
  int maxY = 0;

  float ratio() const
  {
    return minX < maxX && minY < maxY ? static_cast<float>(maxX - minX) / static_cast<float>(maxY - minY) : 0.0F;
  }
};

std::map<int, Figures> measure(const cv::Mat& labels)
{
  std::map<int, Figures> all;
  for (int y = 0; y < labels.rows; ++y)
    for (int x = 0; x < labels.cols; ++x)
      if (const int label = labels.at<int>(y, x); label > 0)
      {
        Figures& f = all[label];
        f = {f.count + 1,         f.sumX + x,          f.sumY + y,         std::min(f.minX, x),
             std::min(f.minY, y), std::max(f.maxX, x), std::max(f.maxY, y)};
      }
  return all;
}

template <typename Keep>
std::vector<int> keep(const cv::Mat& labels, const Keep& holds)
{
  const auto figures = measure(labels);
  std::vector<int> kept;
  for (int y = 0; y < labels.rows; ++y)
    for (int x = 0; x < labels.cols; ++x)
    {
      const int label = labels.at<int>(y, x);
      kept.push_back(label > 0 && holds(figures.at(label)) ? label : 0);
    }
  return kept;
}

TEST(Density, KeepsTheSizesInTheRange)
{
  FilterBench filter(makeDensity());
  for (const cv::Mat& labels : labelImages())
    for (const auto& [min, max] : {std::pair(2, 8), {1, 1}, {-3, huge}, {3, 2}})
      EXPECT_EQ(labelsOf(filter.first({image<LabelImage>(labels), makeData(min), makeData(max)})),
                keep(labels, [min = min, max = max](const Figures& f) { return f.count >= min && f.count <= max; }))
          << labels.size() << " " << min << " to " << max;
}

TEST(Ratio, KeepsTheRatiosInTheRange)
{
  FilterBench filter(makeRatio());
  for (const cv::Mat& labels : labelImages())
    for (const auto& [min, max] : {std::pair(0.5F, 2.0F), {0.0F, 0.9F}, {-1.0F, 1e30F}, {1.0F, NAN}})
      EXPECT_EQ(labelsOf(filter.first({image<LabelImage>(labels), makeData(min), makeData(max)})),
                keep(labels, [min = min, max = max](const Figures& f) { return f.ratio() >= min && f.ratio() <= max; }))
          << labels.size() << " " << min << " to " << max;
}

TEST(Ratio, KeepsRegionsOfAnArray)
{
  const auto region = [](float width, float height) { return makeData(Region2({1, 2}, {1 + width, 2 + height})); };
  const DataPtr square = region(3, 3);
  const DataPtr wide = region(8, 4);
  const DataArray mixed{region(9, 1), square, nullptr, makeData(1.0F), region(5, 0), wide, region(1, 2)};
  const DataPtr out = FilterBench(makeRatio()).first({makeData(mixed), makeData(1.0F), makeData(2.0F)});
  EXPECT_THAT(out->toArray(), ElementsAre(square, wide));
}

TEST(BoundingBox, GivesTheRectanglesInOrder)
{
  FilterBench filter(makeBoundingBox());
  for (const cv::Mat& labels : labelImages())
  {
    const DataList outputs = filter({image<LabelImage>(labels)});
    ASSERT_EQ(outputs.size(), 2U);
    std::vector<Region2> regions;
    for (const DataPtr& element : outputs[0]->toArray())
      regions.push_back(*element->get<Region2>());
    std::vector<Region2> expected;
    for (const auto& [label, f] : measure(labels))
      if (f.minX < f.maxX)
        expected.emplace_back(Vector2(static_cast<float>(f.minX), static_cast<float>(f.minY)),
                              Vector2(static_cast<float>(f.maxX), static_cast<float>(f.maxY)));
    EXPECT_EQ(regions, expected) << labels.size();
    EXPECT_EQ(*outputs[1]->get<Vector2>(), Vector2(static_cast<float>(labels.cols), static_cast<float>(labels.rows)));
  }
}

TEST(Gravity, GivesTheCentresInOrder)
{
  FilterBench filter(makeGravity());
  for (const cv::Mat& labels : labelImages())
  {
    std::vector<Vector2> centres;
    for (const DataPtr& element : filter.first({image<LabelImage>(labels)})->toArray())
      centres.push_back(*element->get<Vector2>());
    std::vector<Vector2> expected;
    for (const auto& [label, f] : measure(labels))
      expected.emplace_back(static_cast<float>(f.sumX / f.count), static_cast<float>(f.sumY / f.count));
    EXPECT_EQ(centres, expected) << labels.size();
  }
}

// The definition: labels grow in turn, by one step at a time.
std::vector<int> grow(const cv::Mat& labels)
{
  cv::Mat grown = labels.clone();
  std::vector<cv::Point> queue;
  for (int y = 0; y < grown.rows; ++y)
    for (int x = 0; x < grown.cols; ++x)
      if (int& label = grown.at<int>(y, x); (label = std::max(label, 0)) != 0)
        queue.emplace_back(x, y);
  for (std::size_t i = 0; i < queue.size(); ++i)
    for (const cv::Point step : {cv::Point(-1, 0), cv::Point(1, 0), cv::Point(0, -1), cv::Point(0, 1)})
    {
      const cv::Point to = queue[i] + step;
      if (!cv::Rect({}, grown.size()).contains(to) || grown.at<int>(to) != 0)
        continue;
      grown.at<int>(to) = grown.at<int>(queue[i]);
      queue.push_back(to);
    }
  return toVector(grown);
}

TEST(Geodesic, GrowsTheLabelsInTurn)
{
  FilterBench filter(makeGeodesic());
  for (const cv::Mat& labels : labelImages())
    EXPECT_EQ(labelsOf(filter.first({image<LabelImage>(labels)})), grow(labels)) << labels.size();

  // A few pixels far apart: long ways and many ties.
  cv::RNG random(5);
  for (int round = 0; round < 60; ++round)
  {
    cv::Mat labels = cv::Mat::zeros(random.uniform(1, 25), random.uniform(1, 25), CV_32S);
    for (int i = round % 7; i > 0; --i)
      labels.at<int>(random.uniform(0, labels.rows), random.uniform(0, labels.cols)) = i;
    EXPECT_EQ(labelsOf(filter.first({image<LabelImage>(labels)})), grow(labels)) << "round " << round << "\n" << labels;
  }
}

TEST(Geodesic, ReachesAcrossLongImages)
{
  cv::Mat labels = cv::Mat::zeros(2, 70'000, CV_32S);
  labels.at<int>(1, 69'999) = 5;
  const cv::Mat grown = Type::toCvMat(*FilterBench(makeGeodesic()).first({image<LabelImage>(labels)}));
  EXPECT_EQ(cv::countNonZero(grown == 5), 140'000);
  EXPECT_EQ(cv::countNonZero(labels), 1) << "the input was changed";
}

// Two shapes in an image of 70,000 pixels to a side, on both sides of the 65,536th.
class LongImageTest : public testing::TestWithParam<bool>
{
protected:
  [[nodiscard]] bool isTall() const { return GetParam(); }

  [[nodiscard]] Vector2 at(float along, float across) const
  {
    return isTall() ? Vector2(across, along) : Vector2(along, across);
  }

  [[nodiscard]] cv::Mat paint(int type) const
  {
    cv::Mat mat = cv::Mat::zeros(2, 70'000, type);
    mat(cv::Rect(10, 0, 65'600 - 10, 2)).setTo(1);
    mat(cv::Rect(65'601, 0, 4'000, 2)).setTo(2);
    return isTall() ? cv::Mat(mat.t()) : mat;
  }
};

TEST_P(LongImageTest, IsMeasuredToItsEnd)
{
  const DataPtr labels = FilterBench(makeLabelize()).first({image<Type::GrayscaleImage>(paint(CV_8U)), makeData(0)});
  EXPECT_EQ(cv::norm(Type::toCvMat(*labels), paint(CV_32S), cv::NORM_INF), 0.0);

  const DataList boxes = FilterBench(makeBoundingBox())({labels});
  ASSERT_EQ(boxes.size(), 2U);
  EXPECT_EQ(*boxes[1]->get<Vector2>(), at(70'000, 2));
  const DataArray& regions = boxes[0]->toArray();
  ASSERT_EQ(regions.size(), 2U);
  EXPECT_EQ(*regions[0]->get<Region2>(), Region2(at(10, 0), at(65'599, 1)));
  EXPECT_EQ(*regions[1]->get<Region2>(), Region2(at(65'601, 0), at(69'600, 1)));

  const DataArray centres = FilterBench(makeGravity()).first({labels})->toArray();
  ASSERT_EQ(centres.size(), 2U);
  EXPECT_EQ(*centres[0]->get<Vector2>(), at(32'804, 0));
  EXPECT_EQ(*centres[1]->get<Vector2>(), at(67'600, 0));

  const DataPtr large = FilterBench(makeDensity()).first({labels, makeData(65'536), makeData(200'000)});
  EXPECT_EQ(cv::countNonZero(Type::toCvMat(*large)), 2 * 65'590);
  const DataPtr small = FilterBench(makeDensity()).first({labels, makeData(1), makeData(65'535)});
  EXPECT_EQ(cv::countNonZero(Type::toCvMat(*small)), 2 * 4'000);
}

INSTANTIATE_TEST_SUITE_P(Directions, LongImageTest, testing::Bool(),
                         [](const auto& row) { return std::string(row.param ? "Tall" : "Wide"); });

TEST(LabelFilters, KeepTheHeader)
{
  const DataPtr in = image<LabelImage>(labelRows(1, {0, 1, 1}));
  const DataPtr outputs[] = {FilterBench(makeDensity()).first({in, makeData(0), makeData(9)}),
                             FilterBench(makeRatio()).first({in, makeData(0.0F), makeData(9.0F)}),
                             FilterBench(makeGeodesic()).first({in})};
  for (const DataPtr& out : outputs)
  {
    EXPECT_EQ(Type::sourceName(*out), "test");
    EXPECT_EQ(Type::timestamp(*out), Time(1'000'000));
    EXPECT_EQ(Type::verticalFov(*out), 0.75F);
  }
}

TEST(LabelFilters, GiveNothingOnOtherInputs)
{
  const DataPtr labels = image<LabelImage>(labelRows(1, {1}));
  const DataPtr gray = image<Type::GrayscaleImage>(cv::Mat::ones(1, 1, CV_8U));
  const DataPtr whole = makeData(1);
  const DataPtr real = makeData(1.0F);
  for (const DataList& inputs : {DataList{},
                                 {labels},
                                 {labels, whole, real},
                                 {labels, nullptr, whole},
                                 {gray, whole, whole},
                                 {nullptr, whole, whole}})
    EXPECT_TRUE(FilterBench(makeDensity())(inputs).empty());
  for (const DataList& inputs :
       {DataList{}, {labels, real}, {labels, whole, real}, {gray, real, real}, {nullptr, real, real}})
    EXPECT_TRUE(FilterBench(makeRatio())(inputs).empty());
  for (const auto make : {&makeBoundingBox, &makeGravity, &makeGeodesic})
    for (const DataList& inputs : {DataList{}, {gray}, {nullptr}, {labels, labels}})
      EXPECT_TRUE(FilterBench(make())(inputs).empty()) << make()->getName();
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
