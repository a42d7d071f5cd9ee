// `filtrix people`: finds people and tells everything that is known of them.

#include "filtrix/image.h"
#include "filtrix/properties.h"
#include "filtrix/time.h"
#include "module/zrfiltrix.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/interrupt.h"
#include "tools/filtrix/personview.h"
#include "tools/filtrix/session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <numbers>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;

struct PeopleOptions
{
  RobotOptions robot;
  std::string resolution = "QVGA";
  double rate = 15.0;
  double seconds = 0.0;
  bool json = false;
  bool statistics = false;
  std::string frames;
  std::string video;
  float height = 1.2F;  ///< of a camera that does not know, metres
  float tilt = 0.0F;    ///< of such a camera, downwards, degrees
};

// One run's results.
struct Moment
{
  DataPtr population;
  DataPtr removed;
  DataPtr display;
  DataPtr image;   ///< what the colour camera has seen; null where depth is
  double latency;  ///< milliseconds from the image to the result
};

// What is told at the end.
class Summary final
{
public:
  void add(const std::vector<PersonView>& people, double latency)
  {
    ++frames;
    // A recording's own times say nothing about how long this machine takes.
    if (latency > 0.0 && latency < 60'000.0)
      latencies.push_back(latency);
    most = std::max(most, people.size());
    for (const PersonView& person : people)
    {
      ids.insert(person.id);
      for (const std::string& event : person.events)
        ++events[event];
    }
  }

  [[nodiscard]] std::string text(double seconds)
  {
    std::string result = fmt::format("\n{} frames in {:.1f} s: {:.1f} a second", frames, seconds,
                                     static_cast<double>(frames) / std::max(seconds, 1.0e-3));
    if (!latencies.empty())
    {
      std::ranges::sort(latencies);
      result += fmt::format(", latency {:.0f} ms (99 %: {:.0f} ms)", latencies[latencies.size() / 2],
                            latencies[latencies.size() * 99 / 100]);
    }
    result += fmt::format("\n{} people, at most {} at once", ids.size(), most);
    for (const auto& [event, count] : events)
      result += fmt::format("\n  {} {}", count, event);
    return result + "\n";
  }

private:
  std::size_t frames = 0;
  std::size_t most = 0;
  std::set<std::uint64_t> ids;
  std::map<std::string, int> events;
  std::vector<double> latencies;
};

/// Frames a second; no camera of a robot is faster.
constexpr double fastestCamera = 30.0;

// Where depth is, the depth camera's; else that of the top camera. The camera is asked for twice as many images as are
// looked at, so that there is a new one whenever one is wanted.
std::string processText(bool is3d, const PeopleOptions& options)
{
  const std::string motion = is3d ? "CameraDepth" : "CameraTop";
  return fmt::format("process people({0}, 8, {1}) {{ {2} colorImage <= VideoDevice_TopCamera<{3}>; "
                     "cameraPositionTorso <= Motion_{4}<TORSO>; cameraPositionRobot <= Motion_{4}<ROBOT>; "
                     "cameraPositionWorld <= Motion_{4}<WORLD>; heightOffset <= RobotHeightOffset; "
                     "population => population; removed => removed; display => display; {7} }}\n"
                     "process camera(Identity, 5, {5}) {{ in <= VideoDevice_{6}Camera<{3}>; out => out; }}",
                     is3d ? "People3D" : "People2D", options.rate,
                     is3d ? fmt::format("depthImage <= VideoDevice_DepthCamera<{}>;", options.resolution) : "",
                     options.resolution, motion, std::min(2.0 * options.rate, fastestCamera), is3d ? "Depth" : "Top",
                     is3d ? "" : "image => image;");
}

// The people before what the camera has seen, which is darker than they are.
cv::Mat pictureOf(const Data& display, const DataPtr& image)
{
  cv::Mat picture;
  cv::cvtColor(Type::toCvMat(display), picture, cv::COLOR_RGB2BGR);
  if (!image || Type::toCvMat(*image).empty())
    return picture;
  cv::Mat background;
  cv::cvtColor(Type::toCvMat(*image), background, cv::COLOR_RGB2BGR);
  background *= 0.6;
  // Where nobody is, the display does not know how large images are.
  if (picture.size() == background.size())
    cv::max(picture, background, background);
  return background;
}

class PeopleWatch final
{
public:
  explicit PeopleWatch(const PeopleOptions& options_) : options(options_), isTerminal(::isatty(STDOUT_FILENO) != 0) {}

  // Called by the worker that has run the process. There is no population in a run on the same image as before.
  void add(FiltrixPrivate& registry, const DataPtr& population)
  {
    if (!population)
      return;
    const double latency =
        !population->get<DataArray>()->empty()
            ? 1.0e-3 * static_cast<double>((Type::Time::now() - newestIn(*population)).microseconds())
            : 0.0;
    Moment moment{population, registry.getLastData("people:removed"), registry.getLastData("people:display"),
                  sees2d ? registry.getLastData("people:image") : nullptr, latency};
    {
      const std::lock_guard lock(mutex);
      if (moments.size() < longestQueue)
        moments.push_back(std::move(moment));
    }
    arrived.notify_one();
  }

  void runUntil(SteadyClock::time_point end)
  {
    while (!wasInterrupted() && SteadyClock::now() < end && std::cout.good())
    {
      std::unique_lock lock(mutex);
      arrived.wait_for(lock, std::chrono::milliseconds(100), [this] { return !moments.empty(); });
      std::deque<Moment> ready;
      ready.swap(moments);
      lock.unlock();
      for (const Moment& moment : ready)
        tell(moment);
    }
  }

  Summary summary;
  bool sees2d = false;  ///< by colour alone; said before the first run

private:
  static constexpr std::size_t longestQueue = 64;

  static Type::Time newestIn(const Data& population)
  {
    Type::Time newest;
    for (const DataPtr& value : *population.get<DataArray>())
    {
      const auto* const human = value ? value->get<Type::Human>() : nullptr;
      const DataPtr stamp = human != nullptr ? human->getProperty(HumanProperty::Timestamp) : nullptr;
      if (const auto* const time = stamp ? stamp->get<Type::Time>() : nullptr)
        newest = std::max(newest, *time);
    }
    return newest;
  }

  void tell(const Moment& moment)
  {
    const std::vector<PersonView> people = viewsOf(moment.population);
    summary.add(people, moment.latency);
    if (moment.display && (!options.frames.empty() || !options.video.empty()))
      writeFrame(pictureOf(*moment.display, moment.image));
    if (options.json)
      tellJson(people, viewsOf(moment.removed));
    else
      tellText(people, viewsOf(moment.removed));
  }

  static void tellJson(const std::vector<PersonView>& people, const std::vector<PersonView>& removed)
  {
    nlohmann::json line = {{"time", Type::Time::now().microseconds()},
                           {"people", nlohmann::json::array()},
                           {"left", nlohmann::json::array()}};
    for (const PersonView& person : people)
      line["people"].push_back(toJson(person));
    for (const PersonView& person : removed)
      line["left"].push_back(person.id);
    std::cout << line.dump() << std::endl;
  }

  // Events as they come; the table once a second, in its place on a terminal.
  void tellText(const std::vector<PersonView>& people, const std::vector<PersonView>& removed)
  {
    const auto now = SteadyClock::now();
    for (const PersonView& person : people)
    {
      for (const std::string& event : person.events)
        events.push_back(fmt::format("{} {}", person.id, event));
    }
    for (const PersonView& person : removed)
      events.push_back(fmt::format("{} left", person.id));
    if (now < nextTable)
      return;
    nextTable = now + std::chrono::seconds(1);
    if (isTerminal)
      std::cout << "\033[H\033[J";
    std::cout << tableOf(people);
    const std::size_t shown = isTerminal ? std::min<std::size_t>(events.size(), 10) : events.size();
    for (std::size_t i = events.size() - shown; i < events.size(); ++i)
      std::cout << "    * " << events[i] << '\n';
    if (!isTerminal)
      events.clear();
    std::cout << std::flush;
  }

  void writeFrame(const cv::Mat& picture)
  {
    if (!options.frames.empty())
      cv::imwrite((fs::path(options.frames) / fmt::format("frame-{:06}.png", frame++)).string(), picture);
    if (options.video.empty())
      return;
    if (!video.isOpened() &&
        !video.open(options.video, cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), options.rate, picture.size()))
      throw std::runtime_error(
          fmt::format("the film \"{}\" cannot be written; its name must end in .avi", options.video));
    video.write(picture);
  }

  const PeopleOptions& options;
  const bool isTerminal;
  SteadyClock::time_point nextTable{};
  std::vector<std::string> events;
  std::size_t frame = 0;
  cv::VideoWriter video;

  std::mutex mutex;  // guards the moments
  std::condition_variable arrived;
  std::deque<Moment> moments;
};

// A camera that stands on a table has no joints to tell where it is: where it looks has been said.
void standStill(FiltrixPrivate& registry, float height, float tilt)
{
  const auto pitch = tilt * std::numbers::pi_v<float> / 180.0F;
  const std::vector<std::string> sources = registry.getSources();
  for (const char* const camera : {"CameraTop", "CameraDepth"})
  {
    for (const char* const frame : {"<TORSO>", "<ROBOT>", "<WORLD>"})
    {
      const std::string name = std::string("Motion_") + camera + frame;
      if (std::ranges::find(sources, name) != sources.end())
        continue;
      registry.createSource(name);
      registry.setData(name, makeData(0.0F, 0.0F, height, 0.0F, pitch, 0.0F));
    }
  }
}

int people(const PeopleOptions& options)
{
  if (!options.frames.empty())
    fs::create_directories(options.frames);
  // Before the session: its workers call it until they have ended.
  PeopleWatch watch(options);
  Session session(options.robot);
  FiltrixPrivate& registry = session.registry();
  watch.sees2d = !session.hasDepthCamera();
  standStill(registry, options.height, options.tilt);
  if (!registry.loadProgramFromFile("people.fxs") ||
      !registry.loadProgram(processText(session.hasDepthCamera(), options)))
    return complain("the program \"people.fxs\" could not be loaded");
  registry.createEvent("watch", "people:population",
                       [&](const DataPtr& population) { watch.add(registry, population); });
  catchInterrupts();
  const auto start = SteadyClock::now();
  const auto end =
      options.seconds > 0.0
          ? start + std::chrono::duration_cast<SteadyClock::duration>(std::chrono::duration<double>(options.seconds))
          : SteadyClock::time_point::max();
  session.module().startScheduler();
  watch.runUntil(end);
  session.module().stopScheduler();
  const std::chrono::duration<double> lasted = SteadyClock::now() - start;
  std::cerr << watch.summary.text(lasted.count());
  if (!options.frames.empty())
    std::cerr << "the pictures are in " << options.frames << '\n';
  if (!options.video.empty())
    std::cerr << "the film is " << options.video << '\n';
  if (options.statistics)
    std::cerr << session.module().getInstrumentationResult();
  return Exit::success;
}
}  // namespace

void addPeopleCommand(CLI::App& app, Action& action)
{
  const auto options = std::make_shared<PeopleOptions>();
  CLI::App& command = *app.add_subcommand("people", "Finds people and tells what is known of them.");
  addRobotOptions(command, options->robot);
  command.add_option("--resolution", options->resolution, "Of the cameras")
      ->check(CLI::IsMember({"QQVGA", "QVGA", "VGA"}))
      ->capture_default_str();
  command.add_option("--rate", options->rate, "Frames a second")->check(CLI::Range(0.1, 60.0))->capture_default_str();
  command.add_option("--for", options->seconds, "Stops after so many seconds")
      ->check(CLI::Range(0.001, 1.0e9))
      ->take_last();
  command.add_flag("--json", options->json, "Prints a line of JSON for each frame");
  command.add_option("--frames", options->frames, "A folder to write annotated pictures to")->take_last();
  command.add_option("--video", options->video, "A film, .avi, to write annotated pictures to");
  command.add_option("--height", options->height, "Metres from the ground to a camera that does not know itself")
      ->check(CLI::Range(0.1F, 20.0F))
      ->capture_default_str();
  command.add_option("--tilt", options->tilt, "Degrees by which such a camera looks down")
      ->check(CLI::Range(-60.0F, 60.0F))
      ->capture_default_str();
  command.add_flag("--stats", options->statistics,
                   "Tells at the end what filters have cost and what came from sensors");
  command.footer("Example:\n  filtrix people --replay recording.mcap --for 20 --frames pictures");
  command.callback([&action, options] { action = [options] { return people(*options); }; });
}
}  // namespace ZR::Filtrix::Tool
