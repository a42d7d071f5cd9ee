#pragma once

#include <string>

namespace vision
{
class Stereo;

/// Gives the stereo head's calibrations to `stereo`: for each side the robot's own file, below /media/internal/share,
/// or else the default one, among the data files of "zorqa/vision". Where a file is missing or does not serve, that is
/// logged, with the source's name before it, and `stereo` stays as it was. Log category "filtrix.videosourceworker".
void loadRobotCalibrations(const std::string& sourceName, const std::string& leftFile, const std::string& rightFile,
                           Stereo& stereo);
}  // namespace vision
