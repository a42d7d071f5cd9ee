#include "bench/comparison.h"
#include "bench/images.h"
#include "filters/generic/genericfilters.h"
#include "tests/filters/filterkit.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <cstdlib>
#include <functional>
#include <string>

// The filters on colours and levels, each beside OpenCV's nearest function, on a photograph. The memory for results is
// included on both sides.
namespace
{
using namespace ZR::Filtrix;
using namespace ZR::Filtrix::Filters;
using Bench::compare;
using Test::FilterBench;
using Test::image;
using Type::BinaryImage;
using Type::ColorImage;
using Type::DepthImage;
using Type::GrayscaleImage;

// What the filters of one size run on.
struct Images
{
  explicit Images(cv::Size size)
      : color(Bench::naturalImage(size)), other(Bench::naturalImage(size, "baboon.jpg")),
        gray(Bench::naturalGray(size)), otherGray(Bench::naturalGray(size, "baboon.jpg"))
  {
    cv::threshold(gray, binary, 0.0, 255.0, cv::THRESH_BINARY | cv::THRESH_OTSU);
    gray.convertTo(depth, CV_16U, 30.0);
  }

  cv::Mat color;
  cv::Mat other;
  cv::Mat gray;
  cv::Mat otherGray;
  cv::Mat binary;
  cv::Mat depth;
};

struct Pair
{
  const char* name;
  FilterPtr (*make)();
  std::function<DataList(const Images&)> inputs;
  std::function<void(const Images&, cv::Mat& out)> theirs;
};

DataList colors(const Images& i)
{
  return {image<ColorImage>(i.color), image<ColorImage>(i.other)};
}

DataList grays(const Images& i)
{
  return {image<GrayscaleImage>(i.gray), image<GrayscaleImage>(i.otherGray)};
}

DataList color(const Images& i)
{
  return {image<ColorImage>(i.color)};
}

DataList gray(const Images& i)
{
  return {image<GrayscaleImage>(i.gray)};
}

template <typename Inputs>
auto with(const Inputs& inputs, int number)
{
  return [inputs, number](const Images& i)
  {
    DataList list = inputs(i);
    list.push_back(makeData(number));
    return list;
  };
}

template <int channel>
void toHsv(const Images& i, cv::Mat& out)
{
  cv::Mat hsv;
  cv::cvtColor(i.color, hsv, cv::COLOR_RGB2HSV);
  cv::extractChannel(hsv, out, channel);
}

void countLevels(const cv::Mat& mat, cv::Mat& out)
{
  constexpr int levels = 256;
  const float range[] = {0.0F, 256.0F};
  const float* ranges[] = {range};
  for (int channel = 0; channel < mat.channels(); ++channel)
    cv::calcHist(&mat, 1, &channel, cv::Mat(), out, 1, &levels, ranges);
}

// The definition as a plain loop over the pixels.
void nearestMeans(const cv::Mat& in, int size, cv::Mat& out)
{
  const int r = size / 2;
  const auto step = static_cast<std::ptrdiff_t>(in.step[0]);
  out = cv::Mat::zeros(in.size(), CV_8U);
  for (int y = r; y < in.rows - r; ++y)
  {
    for (int x = r; x < in.cols - r; ++x)
    {
      const unsigned char* const p = in.ptr(y, x);
      int sum = *p;
      for (int dx = -r; dx < 0; ++dx)
        sum += std::abs(p[dx] - *p) < std::abs(p[-dx] - *p) ? p[dx] : p[-dx];
      for (int dy = -r; dy < 0; ++dy)
      {
        for (int dx = -r; dx <= r; ++dx)
        {
          const std::ptrdiff_t at = dy * step + dx;
          sum += std::abs(p[at] - *p) <= std::abs(p[-at] - *p) ? p[at] : p[-at];
        }
      }
      out.at<unsigned char>(y, x) = static_cast<unsigned char>(sum / ((size * size - 1) / 2 + 1));
    }
  }
}

template <int size>
void nearestMeansOf(const Images& i, cv::Mat& out)
{
  nearestMeans(i.gray, size, out);
}

const Pair pairs[] = {
    {"add/color", makeAdd, colors, [](const Images& i, cv::Mat& out) { cv::add(i.color, i.other, out); }},
    {"add/gray", makeAdd, grays, [](const Images& i, cv::Mat& out) { cv::add(i.gray, i.otherGray, out); }},
    {"sub/color", makeSub, colors, [](const Images& i, cv::Mat& out) { cv::absdiff(i.color, i.other, out); }},
    {"min/color", makeMin, colors, [](const Images& i, cv::Mat& out) { cv::min(i.color, i.other, out); }},
    {"max/color", makeMax, colors, [](const Images& i, cv::Mat& out) { cv::max(i.color, i.other, out); }},
    {"multiply/color", makeMultiply, colors,
     [](const Images& i, cv::Mat& out) { cv::multiply(i.color, i.other, out, 1.0 / 255.0); }},
    {"multiply/number", makeMultiply, with(gray, 2),
     [](const Images& i, cv::Mat& out) { i.gray.convertTo(out, -1, 2); }},
    {"invert/color", makeInvert, color,
     [](const Images& i, cv::Mat& out) { cv::subtract(cv::Scalar::all(255), i.color, out); }},
    {"invert/binary", makeInvert, [](const Images& i) { return DataList{image<BinaryImage>(i.binary)}; },
     [](const Images& i, cv::Mat& out) { cv::bitwise_not(i.binary, out); }},
    {"mask/color", makeMask,
     [](const Images& i) {
       return DataList{image<BinaryImage>(i.binary), image<ColorImage>(i.color)};
     },
     [](const Images& i, cv::Mat& out) { i.color.copyTo(out, i.binary); }},
    {"mask/depth", makeMask,
     [](const Images& i) {
       return DataList{image<BinaryImage>(i.binary), image<DepthImage>(i.depth)};
     },
     [](const Images& i, cv::Mat& out) { i.depth.copyTo(out, i.binary); }},
    {"threshold/gray", makeThreshold, with(gray, 100),
     [](const Images& i, cv::Mat& out) { cv::compare(i.gray, 100, out, cv::CMP_GT); }},
    {"threshold/depth", makeThreshold, with([](const Images& i) { return DataList{image<DepthImage>(i.depth)}; }, 3000),
     [](const Images& i, cv::Mat& out) { cv::compare(i.depth, 3000, out, cv::CMP_GT); }},
    {"threshold/color", makeThreshold, with(color, 100),
     [](const Images& i, cv::Mat& out)
     {
       cv::cvtColor(i.color, out, cv::COLOR_RGB2GRAY);
       cv::threshold(out, out, 100.0, 1.0, cv::THRESH_BINARY);
     }},
    {"otsu", makeOtsu, gray,
     [](const Images& i, cv::Mat& out) { cv::threshold(i.gray, out, 0.0, 1.0, cv::THRESH_BINARY | cv::THRESH_OTSU); }},
    {"histogram/gray", makeHistogram, gray, [](const Images& i, cv::Mat& out) { countLevels(i.gray, out); }},
    {"histogram/color", makeHistogram, color, [](const Images& i, cv::Mat& out) { countLevels(i.color, out); }},
    {"luminance", makeLuminance, color,
     [](const Images& i, cv::Mat& out) { cv::cvtColor(i.color, out, cv::COLOR_RGB2GRAY); }},
    {"saturation", makeSaturation, color, toHsv<1>},
    {"hue", makeHue, with(color, 30), toHsv<0>},
    {"snn/3", makeSNN, with(gray, 3), nearestMeansOf<3>},
    {"snn/5", makeSNN, with(gray, 5), nearestMeansOf<5>},
    {"snn/7", makeSNN, with(gray, 7), nearestMeansOf<7>},
};

void run(benchmark::State& state, const Pair& pair, cv::Size size)
{
  const Images images(size);
  const DataList inputs = pair.inputs(images);
  FilterBench filter(pair.make());
  compare(
      state, [&] { benchmark::DoNotOptimize(filter(inputs)); },
      [&]
      {
        cv::Mat out;
        pair.theirs(images, out);
        benchmark::DoNotOptimize(out.data);
      });
}

const bool registered = []
{
  for (const Pair& pair : pairs)
  {
    for (const auto& [width, height] : Bench::sizes)
      benchmark::RegisterBenchmark((pair.name + ("/" + std::to_string(width))).c_str(),
                                   [&pair, size = cv::Size(width, height)](benchmark::State& state)
                                   { run(state, pair, size); })
          ->UseManualTime()
          ->Unit(benchmark::kMicrosecond);
  }
  return true;
}();
}  // namespace
