#pragma once

#include "filtrix/zrimage.h"
#include "platform/replay/recording.h"

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace ZR::Replay
{
/// One moment of a folder of pictures; an empty name means that there is no such picture.
struct PictureRow
{
  Nanoseconds time{0};
  std::string depth;
  std::string color;
};

/// What the text file of a folder of pictures tells.
struct PictureFolder
{
  ViewAngles view;                                        ///< of both cameras
  double millimetresPerStep = 1.0;                        ///< of the depth pictures
  std::vector<PictureRow> rows;                           ///< by rising time, the first at 0
  bool still = false;                                     ///< one moment, shown for ever
  std::map<std::string, std::array<float, 6>> positions;  ///< of sensors that stand still
};

/// Reads "recording.txt", or "camera.json" where there is no such file:
///
///     # Times in seconds, then the depth and the colour picture; "-" where there is none.
///     view 58 45                            # the whole horizontal and vertical angle, degrees
///     unit 1                                # millimetres of a step of depth
///     position CameraDepth 0 0 1.2 0 0.1 0  # metres and radians: x, y, z, roll, pitch, yaw
///     0.000 depth/0001.png colour/0001.png
///     0.033 depth/0002.png -
///
/// Throws `RecordingError` that names the line.
[[nodiscard]] PictureFolder readPictureFolder(const std::filesystem::path& folder);
}  // namespace ZR::Replay
