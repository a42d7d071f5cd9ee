#include "platform/replay/picturefolder.h"

#include "platform/replay/recordingerror.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>
#include <string_view>
#include <utility>

namespace ZR::Replay
{
namespace
{
using Words = std::vector<std::string>;

constexpr double radiansPerDegree = std::numbers::pi / 180.0;
constexpr double maxSeconds = 1e9;
constexpr const char* textName = "recording.txt";
constexpr const char* jsonName = "camera.json";

Words wordsOf(const std::string& line)
{
  std::istringstream text(line.substr(0, line.find('#')));
  Words words;
  for (std::string word; text >> word;)
    words.push_back(std::move(word));
  return words;
}

double numberOf(const std::string& word)
{
  std::istringstream text(word);
  text.imbue(std::locale::classic());
  double value = 0;
  if (!(text >> value) || !text.eof() || !std::isfinite(value))
    throw RecordingError(fmt::format("expected a number, came \"{}\"", word));
  return value;
}

void requireCount(const Words& words, std::size_t count, const char* form)
{
  if (words.size() != count)
    throw RecordingError(fmt::format("expected \"{}\", came {} words", form, words.size()));
}

ViewAngles viewOf(double horizontalDegrees, double verticalDegrees)
{
  for (const double degrees : {horizontalDegrees, verticalDegrees})
    if (degrees <= 0 || degrees >= 180)
      throw RecordingError(fmt::format("an angle of view of {} degrees, expected between 0 and 180", degrees));
  const auto side = static_cast<float>(horizontalDegrees * radiansPerDegree / 2);
  const auto up = static_cast<float>(verticalDegrees * radiansPerDegree / 2);
  return {side, up, -side, -up};
}

// A name within the folder: a recording must not show files from elsewhere.
std::string pictureName(const std::string& word)
{
  if (word == "-")
    return {};
  const std::filesystem::path path(word);
  if (path.is_absolute() || std::ranges::find(path, "..") != path.end())
    throw RecordingError(fmt::format("expected a picture within the folder, came \"{}\"", word));
  return word;
}

void addRow(PictureFolder& folder, const Words& words)
{
  requireCount(words, 3, "<seconds> <depth picture> <colour picture>");
  const double seconds = numberOf(words[0]);
  if (std::abs(seconds) > maxSeconds)
    throw RecordingError(fmt::format("a time of {} s, expected at most {}", seconds, maxSeconds));
  const Nanoseconds time(std::llround(seconds * 1e9));
  if (!folder.rows.empty() && time <= folder.rows.back().time)
    throw RecordingError(fmt::format("the time {} s, expected a later one than on the line before", seconds));
  folder.rows.push_back({time, pictureName(words[1]), pictureName(words[2])});
}

void setUnit(PictureFolder& folder, double millimetres)
{
  if (!(millimetres > 0))
    throw RecordingError(fmt::format("a unit of {} mm, expected more than 0", millimetres));
  folder.millimetresPerStep = millimetres;
}

void readLine(PictureFolder& folder, const Words& words)
{
  if (words[0] == "view")
  {
    requireCount(words, 3, "view <horizontal degrees> <vertical degrees>");
    folder.view = viewOf(numberOf(words[1]), numberOf(words[2]));
  }
  else if (words[0] == "unit")
  {
    requireCount(words, 2, "unit <millimetres>");
    setUnit(folder, numberOf(words[1]));
  }
  else if (words[0] == "position")
  {
    requireCount(words, 8, "position <sensor> <x> <y> <z> <roll> <pitch> <yaw>");
    auto& position = folder.positions[words[1]];
    for (std::size_t i = 0; i < position.size(); ++i)
      position[i] = static_cast<float>(numberOf(words[i + 2]));
  }
  else
  {
    addRow(folder, words);
  }
}

PictureFolder readText(const std::filesystem::path& path)
{
  PictureFolder folder;
  std::ifstream file(path);
  int number = 0;
  for (std::string line; std::getline(file, line);)
  {
    ++number;
    const Words words = wordsOf(line);
    if (words.empty())
      continue;
    try
    {
      readLine(folder, words);
    }
    catch (const RecordingError& error)
    {
      throw RecordingError(fmt::format("{}:{}: {}", path.string(), number, error.what()));
    }
  }
  if (folder.rows.empty())
    throw RecordingError(fmt::format("{}: expected a line for every moment, came none", path.string()));
  const Nanoseconds start = folder.rows.front().time;
  for (PictureRow& row : folder.rows)
    row.time -= start;
  return folder;
}

double numberIn(const nlohmann::json& camera, const char* key)
{
  if (!camera.is_object() || !camera.contains(key) || !camera[key].is_number())
    throw RecordingError(fmt::format("expected the number \"{}\"", key));
  return camera[key].get<double>();
}

// Where a camera is above the plane n * p + d = 0 of the ground; p in metres with x right, y down and z ahead. The turn
// about the vertical is not known from a plane and taken as zero, as is the place on the ground.
std::array<float, 6> positionAbove(const nlohmann::json& plane)
{
  const auto isNumber = [](const auto& item) { return item.is_number(); };
  if (!plane.is_array() || plane.size() != 4 || !std::ranges::all_of(plane, isNumber))
    throw RecordingError("expected four numbers in \"ground_plane_m\"");
  const double d = plane[3].get<double>();
  const double length = std::hypot(plane[0].get<double>(), plane[1].get<double>(), plane[2].get<double>());
  if (!(length > 0))
    throw RecordingError("expected a normal in \"ground_plane_m\", came 0");

  // The upward direction written in the robot's way: x ahead, y left, z up. It is the last row of the turn, which is
  // -sin(pitch), cos(pitch) sin(roll), cos(pitch) cos(roll).
  const double sign = (d < 0 ? -1.0 : 1.0) / length;
  const double ahead = sign * plane[2].get<double>();
  const double left = -sign * plane[0].get<double>();
  const double up = -sign * plane[1].get<double>();
  return {0,
          0,
          static_cast<float>(std::abs(d) / length),
          static_cast<float>(std::atan2(left, up)),
          static_cast<float>(-std::asin(std::clamp(ahead, -1.0, 1.0))),
          0};
}

PictureFolder readJson(const std::filesystem::path& path)
try
{
  std::ifstream file(path);
  const auto camera = nlohmann::json::parse(file, nullptr, false);
  PictureFolder folder;
  folder.view = viewOf(numberIn(camera, "hfov_deg"), numberIn(camera, "vfov_deg"));
  if (camera.contains("depth_unit_mm"))
    setUnit(folder, numberIn(camera, "depth_unit_mm"));
  if (camera.contains("ground_plane_m"))
    for (const char* const sensor : {"CameraTop", "CameraDepth"})
      folder.positions[sensor] = positionAbove(camera["ground_plane_m"]);

  const auto present = [&](const char* name)
  { return std::filesystem::exists(path.parent_path() / name) ? std::string(name) : std::string(); };
  folder.rows.push_back({Nanoseconds(0), present("depth.png"), present("colour.png")});
  folder.still = true;
  return folder;
}

catch (const RecordingError& error)
{
  throw RecordingError(fmt::format("{}: {}", path.string(), error.what()));
}
}  // namespace

PictureFolder readPictureFolder(const std::filesystem::path& folder)
{
  if (std::filesystem::exists(folder / textName))
    return readText(folder / textName);
  if (std::filesystem::exists(folder / jsonName))
    return readJson(folder / jsonName);
  throw RecordingError(fmt::format("{}: expected \"{}\" or \"{}\", came neither", folder.string(), textName, jsonName));
}
}  // namespace ZR::Replay
