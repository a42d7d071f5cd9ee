#include "filters/perception/facedetector.h"
#include "filtrix/image.h"
#include "filtrix/ku/path.h"

#include <benchmark/benchmark.h>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>

#include <cmath>
#include <memory>
#include <mutex>

namespace ZR::Filtrix::Bench
{
namespace
{
constexpr const char* photograph = "/usr/share/doc/opencv-doc/examples/data/messi5.jpg";

template <typename Image>
DataPtr makeImage(const cv::Mat& mat)
{
  return makeData(std::make_shared<Image>(mat, "bench", Time(1), 1.0F, 0.75F));
}

/// The photograph as a camera of `width` by three quarters of it would have taken it; without it, noise.
cv::Mat loadPhotograph(int width)
{
  cv::Mat photo = cv::imread(photograph);
  if (photo.empty())
  {
    photo.create(480, 640, CV_8UC3);
    cv::randu(photo, 0, 256);
  }
  cv::Mat frame;
  cv::resize(photo, frame, cv::Size(width, width * 3 / 4), 0.0, 0.0, cv::INTER_AREA);
  return frame;
}

const Filters::FaceDetector& detector()
{
  static const Filters::FaceDetector loaded("bench");
  return loaded;
}

// A whole image; the argument is its width in pixels.
void faceBySize(benchmark::State& state)
{
  const cv::Mat frame = loadPhotograph(static_cast<int>(state.range(0)));
  const DataPtr image = makeImage<Type::ColorImage>(frame);
  for (auto _ : state)
    benchmark::DoNotOptimize(detector().detect(*image, cv::Rect({}, frame.size())));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(frame.total()));
}

// The middle of 640x480; the argument is its share of the area in percent.
void faceByRegion(benchmark::State& state)
{
  const cv::Mat frame = loadPhotograph(640);
  const DataPtr image = makeImage<Type::ColorImage>(frame);
  const double side = std::sqrt(static_cast<double>(state.range(0)) / 100.0);
  const cv::Size size(static_cast<int>(side * frame.cols), static_cast<int>(side * frame.rows));
  const cv::Rect part(cv::Point((frame.cols - size.width) / 2, (frame.rows - size.height) / 2), size);
  for (auto _ : state)
    benchmark::DoNotOptimize(detector().detect(*image, part));
  state.SetItemsProcessed(state.iterations() * part.area());
}

// Several workers search at once, with a classifier each, on images of 320x240.
void faceOfItsOwn(benchmark::State& state)
{
  const DataPtr image = makeImage<Type::ColorImage>(loadPhotograph(320));
  for (auto _ : state)
    benchmark::DoNotOptimize(detector().detect(*image, cv::Rect(0, 0, 320, 240)));
  state.SetItemsProcessed(state.iterations());
}

// The same with one classifier for all of them.
void faceBehindALock(benchmark::State& state)
{
  static std::mutex mutex;
  static cv::CascadeClassifier classifier(
      ku::path::findData("opencv4", "lbpcascades/lbpcascade_frontalface.xml").value().string());
  cv::Mat gray;
  cv::cvtColor(loadPhotograph(320), gray, cv::COLOR_BGR2GRAY);
  for (auto _ : state)
  {
    std::vector<cv::Rect> faces;
    const std::lock_guard guard(mutex);
    classifier.detectMultiScale(gray, faces, 1.2, 3);
    benchmark::DoNotOptimize(faces);
  }
  state.SetItemsProcessed(state.iterations());
}

void loadCascade(benchmark::State& state)
{
  for (auto _ : state)
    benchmark::DoNotOptimize(std::make_unique<Filters::FaceDetector>("bench"));
}

BENCHMARK(faceBySize)->Arg(160)->Arg(320)->Arg(640)->Arg(1280)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(faceByRegion)->Arg(100)->Arg(50)->Arg(25)->Arg(10)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(faceOfItsOwn)->ThreadRange(1, 4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(faceBehindALock)->ThreadRange(1, 4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(loadCascade)->Unit(benchmark::kMillisecond);
}  // namespace
}  // namespace ZR::Filtrix::Bench
