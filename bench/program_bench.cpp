// Five image filters in a graph beside the OpenCV functions that they stand for, called one after the other. A warm run
// is to take at most 1.05 times as long, and to touch no fresh page of memory.

#include "bench/comparison.h"
#include "bench/images.h"
#include "filters/generic/genericfilters.h"
#include "filtrix/image.h"
#include "filtrix/ku/clock.h"
#include "program/filtrixprivate.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <sys/resource.h>

#include <chrono>

namespace ZR::Filtrix::Bench
{
namespace
{
constexpr const char* program = R"(
  filter Chain
  {
    Luminance luminance; Dilation dilation; Erosion erosion; Threshold threshold; Invert invert;
    luminance -> invert; invert -> dilation:in; dilation:out -> erosion:in; erosion:out -> threshold:in;
    luminance:in <= image; dilation:size(5) <= size; erosion:size(5) <= size2; threshold:ceil(100) <= ceil;
    threshold:out => out;
  }
  source image { 0 }
  process chain(Chain, 1, 1000) { image <= image; out => out; }
)";

long pageFaults()
{
  rusage usage{};
  ::getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_minflt;
}

void fiveFilters(benchmark::State& state)
{
  const cv::Size size(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  const cv::Mat photo = naturalImage(size);
  ku::ManualClock clock;
  FiltrixPrivate registry(1);
  for (const FilterPtr& filter : Filters::makeGenericFilters())
    registry.addFilter(filter);
  if (!registry.loadProgram(program))
  {
    state.SkipWithError("the program could not be loaded");
    return;
  }
  const auto image = std::make_shared<Type::ColorImage>(photo, "bench", Time(1), 1.0F, 0.75F);
  // Each run has a value of its own, as with a camera, and is due.
  const auto ours = [&]
  {
    clock.advance(std::chrono::milliseconds(2));
    registry.setData("image", makeData(image));
    benchmark::DoNotOptimize(registry.getData("chain:out"));
  };
  const cv::Mat kernel = cv::Mat::ones(5, 5, CV_8U);
  const auto theirs = [&]
  {
    cv::Mat gray;
    cv::Mat inverse;
    cv::Mat dilated;
    cv::Mat eroded;
    cv::Mat mask;
    cv::cvtColor(photo, gray, cv::COLOR_RGB2GRAY);
    cv::bitwise_not(gray, inverse);
    cv::dilate(inverse, dilated, kernel);
    cv::erode(dilated, eroded, kernel);
    cv::compare(eroded, 100, mask, cv::CMP_GT);
    benchmark::DoNotOptimize(mask.data);
  };
  for (int warming = 0; warming < 50; ++warming)
    ours();
  const long before = pageFaults();
  for (int run = 0; run < 1000; ++run)
    ours();
  const long faults = pageFaults() - before;
  compare(state, ours, theirs);
  state.counters["faults_in_1000_runs"] = static_cast<double>(faults);
}

BENCHMARK(fiveFilters)->Args({320, 240})->Args({640, 480})->UseManualTime();
}  // namespace
}  // namespace ZR::Filtrix::Bench
