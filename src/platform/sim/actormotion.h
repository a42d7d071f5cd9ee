#pragma once

#include "platform/sim/scene.h"

#include <vector>

namespace ZR::Sim
{
/// How an actor is at a moment. Angles are in the world, radians.
struct ActorState
{
  bool isPresent = false;
  float x = 0.0F;
  float y = 0.0F;
  float bodyYaw = 0.0F;
  float headYaw = 0.0F;     ///< the world's, within what a neck allows
  float sitting = 0.0F;     ///< 0 stands, 1 sits
  float walking = 0.0F;     ///< 0 stands, 1 walks
  float stride = 0.0F;      ///< phase of the steps, radians
  float leftArmUp = 0.0F;   ///< 0 hangs, 1 waves
  float rightArmUp = 0.0F;  ///< 0 hangs, 1 waves
  float wavePhase = 0.0F;   ///< radians
};

/// What an actor's actions come to: his state as a function of time alone. Thread-safe.
class ActorMotion final
{
public:
  explicit ActorMotion(const Actor& actor);

  [[nodiscard]] ActorState at(double time) const;

private:
  // A straight way at an even speed; a place is one of no length.
  struct Leg
  {
    double start = 0.0;
    double end = 0.0;
    cv::Vec2f from;
    cv::Vec2f to;
    bool isPresent = true;
    float walkedBefore = 0.0F;  // metres

    [[nodiscard]] cv::Vec2f place(double time) const;
    [[nodiscard]] float walked(double time) const;
  };

  struct Turn
  {
    double time = 0.0;
    Action::Aim aim = Action::Aim::Robot;
    float angle = 0.0F;
  };

  // From a moment on, sits or not, waves or not.
  struct Switch
  {
    double time = 0.0;
    bool isOn = false;
  };

  void _add(const Action& action);
  void _walk(const Action& action);
  [[nodiscard]] const Leg* _legAt(double time) const;
  [[nodiscard]] float _bodyAngle(const Turn& turn, double time) const;
  [[nodiscard]] float _headAngle(const Turn& turn, double time, float bodyYaw) const;
  [[nodiscard]] float _bodyYaw(double time) const;

  const float pace;  // metres a step of both feet
  std::vector<Leg> legs;
  std::vector<Turn> bodyTurns;
  std::vector<Turn> headTurns;
  std::vector<Switch> sits;
  std::vector<Switch> leftWaves;
  std::vector<Switch> rightWaves;
};
}  // namespace ZR::Sim
