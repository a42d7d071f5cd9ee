#include "sources/vision/robotcalibration.h"

#include "filtrix/ku/log.h"
#include "filtrix/ku/path.h"
#include "sources/vision/calibration.h"
#include "sources/vision/stereo.h"

#include <filesystem>
#include <optional>

namespace vision
{
namespace
{
constexpr const char* category = "filtrix.videosourceworker";

/// Where a robot keeps what was measured on it.
constexpr const char* robotFolder = "/media/internal/share/";

constexpr const char* application = "zorqa/vision";

std::optional<std::filesystem::path> findCalibration(const std::string& sourceName, const char* side,
                                                     const std::string& file)
{
  std::optional<std::filesystem::path> path(robotFolder + file);
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(*path, unknown))
  {
    ku::log::warning(category, "{}: Can't find robot {} calibration file, fallback to default one.", sourceName, side);
    path = ku::path::findData(application, file);
  }
  if (path)
    ku::log::verbose(category, "{}: Find {} calibration file: {}", sourceName, side, path->string());
  else
    ku::log::error(category, "{}: Can't find {} calibration file: {}", sourceName, side, file);
  return path;
}
}  // namespace

void loadRobotCalibrations(const std::string& sourceName, const std::string& leftFile, const std::string& rightFile,
                           Stereo& stereo)
{
  const auto leftPath = findCalibration(sourceName, "left", leftFile);
  const auto rightPath = findCalibration(sourceName, "right", rightFile);
  if (!leftPath || !rightPath)
    return;
  try
  {
    Calibration left;
    Calibration right;
    left.load(*leftPath);
    right.load(*rightPath);
    stereo.setCalibrations(left, right);
  }
  catch (const std::exception& exception)
  {
    ku::log::error(category, "{}: the stereo head is not calibrated: {}", sourceName, exception.what());
  }
}
}  // namespace vision
