#include "tools/filtrix/scenerun.h"

#include "filtrix/cameraformats.h"
#include "filtrix/image.h"
#include "filtrix/time.h"
#include "platform/sim/robotbody.h"
#include "program/filtrixprivate.h"

#include <fmt/format.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace ZR::Filtrix::Tool
{
namespace
{
// Due at every frame.
constexpr const char* process3d =
    "process people(People3D, 8, 1000) { depthImage <= SceneDepth; colorImage <= SceneColor; "
    "cameraPositionTorso <= SceneTorso; cameraPositionRobot <= SceneRobot; cameraPositionWorld <= SceneWorld; "
    "heightOffset <= SceneHeightOffset; population => population; removed => removed; display => display; }";
constexpr const char* process2d =
    "process people(People2D, 8, 1000) { colorImage <= SceneColor; "
    "cameraPositionTorso <= SceneTorso; cameraPositionRobot <= SceneRobot; cameraPositionWorld <= SceneWorld; "
    "heightOffset <= SceneHeightOffset; population => population; removed => removed; display => display; }";

std::string programOf(const SceneRunOptions& options)
{
  if (!options.program.empty())
    return options.program;
  return options.isFlat ? process2d : process3d;
}

const CameraResolution& resolutionOf(const std::string& word)
{
  const auto resolutions = cameraResolutions();
  const auto found = std::ranges::find(resolutions, word, &CameraResolution::word);
  if (found == resolutions.end())
    throw std::invalid_argument(fmt::format("no resolution \"{}\"", word));
  return *found;
}
}  // namespace

SceneRun::SceneRun(Sim::Scene scene, const SceneRunOptions& options_)
    : options(options_), robot(std::move(scene), {.sensor = {.isPerfect = options_.isPerfect}, .start = {}})
{
  FiltrixPrivate& registry = theSession.registry();
  for (const char* const source :
       {"SceneDepth", "SceneColor", "SceneTorso", "SceneRobot", "SceneWorld", "SceneHeightOffset"})
    registry.createSource(source);
  registry.setData("SceneHeightOffset", makeData(0.0F));
  if (!registry.loadProgramFromFile("people.fxs") || !registry.loadProgram(programOf(options)))
    throw std::runtime_error("the program that finds people could not be loaded");
}

SceneRun::~SceneRun() = default;

void SceneRun::_set(const std::string& source, int camera, int colorSpace)
{
  const CameraResolution& size = resolutionOf(options.resolution);
  const auto record = robot.photographer().take(camera, size.width, size.height, colorSpace, time);
  const ViewAngles& view = record->angles();
  const float width = view.left - view.right;
  const float height = view.top - view.bottom;
  const Time now = Time::now();
  DataPtr value;
  if (colorSpace == ColorSpace::depth)
  {
    const cv::Mat pixels(size.height, size.width, CV_16UC1, record->data());
    value = makeData(std::make_shared<Type::DepthImage>(pixels.clone(), source, now, width, height));
  }
  else
  {
    const cv::Mat pixels(size.height, size.width, CV_8UC3, record->data());
    value = makeData(std::make_shared<Type::ColorImage>(pixels.clone(), source, now, width, height));
  }
  value->setTimestamp(now);
  theSession.registry().setData(source, value);
}

void SceneRun::_setPoses(const std::string& prefix, int camera)
{
  const auto& stage = robot.photographer().stage();
  for (const auto& [name, frameOf] : {std::pair("Torso", MotionFrame::Torso), std::pair("Robot", MotionFrame::Robot),
                                      std::pair("World", MotionFrame::World)})
  {
    const auto pose = cameraPose(stage.scene(), camera, frameOf, stage.sceneTime(time)).toPosition6D();
    const auto value = [](double number) { return static_cast<float>(number); };
    theSession.registry().setData(prefix + name, makeData(value(pose.x), value(pose.y), value(pose.z), value(pose.wx),
                                                          value(pose.wy), value(pose.wz)));
  }
}

JudgedFrame SceneRun::step()
{
  time = frame++ / options.rate;
  clock.advance(std::chrono::nanoseconds(static_cast<std::int64_t>(1.0e9 / options.rate)));
  if (!options.isFlat)
    _set("SceneDepth", Sim::Camera::depth, ColorSpace::depth);
  _set("SceneColor", Sim::Camera::top, ColorSpace::rgb);
  _setPoses("Scene", options.isFlat ? Sim::Camera::top : Sim::Camera::depth);
  const auto start = std::chrono::steady_clock::now();
  const DataPtr population = theSession.registry().getData("people:population");
  const std::chrono::duration<double, std::milli> lasted = std::chrono::steady_clock::now() - start;
  return {truthAt(robot.photographer(), time), viewsOf(population), lasted.count()};
}
}  // namespace ZR::Filtrix::Tool
