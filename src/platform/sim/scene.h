#pragma once

#include "platform/sim/shape.h"

#include <opencv2/core/matx.hpp>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Scenes for the simulated robot, as their files tell them. Lengths in metres, angles in radians, times in seconds
/// from the scene's start. The world's origin is on the ground below the robot, x where it looks, y to its left, z up.
namespace ZR::Sim
{
/// Red, green and blue from 0 to 255.
using Color = cv::Vec3f;

/// A scene cannot be read. The text is "FILE:LINE: expected ..., got ...".
class SceneError final : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// Something that an actor begins to do at a moment.
struct Action
{
  enum class Kind : std::uint8_t
  {
    Place,  ///< is suddenly at a place
    Walk,   ///< goes straight to a place
    Leave,  ///< is suddenly gone
    Face,   ///< turns the body
    Look,   ///< turns the head
    Sit,
    Stand,
    Wave
  };

  /// What to turn to.
  enum class Aim : std::uint8_t
  {
    Robot,
    Away,   ///< from the robot
    Ahead,  ///< the body: where it walks; the head: where the body faces
    Angle   ///< in the world
  };

  double time = 0.0;
  Kind kind = Kind::Place;
  float x = 0.0F;
  float y = 0.0F;
  float speed = 1.0F;  ///< metres a second
  Aim aim = Aim::Robot;
  float angle = 0.0F;
  bool leftArm = false;  ///< which of the person's own arms waves; neither ends it
  bool rightArm = false;
  double seconds = 0.0;  ///< how long it waves; 0 for until told otherwise
};

struct Actor
{
  enum class Kind : std::uint8_t
  {
    Person,
    Pet
  };

  Kind kind = Kind::Person;
  std::string name;
  float height = 1.75F;  ///< of a pet: its back's
  float build = 1.0F;    ///< how wide, as a multiple of an average person
  Color shirt{60.0F, 90.0F, 170.0F};
  Color trousers{60.0F, 60.0F, 75.0F};
  Color hair{60.0F, 42.0F, 30.0F};
  Color skin{222.0F, 178.0F, 150.0F};
  std::vector<Action> actions;  ///< in the order of time
};

/// A part of the furniture.
struct Furniture
{
  Shape shape;
  Color color;
};

/// Where the robot's head is turned to at a moment; in between it moves evenly.
struct HeadPose
{
  double time = 0.0;
  float pan = 0.0F;   ///< to the left positive
  float tilt = 0.0F;  ///< down positive
};

struct Scene
{
  std::string title;
  double duration = 20.0;  ///< after which it begins again
  std::uint32_t seed = 1;
  int model = 4;  ///< of the robot's depth camera: 4 structured light, 7 stereo
  cv::Vec3f roomStart{-1.5F, -3.5F, 0.0F};
  cv::Vec3f roomEnd{5.5F, 3.5F, 2.6F};
  Color walls{205.0F, 200.0F, 188.0F};
  Color floor{150.0F, 128.0F, 105.0F};
  bool floorIsShiny = false;  ///< gives the depth camera nothing back
  std::vector<HeadPose> head;
  std::vector<Furniture> furniture;
  std::vector<Actor> actors;
};

/// Reads a scene from text; `file` is its name in errors. Throws `SceneError`.
[[nodiscard]] Scene parseScene(std::string_view text, const std::string& file);

/// Reads a scene from a file, or from the data files of that name, with or without ".scene". Throws `SceneError`.
[[nodiscard]] Scene loadScene(const std::filesystem::path& path);

/// The names of the scenes among the data files.
[[nodiscard]] std::vector<std::string> sceneNames();

/// The application whose data files the scenes are.
inline constexpr const char* sceneFolder = "zorqa/vision/scenes";
}  // namespace ZR::Sim
