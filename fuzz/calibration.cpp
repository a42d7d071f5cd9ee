// Reads arbitrary bytes as a camera's calibration. A refused file leaves the calibration as it was; an accepted one has
// matrices that can be scaled and written, and is the same when it is read again.

#include "sources/vision/calibration.h"
#include "filtrix/ku/log.h"
#include "inputfile.h"

#include <opencv2/core.hpp>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>

namespace
{
bool equal(const cv::Mat& a, const cv::Mat& b)
{
  return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

void check(const vision::Calibration& read)
{
  const ZR::Fuzz::InputFile copy(nullptr, 0);
  read.save(copy.path());
  vision::Calibration again;
  again.load(copy.path());
  if (again.size() != read.size() || !equal(again.cameraMatrix, read.cameraMatrix) ||
      !equal(again.distortion, read.distortion) || !equal(again.rectificationMatrix, read.rectificationMatrix) ||
      !equal(again.projectionMatrix, read.projectionMatrix))
    std::abort();
  if (read.scaleTo(read.width, read.height).size() != read.size())
    std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const ku::log::Capture log(ku::log::Level::Fatal);
  const ZR::Fuzz::InputFile file(data, size);
  vision::Calibration calibration;
  calibration.width = 7;
  try
  {
    calibration.load(file.path());
  }
  catch (const std::exception& error)
  {
    if (calibration.width != 7 || !calibration.cameraMatrix.empty() || std::string(error.what()).empty())
      std::abort();
    return 0;
  }
  check(calibration);
  return 0;
}
