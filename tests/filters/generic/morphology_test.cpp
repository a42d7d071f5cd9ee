#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filtrix/ku/log.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using Test::image;

struct Operation
{
  const char* name;
  FilterPtr (*make)();
  bool greatest;
};

// Over the pixels of the image alone: from size / 2 before the pixel, size in all.
template <typename Pixel>
cv::Mat plainMorphology(const cv::Mat& in, int size, bool greatest)
{
  cv::Mat out(in.size(), in.type());
  for (int y = 0; y < in.rows; ++y)
    for (int x = 0; x < in.cols; ++x)
    {
      const cv::Rect square(x - size / 2, y - size / 2, size, size);
      double least = 0.0;
      double most = 0.0;
      cv::minMaxLoc(in(square & cv::Rect({}, in.size())), &least, &most);
      out.at<Pixel>(y, x) = static_cast<Pixel>(greatest ? most : least);
    }
  return out;
}

class MorphologyTest : public testing::TestWithParam<Operation>
{
protected:
  template <typename Image>
  void expectPlain(const cv::Mat& in, int size)
  {
    const DataPtr out = filter.first({image<Image>(in), makeData(size)});
    ASSERT_NE(out, nullptr);
    ASSERT_EQ(out->type(), tagOf<Image>);
    EXPECT_EQ(Type::timestamp(*out), Time(1'000'000));
    const cv::Mat expected = plainMorphology<typename Image::PixelType>(in, size, GetParam().greatest);
    EXPECT_EQ(cv::norm(Type::toCvMat(*out), expected, cv::NORM_INF), 0.0) << in.size() << ", size " << size;
  }

  FilterBench filter{GetParam().make()};
};

TEST_P(MorphologyTest, FollowsTheDefinition)
{
  cv::RNG random(3);
  for (const cv::Size size : {cv::Size(1, 1), cv::Size(1, 9), cv::Size(9, 1), cv::Size(21, 14)})
    for (const int side : {1, 2, 3, 4, 7, 15, 60})
    {
      // A part of a larger matrix, whose other pixels must not matter.
      cv::Mat bytes(size + cv::Size(6, 6), CV_8U);
      random.fill(bytes, cv::RNG::UNIFORM, 0, 256);
      cv::Mat shorts(bytes.size(), CV_16U);
      random.fill(shorts, cv::RNG::UNIFORM, 0, 65536);
      const cv::Rect part({3, 2}, size);
      expectPlain<Type::GrayscaleImage>(bytes(part), side);
      expectPlain<Type::BinaryImage>(bytes(part), side);
      expectPlain<Type::DepthImage>(shorts(part), side);
    }
}

TEST_P(MorphologyTest, AHugeSquareCoversTheImage)
{
  cv::Mat bytes(40, 30, CV_8U);
  cv::RNG(1).fill(bytes, cv::RNG::UNIFORM, 5, 200);
  const DataPtr in = image<Type::GrayscaleImage>(bytes);
  const cv::Mat covered = Type::toCvMat(*filter.first({in, makeData(std::numeric_limits<int>::max())}));
  double least = 0.0;
  double most = 0.0;
  cv::minMaxLoc(bytes, &least, &most);
  EXPECT_EQ(cv::norm(covered, cv::Mat(bytes.size(), CV_8U, GetParam().greatest ? most : least), cv::NORM_INF), 0.0);
}

TEST_P(MorphologyTest, KeepsItsInput)
{
  const cv::Mat bytes(cv::Mat_<uchar>({3, 3}, {0, 0, 0, 0, 9, 0, 0, 0, 0}));
  const cv::Mat before = bytes.clone();
  filter({image<Type::GrayscaleImage>(bytes), makeData(3)});
  EXPECT_EQ(cv::norm(bytes, before, cv::NORM_INF), 0.0);
  EXPECT_TRUE(Type::toCvMat(*filter.first({image<Type::GrayscaleImage>(cv::Mat()), makeData(3)})).empty());
}

TEST_P(MorphologyTest, RefusesOtherInputs)
{
  const DataPtr gray = image<Type::GrayscaleImage>(cv::Mat::ones(2, 2, CV_8U));
  const DataPtr color = image<Type::ColorImage>(cv::Mat::ones(2, 2, CV_8UC3));
  const ku::log::Capture log;
  const DataList wrong[] = {{},
                            {gray},
                            {gray, nullptr},
                            {nullptr, makeData(3)},
                            {color, makeData(3)},
                            {gray, makeData(3.0F)},
                            {gray, makeData(0)},
                            {gray, makeData(-3)}};
  for (const DataList& inputs : wrong)
    EXPECT_TRUE(filter(inputs).empty());
  const std::string name = GetParam().name;
  std::string category = "filtrix.filter." + name;
  std::ranges::transform(category, category.begin(), [](char c) { return static_cast<char>(std::tolower(c)); });
  EXPECT_EQ(log.texts(category), std::vector<std::string>(std::size(wrong), " [Invalid Input] -> " + name + " -> ..."));
}

INSTANTIATE_TEST_SUITE_P(Both, MorphologyTest,
                         testing::Values(Operation{"Dilation", makeDilation, true},
                                         Operation{"Erosion", makeErosion, false}),
                         [](const auto& test) { return std::string(test.param.name); });
}  // namespace
}  // namespace ZR::Filtrix::Filters
