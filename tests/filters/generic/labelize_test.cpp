#include "filters/generic/labelize.h"

#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filtrix/ku/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using Test::image;
using testing::ElementsAre;
using testing::ThrowsMessage;

struct Labelling
{
  cv::Mat labels;
  int highest = 0;
};

// The definition of the labels, step by step and as slow as it reads: the table is resolved by following chains, and
// renumbering walks it once per label.
Labelling plainLabels(const cv::Mat& input, int toleranceH, int toleranceV, int minSize, int maxSize)
{
  cv::Mat values = input;
  if (input.depth() == CV_8U)
    input.convertTo(values, CV_8S);
  values.convertTo(values, CV_32S);
  Labelling result{cv::Mat::zeros(input.size(), CV_32S), 0};
  cv::Mat& labels = result.labels;
  std::vector<int> equivalence{0};
  std::vector<int> sums(input.total() + 1);
  const auto entry = [&](int label) -> int& { return equivalence[static_cast<std::size_t>(label)]; };
  const auto joins = [&](const cv::Point& at, int v, int tolerance)
  {
    const int n = at.x < 0 || at.y < 0 ? 0 : values.at<int>(at);
    return n != 0 && n <= v + tolerance && (v < tolerance || v - tolerance <= n);
  };

  for (int i = 0; i < static_cast<int>(input.total()); ++i)
  {
    const cv::Point at(i % input.cols, i / input.cols);
    const cv::Point left(at.x - 1, at.y);
    const cv::Point up(at.x, at.y - 1);
    const int v = values.at<int>(at);
    if (v == 0)
      continue;
    int& label = labels.at<int>(at);
    if (joins(left, v, toleranceH) && joins(up, v, toleranceV))
    {
      int& l = entry(labels.at<int>(left));
      int& u = entry(labels.at<int>(up));
      label = l < u ? u = l : l = u;
    }
    else if (joins(up, v, toleranceV))
      label = labels.at<int>(up);
    else if (joins(left, v, toleranceH))
      label = labels.at<int>(left);
    else
      equivalence.push_back(label = static_cast<int>(equivalence.size()));
  }

  for (int& root : equivalence)
    while (root != entry(root))
      root = entry(root);
  for (int& label : cv::Mat_<int>(labels))
    ++sums[static_cast<std::size_t>(label = entry(label))];
  for (int& root : equivalence)
    if (const int sum = sums[static_cast<std::size_t>(root)];
        sum < minSize || sum > (maxSize < 1 ? static_cast<int>(input.total()) : maxSize))
      root = 0;
  for (auto i = equivalence.begin() + 1; i < equivalence.end(); ++i)
    if (*i > result.highest && *i != ++result.highest)
      std::replace(i, equivalence.end(), int{*i}, result.highest);
  for (int& label : cv::Mat_<int>(labels))
    label = label == 0 ? 0 : entry(label);
  return result;
}

bool equal(const cv::Mat& a, const cv::Mat& b)
{
  return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

void expectDefinition(const cv::Mat& input, int toleranceH, int toleranceV, int minSize, int maxSize)
{
  const Labelling expected = plainLabels(input, toleranceH, toleranceV, minSize, maxSize);
  cv::Mat labels;
  EXPECT_EQ(labelize(input, labels, toleranceH, toleranceV, minSize, maxSize), expected.highest);
  EXPECT_TRUE(equal(labels, expected.labels))
      << "tolerances " << toleranceH << ", " << toleranceV << ", sizes " << minSize << " to " << maxSize;
}

// Every combination of tolerances, bounds and scales of structure on one size of image.
class LabelizeSize : public testing::TestWithParam<std::tuple<cv::Size, int>>
{
};

TEST_P(LabelizeSize, FollowsTheDefinitionOnRandomImages)
{
  const auto [size, type] = GetParam();
  cv::RNG random(7);
  for (const int levels : {2, 4, 300})
    for (const int blur : {1, 3})
      for (const auto& [toleranceH, toleranceV] :
           {std::pair(0, 0), {1, 0}, {0, 2}, {255, 255}, {70000, 70000}, {70000, 1}, {-1, 5}})
      {
        SCOPED_TRACE(testing::Message() << levels << " levels, blur " << blur);
        // A part of a larger matrix, whose other pixels must not matter.
        cv::Mat whole(size + cv::Size(5, 4), type);
        random.fill(whole, cv::RNG::UNIFORM, 0, levels);
        cv::medianBlur(whole, whole, blur);
        const cv::Mat part = whole(cv::Rect({2, 3}, size));
        expectDefinition(part, toleranceH, toleranceV, 0, 0);
        expectDefinition(part, toleranceH, toleranceV, 2, 9);
      }
}

INSTANTIATE_TEST_SUITE_P(Sizes, LabelizeSize,
                         testing::Combine(testing::Values(cv::Size(1, 1), cv::Size(1, 33), cv::Size(33, 1),
                                                          cv::Size(63, 9), cv::Size(64, 9), cv::Size(65, 9),
                                                          cv::Size(150, 70)),
                                          testing::Values(CV_8U, CV_16U)));

TEST(Labelize, FollowsTheDefinitionOnShapesOfManyMeetings)
{
  cv::Mat checkerboard = cv::Mat::zeros(61, 90, CV_8U);
  for (int y = 0; y < checkerboard.rows; ++y)
    for (int x = y % 2; x < checkerboard.cols; x += 2)
      checkerboard.at<uchar>(y, x) = 255;
  cv::Mat comb = cv::Mat::zeros(61, 90, CV_8U);
  for (int x = 0; x < comb.cols; x += 2)
    comb.col(x).setTo(1);
  comb.row(60).setTo(1);
  cv::Mat rings = cv::Mat::zeros(61, 90, CV_8U);
  for (int inset = 0; inset < 30; inset += 2)
    cv::rectangle(rings, {inset, inset, 90 - 2 * inset, 61 - 2 * inset}, 1);
  for (const cv::Mat& shape : {checkerboard, comb, rings})
    for (const int tolerance : {1, 255})
      expectDefinition(shape, tolerance, tolerance, 0, 0);
}

TEST(Labelize, FollowsTheDefinitionOnANaturalImage)
{
  const char* const path = "/usr/share/doc/opencv-doc/examples/data/fruits.jpg";
  if (!std::filesystem::exists(path))
    GTEST_SKIP() << "no " << path;
  const cv::Mat gray = cv::imread(path, cv::IMREAD_GRAYSCALE);
  cv::Mat dark;
  gray.convertTo(dark, CV_8U, 0.5);
  cv::Mat depth;
  gray.convertTo(depth, CV_16U, 25.0);
  cv::Mat binary;
  cv::threshold(gray, binary, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
  expectDefinition(binary, 255, 255, 0, 0);
  expectDefinition(binary, 255, 255, 10, 2000);
  expectDefinition(dark, 2, 1, 0, 0);
  expectDefinition(depth, 50, 75, 100, 0);
}

template <typename Pixel>
cv::Mat rows(int count, std::vector<Pixel> pixels)
{
  return cv::Mat(pixels, true).reshape(1, count);
}

TEST(Labelize, ReadsValuesInTheirRange)
{
  const auto labels = [](const cv::Mat& input, int toleranceH, int toleranceV, int minSize)
  {
    cv::Mat out;
    labelize(input, out, toleranceH, toleranceV, minSize, 0);
    return std::vector<int>(out.begin<int>(), out.end<int>());
  };
  EXPECT_THAT(labels(rows<uchar>(1, {200, 250}), 0, 0, 0), ElementsAre(1, 1)) << "both saturate";
  EXPECT_THAT(labels(rows<uchar>(1, {1, 250}), 125, 125, 0), ElementsAre(1, 2));
  EXPECT_THAT(labels(rows<uchar>(1, {1, 250}), 126, 126, 0), ElementsAre(1, 1));
  EXPECT_THAT(labels(rows<ushort>(1, {200, 250, 65535}), 49, 49, 0), ElementsAre(1, 2, 3));
  EXPECT_THAT(labels(rows<ushort>(2, {5, 9, 7, 8}), 10, 0, 0), ElementsAre(1, 1, 2, 2));
  EXPECT_THAT(labels(rows<uchar>(1, {3, 3, 9}), -1, -1, 0), ElementsAre(1, 2, 3));
  EXPECT_THAT(labels(rows<uchar>(1, {1, 1, 0, 1, 0, 1, 1}), 0, 0, 2), ElementsAre(1, 1, 0, 0, 0, 2, 2));
}

TEST(Labelize, TakesItsInputAsItsOutput)
{
  cv::Mat mat = rows<uchar>(1, {0, 9, 0, 9});
  EXPECT_EQ(labelize(mat, mat, 0, 0, 0), 2);
  EXPECT_EQ(std::vector<int>(mat.begin<int>(), mat.end<int>()), (std::vector{0, 1, 0, 2}));
}

TEST(Labelize, NamesTheMatricesThatItTakes)
{
  cv::Mat labels;
  for (const int type : {CV_8UC3, CV_32S, CV_8S, CV_32F})
    EXPECT_THAT([&] { labelize(cv::Mat::zeros(2, 2, type), labels, 0, 0, 0); },
                ThrowsMessage<std::invalid_argument>("Input image not in a valid colorspace (CV_16UC1 or CV_8UC1)"));
}

std::vector<int> labelsOf(const DataPtr& value)
{
  const auto& mat = value->get<Type::LabelImage>()->cvMat();
  return {mat.begin<int>(), mat.end<int>()};
}

TEST(LabelizeFilter, HasAToleranceForGrayAndDepthAlone)
{
  FilterBench filter(makeLabelize());
  const cv::Mat gray = rows<uchar>(1, {10, 12, 0, 99});
  const cv::Mat depth = rows<ushort>(1, {1000, 1002, 0, 99});
  EXPECT_THAT(labelsOf(filter.first({image<Type::GrayscaleImage>(gray), makeData(2)})), ElementsAre(1, 1, 0, 2));
  EXPECT_THAT(labelsOf(filter.first({image<Type::GrayscaleImage>(gray), nullptr})), ElementsAre(1, 2, 0, 3));
  EXPECT_THAT(labelsOf(filter.first({image<Type::DepthImage>(depth), makeData(1)})), ElementsAre(1, 2, 0, 3));
  const DataPtr labels = filter.first({image<Type::BinaryImage>(gray), makeData(0)});
  EXPECT_THAT(labelsOf(labels), ElementsAre(1, 1, 0, 2));
  EXPECT_EQ(Type::timestamp(*labels), Time(1'000'000));
}

TEST(LabelizeFilter, RefusesWhatItCannotLabel)
{
  FilterBench filter(makeLabelize());
  const ku::log::Capture log;
  const DataPtr gray = image<Type::GrayscaleImage>(rows<uchar>(1, {1}));
  const DataPtr labels = image<Type::LabelImage>(rows<int>(1, {1}));
  for (const DataList& inputs : {DataList{}, {gray}, {nullptr, makeData(1)}, {labels, makeData(1)}, {gray, gray, gray}})
    EXPECT_TRUE(filter(inputs).empty());
  EXPECT_EQ(log.texts("filtrix.filter.labelize"), std::vector<std::string>(5, " [Invalid Input] -> Labelize -> ..."));

  EXPECT_TRUE(filter({image<Type::GrayscaleImage>(cv::Mat(0, 0, CV_8U)), nullptr}).empty());
  EXPECT_EQ(log.entries().size(), 5U) << "an empty image is no error";
}

// The time of this thread's processor for a labelling, the median of some: what else the machine does is not counted.
std::chrono::nanoseconds timeToLabel(const cv::Mat& noise)
{
  const auto processorTime = []
  {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  };
  std::vector<std::chrono::nanoseconds> times(9);
  for (auto& time : times)
  {
    cv::Mat labels;
    const auto start = processorTime();
    labelize(noise, labels, 0, 0, 0);
    time = processorTime() - start;
  }
  std::ranges::nth_element(times, times.begin() + 4);
  return times[4];
}

// Next to every pixel of it is a label of its own: renumbering must not look at all labels for each.
TEST(Labelize, NoiseCostsTimeInProportionToItsSize)
{
  cv::RNG random(17);
  cv::Mat noise(480, 640, CV_8U);
  random.fill(noise, cv::RNG::UNIFORM, 0, 8);
  cv::Mat labels;
  ASSERT_GT(labelize(noise, labels, 0, 0, 0), 100'000);
  const auto quarter = timeToLabel(noise(cv::Rect(0, 0, 320, 240)));
  EXPECT_LT(timeToLabel(noise), 8 * quarter);
}

class ImprovedLabelizeTest : public testing::Test
{
protected:
  DataList run(const DataPtr& in, int kernel, float min, float max, int toleranceH = 0, int toleranceV = 0)
  {
    return filter({in, makeData(toleranceH), makeData(toleranceV), makeData(kernel), makeData(min), makeData(max)});
  }

  FilterBench filter{makeImprovedLabelize()};
  const DataPtr dots = image<Type::BinaryImage>(rows<uchar>(1, {1, 0, 0, 0, 9, 0, 0, 0, 0, 0, 1, 0}));
};

TEST_F(ImprovedLabelizeTest, LabelsWhatItHasDilated)
{
  // Four counts as five, which closes the first gap.
  const DataList outputs = run(dots, 4, 0.0F, 1.0F);
  ASSERT_EQ(outputs.size(), 2U);
  EXPECT_THAT(labelsOf(outputs[0]), ElementsAre(1, 1, 1, 1, 1, 1, 1, 0, 2, 2, 2, 2));
  const DataPtr dilated = FilterBench(makeDilation()).first({dots, makeData(5)});
  ASSERT_EQ(outputs[1]->type(), TypeTag::BinaryImage);
  EXPECT_TRUE(equal(Type::toCvMat(*outputs[1]), Type::toCvMat(*dilated)));
}

TEST_F(ImprovedLabelizeTest, BoundsAreSharesOfTheImage)
{
  EXPECT_THAT(labelsOf(run(dots, 5, 0.0F, 0.5F)[0]), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1));
  EXPECT_THAT(labelsOf(run(dots, 5, 0.45F, 0.0F)[0]), ElementsAre(1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(labelsOf(run(dots, 5, nan, 1e30F)[0]), labelsOf(run(dots, 5, 0.0F, 1.0F)[0]));
}

TEST_F(ImprovedLabelizeTest, TellsRowsFromColumns)
{
  const DataPtr depth = image<Type::DepthImage>(rows<ushort>(2, {100, 105, 200, 205}));
  EXPECT_THAT(labelsOf(run(depth, 0, 0.0F, 1.0F, 5, 0)[0]), ElementsAre(1, 1, 2, 2));
  EXPECT_THAT(labelsOf(run(depth, 0, 0.0F, 1.0F, 0, 100)[0]), ElementsAre(1, 2, 1, 2));
}

TEST_F(ImprovedLabelizeTest, RefusesWhatItCannotLabel)
{
  const ku::log::Capture log;
  EXPECT_TRUE(run(nullptr, 3, 0.0F, 1.0F).empty());
  EXPECT_TRUE(run(dots, -2, 0.0F, 1.0F).empty());
  EXPECT_TRUE(filter({dots, nullptr, nullptr, nullptr, makeData(0.0F), makeData(1.0F)}).empty());
  EXPECT_TRUE(filter({dots}).empty());
  EXPECT_TRUE(run(makeData(1), 3, 0.0F, 1.0F).empty());
  std::vector<std::string> expected(4, " [Invalid Input] -> ImprovedLabelize -> ...");
  expected.emplace_back(" [Invalid Input] -> Labelize -> ...");
  EXPECT_EQ(log.texts("filtrix.filter.improvedlabelize"), expected);
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
