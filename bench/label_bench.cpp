#include "bench/comparison.h"
#include "filters/generic/genericfilters.h"
#include "filters/generic/labelize.h"
#include "tests/filters/filterkit.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <vector>

// The filters on labels and shapes, each beside OpenCV's nearest function. Both run in turn on the same images, the
// memory for results included; `ratio` is that of the medians, below 1 when ours is the faster one.
namespace
{
using namespace ZR::Filtrix;
using namespace ZR::Filtrix::Filters;
using Test::FilterBench;
using Test::image;
using ZR::Filtrix::Bench::compare;

// Gray blobs of all sizes: noise at five scales, one upon the other.
cv::Mat makeGray(cv::Size size)
{
  cv::RNG random(1);
  cv::Mat sum = cv::Mat::zeros(size, CV_32F);
  for (int scale = 1; scale <= 16; scale *= 2)
  {
    cv::Mat noise(size / (2 * scale), CV_32F);
    random.fill(noise, cv::RNG::NORMAL, 0.0, std::sqrt(scale));
    cv::resize(noise, noise, size, 0.0, 0.0, cv::INTER_CUBIC);
    sum += noise;
  }
  cv::normalize(sum, sum, 0.0, 255.0, cv::NORM_MINMAX);
  sum.convertTo(sum, CV_8U);
  return sum;
}

cv::Mat makeBlobs(cv::Size size)
{
  cv::Mat binary;
  cv::threshold(makeGray(size), binary, 0.0, 255.0, cv::THRESH_BINARY | cv::THRESH_OTSU);
  return binary;
}

cv::Mat makeNoise(cv::Size size)
{
  cv::Mat binary(size, CV_8U);
  cv::RNG(2).fill(binary, cv::RNG::UNIFORM, 0, 2);
  return binary;
}

// Bodies at several distances before a slanted wall, without measurements along their edges.
cv::Mat makeDepth(cv::Size size)
{
  cv::Mat depth(size, CV_16U);
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x)
      depth.at<std::uint16_t>(y, x) = static_cast<std::uint16_t>(3000 + x + y / 2);
  cv::RNG random(3);
  for (int i = 0; i < 12; ++i)
  {
    const cv::Point at(random.uniform(0, size.width), random.uniform(0, size.height));
    const cv::Size axes(size.width / 16, size.height / 6);
    cv::ellipse(depth, at, axes, 0.0, 0.0, 360.0, 1000.0 + 150.0 * i, cv::FILLED);
    cv::ellipse(depth, at, axes, 0.0, 0.0, 360.0, 0.0, 2);
  }
  cv::Mat noise(size, CV_16U);
  random.fill(noise, cv::RNG::UNIFORM, 0, 20);
  cv::add(depth, noise, depth, depth > 0);
  return depth;
}

cv::Mat makeCheckerboard(cv::Size size)
{
  cv::Mat board = cv::Mat::zeros(size, CV_8U);
  for (int y = 0; y < size.height; ++y)
    for (int x = y % 2; x < size.width; x += 2)
      board.at<std::uint8_t>(y, x) = 1;
  return board;
}

cv::Mat makeComb(cv::Size size)
{
  cv::Mat comb = cv::Mat::zeros(size, CV_8U);
  for (int x = 0; x < size.width; x += 2)
    comb.col(x).setTo(1);
  comb.row(size.height - 1).setTo(1);
  return comb;
}

cv::Mat makeSpiral(cv::Size size)
{
  cv::Mat spiral = cv::Mat::zeros(size, CV_8U);
  for (int inset = 0; 2 * inset + 4 < size.height; inset += 2)
  {
    cv::rectangle(spiral, {inset, inset, size.width - 2 * inset, size.height - 2 * inset}, 1);
    spiral.at<std::uint8_t>(inset + 1, inset) = 0;
    spiral.at<std::uint8_t>(inset + 2, inset + 1) = 1;
  }
  return spiral;
}

cv::Mat labelsOf(const cv::Mat& binary)
{
  cv::Mat labels;
  labelize(binary, labels, 255, 0, 0);
  return labels;
}

const cv::Size vga(640, 480);
const cv::Size large(1280, 960);

template <typename Image>
void morphology(benchmark::State& state, FilterPtr (*make)(), const decltype(&cv::dilate) function)
{
  cv::Mat mat;
  makeGray(vga).convertTo(mat, Image::matType);
  const int size = static_cast<int>(state.range(0));
  FilterBench filter(make());
  const DataList inputs{image<Image>(mat), makeData(size)};
  compare(
      state, [&] { benchmark::DoNotOptimize(filter(inputs)); },
      [&]
      {
        cv::Mat out;
        function(mat, out, cv::Mat::ones(size, size, CV_8U), {-1, -1}, 1, cv::BORDER_CONSTANT,
                 cv::morphologyDefaultBorderValue());
        benchmark::DoNotOptimize(out.data);
      });
}

void labelizeForeground(benchmark::State& state, const cv::Mat& binary)
{
  FilterBench filter(makeLabelize());
  const DataList inputs{image<Type::BinaryImage>(binary), nullptr};
  compare(
      state, [&] { benchmark::DoNotOptimize(filter(inputs)); },
      [&]
      {
        cv::Mat labels;
        benchmark::DoNotOptimize(cv::connectedComponents(binary, labels, 4, CV_32S));
      });
}

// Against a natural image of the same size: shapes made to hand out many labels must not take many times as long.
void labelizeShape(benchmark::State& state, const cv::Mat& shape, int tolerance)
{
  const cv::Mat natural = makeBlobs(shape.size());
  const auto run = [tolerance](const cv::Mat& binary)
  {
    cv::Mat labels;
    benchmark::DoNotOptimize(labelize(binary, labels, tolerance, 0, 0));
  };
  compare(
      state, [&] { run(shape); }, [&] { run(natural); });
}

// `exponent`: of what power of the pixels the time grows, from a sixteenth of the size.
void labelizeGrowth(benchmark::State& state)
{
  const cv::Mat small = makeNoise(large / 4);
  const cv::Mat big = makeNoise(large);
  const double ratio = compare(
      state, [&] { benchmark::DoNotOptimize(labelsOf(big)); }, [&] { benchmark::DoNotOptimize(labelsOf(small)); });
  state.counters["exponent"] = std::log(ratio) / std::log(16.0);
}

constexpr int depthTolerance = 60;

int floodFill(const cv::Mat& depth)
{
  cv::Mat values;
  depth.convertTo(values, CV_32F);
  cv::Mat mask = cv::Mat::zeros(depth.rows + 2, depth.cols + 2, CV_8U);
  int regions = 0;
  for (int y = 0; y < depth.rows; ++y)
  {
    const auto* const row = depth.ptr<std::uint16_t>(y);
    const auto* const done = mask.ptr<std::uint8_t>(y + 1) + 1;
    for (int x = 0; x < depth.cols; ++x)
    {
      if (row[x] == 0 || done[x] != 0)
        continue;
      cv::floodFill(values, mask, {x, y}, 0.0, nullptr, depthTolerance, depthTolerance,
                    4 | cv::FLOODFILL_MASK_ONLY | (1 << 8));
      ++regions;
    }
  }
  return regions;
}

void labelizeDepth(benchmark::State& state)
{
  const cv::Mat depth = makeDepth(vga);
  FilterBench filter(makeLabelize());
  const DataList inputs{image<Type::DepthImage>(depth), makeData(depthTolerance)};
  compare(
      state, [&] { benchmark::DoNotOptimize(filter(inputs)); }, [&] { benchmark::DoNotOptimize(floodFill(depth)); });
}

void geodesic(benchmark::State& state, const cv::Mat& binary)
{
  FilterBench filter(makeGeodesic());
  const DataList inputs{image<Type::LabelImage>(labelsOf(binary))};
  const cv::Mat background = binary == 0;
  compare(
      state, [&] { benchmark::DoNotOptimize(filter(inputs)); },
      [&]
      {
        cv::Mat distances;
        cv::Mat labels;
        cv::distanceTransform(background, distances, labels, cv::DIST_L1, cv::DIST_MASK_5, cv::DIST_LABEL_CCOMP);
        benchmark::DoNotOptimize(labels.data);
      });
}

void boxesAndCentres(benchmark::State& state, const cv::Mat& binary)
{
  FilterBench boxes(makeBoundingBox());
  FilterBench centres(makeGravity());
  const DataList inputs{image<Type::LabelImage>(labelsOf(binary))};
  compare(
      state,
      [&]
      {
        benchmark::DoNotOptimize(boxes(inputs));
        benchmark::DoNotOptimize(centres(inputs));
      },
      [&]
      {
        cv::Mat labels;
        cv::Mat stats;
        cv::Mat centroids;
        benchmark::DoNotOptimize(cv::connectedComponentsWithStats(binary, labels, stats, centroids, 4, CV_32S));
      });
}

template <typename Image>
void accum(benchmark::State& state)
{
  cv::Mat mat(vga, Image::matType);
  cv::RNG(4).fill(mat, cv::RNG::UNIFORM, 0, 256);
  FilterBench filter(makeAccum());
  const DataList inputs{image<Image>(mat), makeData(0.3F)};
  cv::Mat last = mat.clone();
  compare(
      state, [&] { benchmark::DoNotOptimize(filter(inputs)); },
      [&]
      {
        cv::Mat out;
        cv::addWeighted(mat, 0.3, last, 0.7, 0.0, out);
        last = out;
      });
}

// A long window against a short one: it must cost the same.
void slidingWindow(benchmark::State& state)
{
  const DataPtr in = image<Type::ColorImage>(cv::Mat::ones(vga, CV_8UC3));
  FilterBench longWindow(makeSlidingWindow());
  FilterBench shortWindow(makeSlidingWindow());
  const DataList longInputs{in, makeData(100)};
  const DataList shortInputs{in, makeData(2)};
  for (int i = 0; i < 100; ++i)
    longWindow(longInputs);
  compare(
      state, [&] { benchmark::DoNotOptimize(longWindow(longInputs)); },
      [&] { benchmark::DoNotOptimize(shortWindow(shortInputs)); });
}

const auto dilationOfBytes = [](benchmark::State& s) { morphology<Type::GrayscaleImage>(s, makeDilation, cv::dilate); };
const auto dilationOfShorts = [](benchmark::State& s) { morphology<Type::DepthImage>(s, makeDilation, cv::dilate); };
const auto erosionOfBytes = [](benchmark::State& s) { morphology<Type::GrayscaleImage>(s, makeErosion, cv::erode); };
const auto erosionOfShorts = [](benchmark::State& s) { morphology<Type::DepthImage>(s, makeErosion, cv::erode); };

template <typename Function, typename... Args>
benchmark::internal::Benchmark* add(const char* name, Function function, Args... args)
{
  return benchmark::RegisterBenchmark(name, [=](benchmark::State& state) { function(state, args...); })
      ->UseManualTime()
      ->Unit(benchmark::kMicrosecond);
}

const bool registered = []
{
  for (const int size : {3, 7, 15})
  {
    add("dilation/bytes", dilationOfBytes)->Arg(size);
    add("dilation/shorts", dilationOfShorts)->Arg(size);
    add("erosion/bytes", erosionOfBytes)->Arg(size);
    add("erosion/shorts", erosionOfShorts)->Arg(size);
  }
  add("labelize/blobs", labelizeForeground, makeBlobs(vga));
  add("labelize/noise", labelizeForeground, makeNoise(vga));
  add("labelize/growth", labelizeGrowth);
  for (const int tolerance : {255, 100})
  {
    add("labelize/checkerboard", labelizeShape, makeCheckerboard(large), tolerance)->Arg(tolerance);
    add("labelize/comb", labelizeShape, makeComb(large), tolerance)->Arg(tolerance);
    add("labelize/spiral", labelizeShape, makeSpiral(large), tolerance)->Arg(tolerance);
  }
  add("labelize/depth", labelizeDepth);
  add("geodesic/blobs", geodesic, makeBlobs(vga));
  add("geodesic/noise", geodesic, makeNoise(vga));
  add("boxesAndCentres/blobs", boxesAndCentres, makeBlobs(vga));
  add("boxesAndCentres/noise", boxesAndCentres, makeNoise(vga));
  add("accum/color", accum<Type::ColorImage>);
  add("accum/depth", accum<Type::DepthImage>);
  add("slidingWindow/longToShort", slidingWindow);
  return true;
}();
}  // namespace
