#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/generic/randommat.h"
#include "filtrix/audiobuffer.h"
#include "filtrix/histogram.h"
#include "filtrix/ku/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using namespace Test;
using Type::BinaryImage;
using Type::ColorImage;
using Type::DepthImage;
using Type::GrayscaleImage;
using Type::LabelImage;
using Type::XYZImage;
using Make = FilterPtr (*)();

constexpr int intMin = std::numeric_limits<int>::min();
constexpr int intMax = std::numeric_limits<int>::max();

// The image of class `Out` that comes out; fails the test and is empty when it is another one.
template <typename Out>
cv::Mat run(Make make, const DataList& inputs)
{
  const DataPtr out = FilterBench(make()).first(inputs);
  if (!out || !out->get<Out>())
  {
    ADD_FAILURE() << "no output of the type";
    return {};
  }
  EXPECT_EQ(Type::sourceName(*out), "test");
  return out->get<Out>()->cvMat();
}

template <typename Image>
cv::Mat threshold(const cv::Mat& mat, int ceil)
{
  return run<BinaryImage>(makeThreshold, {image<Image>(mat), makeData(ceil)});
}

// Random images and coarse ones, of all sizes.
std::vector<cv::Mat> makeMats(int type)
{
  cv::RNG random(51);
  std::vector<cv::Mat> mats;
  for (const cv::Size size : oddSizes)
  {
    mats.push_back(randomMat(random, size, type));
    mats.push_back(coarseMat(random, size, type));
  }
  return mats;
}

TEST(Luminance, FollowsItsDefinition)
{
  const auto luminance = [](int r, int g, int b) { return (66 * r + 128 * g + 25 * b + 128) >> 8; };
  for (const cv::Mat& in : makeMats(CV_8UC3))
    EXPECT_TRUE(equal(run<GrayscaleImage>(makeLuminance, {image<ColorImage>(in)}), mapColors(in, luminance)));
}

TEST(Saturation, IsExactForEveryGreatestAndLeast)
{
  std::vector<cv::Mat> mats = makeMats(CV_8UC3);
  cv::Mat& all = mats.emplace_back(256, 256, CV_8UC3);
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x)
      all.at<cv::Vec3b>(y, x) = cv::Vec3b(static_cast<unsigned char>(y), static_cast<unsigned char>((x + y) / 2),
                                          static_cast<unsigned char>(x));
  const auto saturation = [](int r, int g, int b)
  {
    const auto [least, greatest] = std::minmax({r, g, b});
    return greatest == 0 ? 0 : (greatest - least) * 255 / greatest;
  };
  for (const cv::Mat& in : mats)
    EXPECT_TRUE(equal(run<GrayscaleImage>(makeSaturation, {image<ColorImage>(in)}), mapColors(in, saturation)));
}

TEST(Threshold, MarksWhatIsStrictlyAbove)
{
  for (const int ceil : {0, 1, 84, 85, 254, 255})
  {
    const auto isBrighter = [ceil](int r, int g, int b) { return r + g + b > 3 * ceil; };
    for (const cv::Mat& in : makeMats(CV_8UC3))
      EXPECT_TRUE(equal(threshold<ColorImage>(in, ceil), mapColors(in, isBrighter))) << ceil;
    const auto mark = [ceil](int level, int) { return level > ceil ? 255 : 0; };
    for (const cv::Mat& in : makeMats(CV_8U))
      EXPECT_TRUE(equal(threshold<GrayscaleImage>(in, ceil), combine<unsigned char>(in, in, mark))) << ceil;
  }
  const cv::Mat depths = (cv::Mat_<unsigned short>(1, 4) << 0, 1500, 1501, 65535);
  EXPECT_TRUE(equal(threshold<DepthImage>(depths, 1500), (cv::Mat_<unsigned char>(1, 4) << 0, 0, 255, 255)));
}

TEST(Threshold, TakesLevelsThatNoPixelHas)
{
  const cv::Mat colors = (cv::Mat_<cv::Vec3b>(1, 2) << cv::Vec3b(0, 0, 0), cv::Vec3b(255, 255, 255));
  const cv::Mat levels = (cv::Mat_<unsigned char>(1, 2) << 0, 255);
  const cv::Mat none = cv::Mat::zeros(1, 2, CV_8U);
  // A third of 2^32 and more, where three times the level would start anew from 0.
  for (const int ceil : {intMin, -1431655765, -1, 256, 1431655766, intMax})
  {
    EXPECT_TRUE(equal(threshold<ColorImage>(colors, ceil), none)) << ceil;
    EXPECT_TRUE(equal(threshold<GrayscaleImage>(levels, ceil), ceil < 0 ? cv::Mat(none + 255) : none)) << ceil;
  }
}

TEST(Histogram, CountsEachChannel)
{
  for (const unsigned channels : {1U, 3U})
  {
    for (const cv::Mat& in : makeMats(CV_8UC(static_cast<int>(channels))))
    {
      std::vector<float> expected(256 * channels);
      for (int y = 0; y < in.rows; ++y)
        for (unsigned i = 0; i < static_cast<unsigned>(in.cols) * channels; ++i)
          ++expected[in.ptr(y)[i] * channels + i % channels];
      const DataPtr out =
          FilterBench(makeHistogram()).first({channels == 3 ? image<ColorImage>(in) : image<GrayscaleImage>(in)});
      const auto* const histogram = out->get<Type::Histogram>();
      EXPECT_EQ(histogram->channels(), channels);
      EXPECT_EQ(std::vector<float>(histogram->values(), histogram->values() + histogram->totalSize()), expected);
      EXPECT_EQ(out->timestamp(), Time(1'000'000));
    }
  }
}

// By the means of the two classes at each level, summed up anew.
int otsuLevel(const cv::Mat& image)
{
  int best = 0;
  double bestVariance = 0.0;
  for (int level = 0; level < 256; ++level)
  {
    const cv::Mat dark = image <= level;
    const auto darkCount = static_cast<double>(cv::countNonZero(dark));
    const double brightCount = static_cast<double>(image.total()) - darkCount;
    if (darkCount == 0.0 || brightCount == 0.0)
      continue;
    const auto darkMean = static_cast<float>(cv::mean(image, dark)[0]);
    const auto brightMean = static_cast<float>(cv::mean(image, ~dark)[0]);
    const auto distance = static_cast<double>(darkMean - brightMean);
    const double variance = brightCount * darkCount * distance * distance;
    if (variance > bestVariance)
    {
      bestVariance = variance;
      best = level;
    }
  }
  return best;
}

TEST(Otsu, SplitsAtTheBestLevel)
{
  std::vector<cv::Mat> mats = makeMats(CV_8U);
  for (const int flat : {0, 1, 255})  // no split: above 0 is bright
    mats.emplace_back(3, 5, CV_8U, cv::Scalar(flat));
  mats.push_back((cv::Mat_<unsigned char>(1, 3) << 0, 100, 200));  // an exact tie
  cv::RNG random(52);
  for (int i = 0; i < 20; ++i)
  {
    cv::Mat& both = mats.emplace_back(20, 31, CV_8U);
    random.fill(both.colRange(0, 12), cv::RNG::NORMAL, random.uniform(0, 120), 20);
    random.fill(both.colRange(12, 31), cv::RNG::NORMAL, random.uniform(100, 256), 20);
  }
  for (const cv::Mat& in : mats)
  {
    const int level = in.empty() ? 0 : otsuLevel(in);
    const auto isBright = [level](int pixel, int) { return pixel > level; };
    EXPECT_TRUE(
        equal(run<BinaryImage>(makeOtsu, {image<GrayscaleImage>(in)}), combine<unsigned char>(in, in, isBright)))
        << level;
  }
}

// The definition, pixel by pixel.
cv::Mat nearestMeans(const cv::Mat& in, int size)
{
  const int r = size / 2;
  cv::Mat result = cv::Mat::zeros(in.size(), CV_8U);
  for (int y = r; y < in.rows - r; ++y)
  {
    for (int x = r; x < in.cols - r; ++x)
    {
      const int p = in.at<unsigned char>(y, x);
      int sum = p;
      for (int dy = -r; dy <= 0; ++dy)
      {
        for (int dx = -r; dx <= (dy == 0 ? -1 : r); ++dx)
        {
          const int a = in.at<unsigned char>(y + dy, x + dx);
          const int b = in.at<unsigned char>(y - dy, x - dx);
          const bool takesFirst = dy == 0 ? std::abs(a - p) < std::abs(b - p) : std::abs(a - p) <= std::abs(b - p);
          sum += takesFirst ? a : b;
        }
      }
      const int side = 2 * r + 1;
      result.at<unsigned char>(y, x) = static_cast<unsigned char>(sum / ((side * side - 1) / 2 + 1));
    }
  }
  return result;
}

TEST(SNN, FollowsItsDefinition)
{
  for (const int size : {0, 1, 2, 3, 4, 5, 7, 8, 9})
  {
    for (const cv::Mat& in : makeMats(CV_8U))
    {
      const cv::Mat out = run<BinaryImage>(makeSNN, {image<GrayscaleImage>(in), makeData(size)});
      EXPECT_TRUE(equal(out, nearestMeans(in, size))) << size << in.size();
    }
  }
  // Around 22 the sums outgrow 16 bits.
  cv::RNG random(53);
  cv::Mat bright = randomMat(random, {41, 39}, CV_8U);
  bright |= 0xE0;
  for (const int size : {20, 21, 22, 23, 37, 38, 39})
  {
    const cv::Mat out = run<BinaryImage>(makeSNN, {image<GrayscaleImage>(bright), makeData(size)});
    EXPECT_TRUE(equal(out, nearestMeans(bright, size))) << size;
  }
}

TEST(SNN, AWindowBeyondTheImageLeavesNothing)
{
  const cv::Mat in(9, 12, CV_8U, cv::Scalar(200));
  for (const int size : {10, 11, 65535, 65536, intMax - 1, intMax})
    EXPECT_EQ(cv::countNonZero(run<BinaryImage>(makeSNN, {image<GrayscaleImage>(in), makeData(size)})), 0) << size;
}

TEST(SNN, LogsOtherInputs)
{
  FilterBench filter(makeSNN());
  const DataPtr gray = image<GrayscaleImage>(cv::Mat::ones(1, 1, CV_8U));
  const DataPtr color = image<ColorImage>(cv::Mat::zeros(1, 1, CV_8UC3));
  const ku::log::Capture log;
  for (const DataList& inputs : {DataList{gray}, {gray, nullptr}, {color, makeData(3)}, {gray, makeData(-1)}})
    EXPECT_TRUE(filter(inputs).empty());
  EXPECT_EQ(log.texts("filtrix.filter.snn"), std::vector<std::string>(4, " [Invalid Input] -> Dilation -> ..."));
}

cv::Vec3b rampColor(double value, double lower, double span)
{
  if (value == 0.0 || std::isnan(value))
    return {0, 0, 0};
  if (value < lower)
    return {85, 85, 85};
  const double t = std::min((value - lower) / span, 1.0);
  const double u = std::pow(1.0 - t, 3);
  const auto level = [](double share) { return static_cast<unsigned char>(static_cast<int>(share * 255)); };
  return {level(u), level(1.0 - (u + t * t)), level(t * t)};
}

TEST(ToColorImage, ShowsDepthsInARamp)
{
  cv::Mat depths(256, 256, CV_16U);
  cv::Mat expected(256, 256, CV_8UC3);
  for (int i = 0; i < 65536; ++i)
  {
    depths.at<unsigned short>(i / 256, i % 256) = static_cast<unsigned short>(i);
    expected.at<cv::Vec3b>(i / 256, i % 256) = rampColor(i, 200.0, 3800.0);
  }
  // The cube may be rounded otherwise than by pow.
  EXPECT_LE(cv::norm(run<ColorImage>(makeToColorImage, {image<DepthImage>(depths)}), expected, cv::NORM_INF), 1.0);
}

TEST(ToColorImage, ShowsTheDistanceAheadOfPoints)
{
  const std::vector<float> ahead{0.0F, 0.1F, 0.3F, 1.0F, 3.9F, 4.0F, 50.0F, 1e38F, NAN, -2.0F, INFINITY, -INFINITY};
  cv::Mat points(1, static_cast<int>(ahead.size()), CV_32FC3, cv::Scalar::all(7.0));
  cv::Mat expected(points.size(), CV_8UC3);
  for (int x = 0; x < points.cols; ++x)
  {
    points.at<cv::Vec3f>(x)[0] = ahead[static_cast<std::size_t>(x)];
    expected.at<cv::Vec3b>(x) =
        rampColor(static_cast<double>(ahead[static_cast<std::size_t>(x)]) * 1000, 300.0, 3700.0);
  }
  EXPECT_LE(cv::norm(run<ColorImage>(makeToColorImage, {image<XYZImage>(points)}), expected, cv::NORM_INF), 1.0);
}

TEST(ToColorImage, PaintsALabelByWhereItFirstStands)
{
  cv::RNG random(54);
  for (const cv::Size size : {cv::Size(1, 1), cv::Size(9, 1), cv::Size(300, 9)})
  {
    cv::Mat whole(size + cv::Size(2, 0), CV_32S);
    random.fill(whole, cv::RNG::UNIFORM, -2, size.width > 9 ? 20'000 : 4);
    cv::Mat labels = whole.colRange(1, size.width + 1);
    labels.at<int>(size.height - 1, size.width - 1) = intMax;
    std::map<int, int> firsts;
    cv::Mat expected(size, CV_8UC3);
    for (int y = 0; y < size.height; ++y)
    {
      for (int x = 0; x < size.width; ++x)
      {
        const int label = labels.at<int>(y, x);
        const int first = firsts.try_emplace(label, y * size.width + x).first->second;
        expected.at<cv::Vec3b>(y, x) = label > 0 ? cv::Vec3b(255, static_cast<unsigned char>(first & 255),
                                                             static_cast<unsigned char>(first >> 8 & 255))
                                                 : cv::Vec3b(0, 0, 0);
      }
    }
    EXPECT_TRUE(equal(run<ColorImage>(makeToColorImage, {image<LabelImage>(labels)}), expected)) << size;
  }
}

TEST(ToColorImage, ShowsLevelsAsGray)
{
  for (const cv::Mat& in : makeMats(CV_8U))
  {
    cv::Mat gray(in.size(), CV_8UC3);
    if (!in.empty())
      cv::merge(std::vector<cv::Mat>(3, in), gray);
    const auto whole = [](int level, int) { return level == 0 ? 0 : 255; };
    const cv::Mat binary = combine<unsigned char>(gray, gray, whole);
    EXPECT_TRUE(equal(run<ColorImage>(makeToColorImage, {image<GrayscaleImage>(in)}), gray));
    EXPECT_TRUE(equal(run<ColorImage>(makeToColorImage, {image<BinaryImage>(in)}), binary));
  }
}

TEST(ToColorImage, PassesColorsOnAndDrawsSound)
{
  FilterBench filter(makeToColorImage());
  const DataPtr color = image<ColorImage>(cv::Mat::zeros(1, 1, CV_8UC3));
  EXPECT_EQ(filter.first({color}), color) << "the very object";

  const auto sound = std::make_shared<Type::AudioBuffer>(100U);
  sound->capture.timestamp = Time(42);
  sound->samples()[50] = 32767;
  const DataPtr out = filter.first({makeData(sound)});
  EXPECT_TRUE(equal(Type::toCvMat(*out), sound->draw().cvMat()));
  EXPECT_EQ(out->timestamp(), Time(42));
}

TEST(ColourFilters, TakeEmptyImagesAndNothingElse)
{
  for (const Make make : {makeLuminance, makeSaturation, makeHistogram, makeOtsu, makeToColorImage})
  {
    FilterBench filter(make());
    const std::string name = (*filter).getName();
    for (const DataList& inputs : {DataList{}, {nullptr}, {makeData(1)}})
      EXPECT_TRUE(filter(inputs).empty()) << name;
    const DataPtr empty = make == makeOtsu ? image<GrayscaleImage>(cv::Mat()) : image<ColorImage>(cv::Mat());
    EXPECT_NE(filter.first({empty}), nullptr) << name;
  }
  for (const DataPtr& empty : {image<DepthImage>(cv::Mat()), image<XYZImage>(cv::Mat()), image<LabelImage>(cv::Mat()),
                               image<BinaryImage>(cv::Mat()), image<GrayscaleImage>(cv::Mat())})
    EXPECT_TRUE(run<ColorImage>(makeToColorImage, {empty}).empty());
  EXPECT_TRUE(threshold<DepthImage>(cv::Mat(), 1).empty());
  EXPECT_TRUE(run<BinaryImage>(makeSNN, {image<GrayscaleImage>(cv::Mat()), makeData(3)}).empty());
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
