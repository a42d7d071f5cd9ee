#include "filtrix/ku/log.h"
#include "platform/replay/picturefolder.h"
#include "platform/replay/recording.h"
#include "platform/replay/recordingerror.h"

#include <fmt/format.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

namespace ZR::Replay
{
namespace
{
constexpr int depthCamera = 2;
constexpr int topCamera = 0;
constexpr int structuredLight = 4;                   // the model number of a depth camera of this kind
constexpr Nanoseconds stillLap(1'000'000'000 / 30);  // a still picture comes thirty times a second

cv::Mat load(const std::filesystem::path& path, int flags)
try
{
  cv::Mat picture = cv::imread(path.string(), flags);
  if (picture.empty())
    throw RecordingError(fmt::format("{}: cannot be read as a picture", path.string()));
  return picture;
}

catch (const cv::Exception& error)
{
  throw RecordingError(fmt::format("{}: {}", path.string(), error.err));
}

std::unique_ptr<ZRImage> recordOf(const cv::Mat& pixels, int colorSpace)
{
  auto image = std::make_unique<ZRImage>(pixels.cols, pixels.rows, colorSpace);
  cv::Mat view(pixels.rows, pixels.cols, pixels.type(), image->data());
  pixels.copyTo(view);
  return image;
}

std::unique_ptr<ZRImage> loadDepth(const std::filesystem::path& path, double millimetresPerStep)
{
  cv::Mat depth = load(path, cv::IMREAD_UNCHANGED);
  if (depth.type() != CV_16UC1)
    throw RecordingError(fmt::format("{}: expected depth of 16 bits in one channel, came {} bits in {}", path.string(),
                                     8 * depth.elemSize1(), depth.channels()));
  depth.convertTo(depth, CV_16U, millimetresPerStep);
  return recordOf(depth, ColorSpace::depth);
}

std::unique_ptr<ZRImage> loadColor(const std::filesystem::path& path)
{
  cv::Mat color = load(path, cv::IMREAD_COLOR);
  cv::cvtColor(color, color, cv::COLOR_BGR2RGB);
  return recordOf(color, ColorSpace::rgb);
}

/// A track of pictures, and the last of them that was asked for.
struct PictureTrack
{
  int camera = 0;
  int colorSpace = 0;
  std::vector<std::string> names;
  std::vector<Nanoseconds> times;
  std::size_t lastItem = 0;
  std::shared_ptr<const ZRImage> last;
};

class FolderRecording final : public Recording
{
public:
  explicit FolderRecording(std::filesystem::path path_) : path(std::move(path_)), folder(readPictureFolder(path))
  {
    _addTrack(topCamera, ColorSpace::rgb, &PictureRow::color);
    _addTrack(depthCamera, ColorSpace::depth, &PictureRow::depth);
    if (tracks.empty())
      throw RecordingError(fmt::format("{}: expected pictures, came none", path.string()));
    for (const auto& [sensor, position] : folder.positions)
      _addPosition(sensor);
    all.length = folder.rows.back().time;
    all.hasDepthCamera = std::ranges::any_of(tracks, [](const auto& track) { return track.camera == depthCamera; });
    all.cameraModels = {{depthCamera, structuredLight}};
    if (folder.still)
      all.stillLap = stillLap;
  }

  [[nodiscard]] const RecordingContents& contents() const override { return all; }

  [[nodiscard]] std::shared_ptr<const ZRImage> image(std::size_t track, std::size_t item) override
  {
    const std::lock_guard lock(mutex);
    return _load(tracks.at(track), item);
  }

  [[nodiscard]] std::vector<float> position(std::size_t track, std::size_t) override
  {
    const auto& values = folder.positions.at(all.positions.at(track).key.sensor);
    return {values.begin(), values.end()};
  }

  [[nodiscard]] std::shared_ptr<const AudioBlock> audio(std::size_t, std::size_t) override { return nullptr; }

private:
  void _addTrack(int camera, int colorSpace, std::string PictureRow::*name);
  void _addPosition(const std::string& sensor);
  [[nodiscard]] std::shared_ptr<const ZRImage> _load(PictureTrack& track, std::size_t item) const;

  const std::filesystem::path path;
  const PictureFolder folder;
  RecordingContents all;  // fixed once made
  std::mutex mutex;       // guards the tracks' last pictures; held while one is read
  std::vector<PictureTrack> tracks;
};

// All pictures of a track have the size of the first.
void FolderRecording::_addTrack(int camera, int colorSpace, std::string PictureRow::*name)
{
  PictureTrack track;
  track.camera = camera;
  track.colorSpace = colorSpace;
  for (const PictureRow& row : folder.rows)
  {
    if ((row.*name).empty())
      continue;
    track.names.push_back(row.*name);
    track.times.push_back(row.time);
  }
  if (track.names.empty())
    return;
  const auto first = _load(track, 0);
  ZRImageHeader header = first->header();
  header.timestamp = 0;
  all.images.push_back({colorSpace == ColorSpace::rgb ? "colour" : "depth", camera, header, track.times});
  tracks.push_back(std::move(track));
}

// The robot stands still where it started, so its frames are one.
void FolderRecording::_addPosition(const std::string& sensor)
{
  all.sensors.push_back(sensor);
  for (const MotionFrame frame : {MotionFrame::Torso, MotionFrame::World, MotionFrame::Robot})
    for (const bool measured : {true, false})
      all.positions.push_back({PositionKey{sensor, frame, measured}, {Nanoseconds(0)}});
}

std::shared_ptr<const ZRImage> FolderRecording::_load(PictureTrack& track, std::size_t item) const
{
  if (track.last && track.lastItem == item)
    return track.last;
  const auto file = path / track.names.at(item);
  auto image = track.colorSpace == ColorSpace::rgb ? loadColor(file) : loadDepth(file, folder.millimetresPerStep);
  image->setCameraId(static_cast<std::int8_t>(track.camera));
  image->setAngles(folder.view);
  // From one second on: a time of zero means "unset" to much of the runtime.
  constexpr std::int64_t firstMicrosecond = 1'000'000;
  image->setTimestamp(firstMicrosecond +
                      std::chrono::duration_cast<std::chrono::microseconds>(track.times.at(item)).count());
  track.lastItem = item;
  track.last = std::move(image);
  return track.last;
}
}  // namespace

std::unique_ptr<Recording> openFolderRecording(const std::filesystem::path& folder)
{
  return std::make_unique<FolderRecording>(folder);
}

std::unique_ptr<Recording> openRecording(const std::filesystem::path& path)
{
  return std::filesystem::is_directory(path) ? openFolderRecording(path) : openMcapRecording(path);
}
}  // namespace ZR::Replay
