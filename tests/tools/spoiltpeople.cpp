#include "spoiltpeople.h"

#include "filtrix/image.h"
#include "filtrix/time.h"
#include "platform/sim/photographer.h"
#include "platform/sim/robotbody.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/personview.h"

#include <chrono>
#include <limits>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using namespace Tool;

constexpr const char* process =
    "source Depth { 0 } source Color { 0 } source Torso { 0 } source Robot { 0 } source World { 0 } source Height { 0 }"
    "process people(People3D, 8, 1000) { depthImage <= Depth; colorImage <= Color; cameraPositionTorso <= Torso; "
    "cameraPositionRobot <= Robot; cameraPositionWorld <= World; heightOffset <= Height; population => population; }";

void fill(Input& input, int millimetres)
{
  input.depth.setTo(millimetres);
}
}  // namespace

std::span<const BadInput> badInputs()
{
  static const std::vector<BadInput> inputs{
      BadInput{"NoDepth", [](Input& input, int) { input.hasDepth = false; }},
      BadInput{"NoColor", [](Input& input, int) { input.hasColor = false; }},
      BadInput{"Nothing", [](Input& input, int) { input.hasDepth = input.hasColor = false; }},
      BadInput{"AllZero", [](Input& input, int) { fill(input, 0); }},
      BadInput{"AllFar", [](Input& input, int) { fill(input, 65535); }},
      BadInput{"LensCap", [](Input& input, int) { fill(input, 300); }},
      BadInput{"LensCapThatCannotBeMeasured",
               [](Input& input, int)
               {
                 fill(input, 0);
                 input.color.setTo(0);
               }},
      BadInput{"SomebodyTouchesTheCamera",
               [](Input& input, int) { input.depth(cv::Rect(80, 0, 180, 240)).setTo(450); }},
      BadInput{"Noise", [](Input& input, int frame)
               { cv::RNG(static_cast<unsigned>(frame)).fill(input.depth, cv::RNG::UNIFORM, 0, 8000); }},
      BadInput{"OnePixel", [](Input& input, int) { input.depth = input.depth(cv::Rect(0, 0, 1, 1)).clone(); }},
      BadInput{"AnotherSize", [](Input& input, int) { input.depth = input.depth(cv::Rect(0, 0, 160, 120)).clone(); }},
      BadInput{"UpsideDown", [](Input& input, int) { input.pose.wx = std::numbers::pi_v<float>; }},
      BadInput{"PoseWithoutNumbers",
               [](Input& input, int) { input.pose.z = input.pose.wy = std::numeric_limits<float>::quiet_NaN(); }},
      BadInput{"InfinitePose", [](Input& input, int) { input.pose.x = std::numeric_limits<float>::infinity(); }},
      BadInput{"PoseThatJumps", [](Input& input, int frame)
               {
                 if (frame % 3 == 0)
                   input.pose.wz = 2.0F;
               }}};
  return inputs;
}

SpoiltPeople::SpoiltPeople()
    : robot(Sim::parseScene("filtrix-scene 1\nperson a\nat 0 place 2.2 0.1 face robot look robot\n", "a"))
{
  FiltrixPrivate& registry = session.registry();
  if (!registry.loadProgramFromFile("people.fxs") || !registry.loadProgram(process))
    throw std::runtime_error("the people program could not be loaded");
  registry.setData("Height", makeData(0.0F));
}

std::size_t SpoiltPeople::step(const Spoil& spoil)
{
  clock.advance(std::chrono::milliseconds(66));
  const double time = frame++ / 15.0;
  const auto depth = robot.photographer().take(Sim::Camera::depth, 320, 240, ColorSpace::depth, time);
  const auto color = robot.photographer().take(Sim::Camera::top, 320, 240, ColorSpace::rgb, time);
  Input input{cv::Mat(240, 320, CV_16UC1, depth->data()).clone(), cv::Mat(240, 320, CV_8UC3, color->data()).clone(),
              Type::Vector6(0.06F, 0.0F, 1.14F, 0.0F, 0.0F, 0.0F)};
  if (spoil)
    spoil(input, frame);
  set(input);
  const DataPtr population = session.registry().getData("people:population");
  std::size_t seen = 0;
  for (const PersonView& person : viewsOf(population))
    seen += person.visible ? 1 : 0;
  return seen;
}

void SpoiltPeople::set(const Input& input)
{
  FiltrixPrivate& registry = session.registry();
  const Time now = Time::now();
  DataPtr depth = input.hasDepth
                      ? makeData(std::make_shared<Type::DepthImage>(input.depth, "Depth", now, 1.0123F, 0.7854F))
                      : nullptr;
  DataPtr color = input.hasColor
                      ? makeData(std::make_shared<Type::ColorImage>(input.color, "Color", now, 0.8338F, 0.6419F))
                      : nullptr;
  registry.setData("Depth", depth);
  registry.setData("Color", color);
  for (const char* const source : {"Torso", "Robot", "World"})
    registry.setData(source, makeData(input.pose));
}
}  // namespace ZR::Filtrix::Test
