#include "platform/capture/pictureinput.h"

#include <fmt/format.h>
#include <opencv2/videoio.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

namespace ZR::Capture
{
namespace
{
constexpr double usualRate = 30.0;  // of a source that does not tell
constexpr double highestRate = 1000.0;
constexpr auto unwatched = 2 * longestWait;  // longer than the slowest subscriber takes from picture to picture

bool isFilm(const std::string& source)
{
  std::error_code error;
  return std::filesystem::is_regular_file(source, error);
}

bool isNumber(const std::string& source)
{
  const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
  constexpr std::size_t longest = 4;
  return !source.empty() && source.size() <= longest && std::ranges::all_of(source, isDigit);
}

// A plain path. Addresses ("rtsp://..."), pipelines and numbered pictures ("walk%03d.png") have letters of their own.
bool isPath(const std::string& source)
{
  return source.find("://") == std::string::npos && source.find_first_of("!%") == std::string::npos;
}

[[noreturn]] void refuse(const std::string& source)
{
  throw CaptureError(
      fmt::format("\"{}\" cannot be opened; expected the number of a camera, a video file or a stream", source));
}

cv::VideoCapture openVideo(const std::string& source)
{
  cv::VideoCapture video;
  std::error_code error;
  if (isNumber(source))
    video.open(std::stoi(source));
  else if (isPath(source) && !std::filesystem::exists(source, error))
    refuse(source);  // OpenCV would try all it knows, and complain at length
  else
    video.open(source);
  if (!video.isOpened())
    refuse(source);
  return video;
}

double rateOf(const cv::VideoCapture& video)
{
  const double rate = video.get(cv::CAP_PROP_FPS);
  return rate > 0 && rate <= highestRate ? rate : usualRate;
}

/// A video file, paced by the clock from the first look on.
class Film final : public PictureInput
{
public:
  explicit Film(const CameraInput& input)
      : source(input.source), loop(input.loop), video(openVideo(source)), perSecond(rateOf(video))
  {
  }

  [[nodiscard]] double rate() const override { return perSecond; }

  [[nodiscard]] std::optional<Picture> next(std::uint64_t number, Waiter& waiter) override
  {
    return waiter.wait([&](ku::Clock::time_point& wake) { return _look(number, wake); });
  }

private:
  [[nodiscard]] std::optional<Picture> _look(std::uint64_t number, ku::Clock::time_point& wake);
  [[nodiscard]] ku::Clock::time_point _timeOf(std::uint64_t number) const;
  [[nodiscard]] std::uint64_t _numberAt(ku::Clock::time_point time) const;
  void _pauseIfUnwatched(ku::Clock::time_point now);
  void _readTo(std::uint64_t number);
  [[nodiscard]] bool _grab();

  const std::string source;
  const bool loop;

  std::mutex mutex;  // guards the rest; held while pictures are read
  cv::VideoCapture video;
  const double perSecond;
  std::optional<ku::Clock::time_point> origin;  // when picture 0 is to be seen
  std::uint64_t grabbed = 0;                    // how many have been read
  std::optional<Picture> newest;
  bool ended = false;
};

std::optional<Picture> Film::_look(std::uint64_t number, ku::Clock::time_point& wake)
{
  const std::lock_guard lock(mutex);
  const ku::Clock::time_point now = ku::Clock::now();
  if (!origin)
    origin = now;
  _pauseIfUnwatched(now);
  if (ended && grabbed <= number)
    return std::nullopt;
  const std::uint64_t visible = _numberAt(now);
  if (visible < number)
  {
    wake = _timeOf(number);
    return std::nullopt;
  }
  _readTo(visible);
  return newest && newest->number >= number ? newest : std::nullopt;
}

ku::Clock::time_point Film::_timeOf(std::uint64_t number) const
{
  return *origin + ku::Clock::duration(std::llround(static_cast<double>(number) / perSecond * 1e9));
}

std::uint64_t Film::_numberAt(ku::Clock::time_point time) const
{
  const double seconds = std::chrono::duration<double>(time - *origin).count();
  auto number = static_cast<std::uint64_t>(std::max(0.0, std::round(seconds * perSecond)));
  while (number > 0 && _timeOf(number) > time)
    --number;
  return number;
}

// Reading what nobody saw would take long, and show a film without its beginning.
void Film::_pauseIfUnwatched(ku::Clock::time_point now)
{
  const ku::Clock::time_point seenUntil = _timeOf(grabbed);
  if (now - seenUntil > unwatched)
    *origin += now - seenUntil;
}

void Film::_readTo(std::uint64_t number)
{
  bool hasNew = false;
  while (grabbed <= number && _grab())
  {
    ++grabbed;
    hasNew = true;
  }
  if (!hasNew)
    return;
  cv::Mat bgr;
  if (video.retrieve(bgr) && !bgr.empty())
    newest = Picture{bgr, grabbed - 1, _timeOf(grabbed - 1)};
}

// At the end a film that loops begins again; one that gives nothing even then has ended.
bool Film::_grab()
{
  if (ended)
    return false;
  if (video.grab())
    return true;
  if (loop && grabbed > 0)
  {
    video.open(source);
    if (video.isOpened() && video.grab())
      return true;
  }
  ended = true;
  return false;
}

/// A camera or a stream, which sets the pace itself. Whoever wants a picture that is not there yet reads it, and the
/// others wait for that.
class Device final : public PictureInput
{
public:
  explicit Device(const CameraInput& input) : video(openVideo(input.source)), perSecond(rateOf(video)) {}

  [[nodiscard]] double rate() const override { return perSecond; }

  [[nodiscard]] std::optional<Picture> next(std::uint64_t number, Waiter&) override
  {
    const std::lock_guard lock(mutex);
    const ku::Clock::time_point latest = ku::Clock::now() + longestWait;
    while (!newest || newest->number < number)
      if (!_read() || ku::Clock::now() >= latest)
        return std::nullopt;
    return newest;
  }

private:
  [[nodiscard]] bool _read()
  {
    cv::Mat bgr;
    if (!video.read(bgr) || bgr.empty())
      return false;
    newest = Picture{bgr, count++, ku::Clock::now()};
    return true;
  }

  std::mutex mutex;  // guards the rest; held while a picture is read
  cv::VideoCapture video;
  const double perSecond;
  std::uint64_t count = 0;
  std::optional<Picture> newest;
};
}  // namespace

std::unique_ptr<PictureInput> openPictures(const CameraInput& input)
try
{
  if (isFilm(input.source))
    return std::make_unique<Film>(input);
  return std::make_unique<Device>(input);
}

catch (const cv::Exception& error)
{
  throw CaptureError(fmt::format("\"{}\": {}", input.source, error.err));
}
}  // namespace ZR::Capture
