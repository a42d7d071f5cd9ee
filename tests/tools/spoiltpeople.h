#pragma once

#include "filtrix/ku/clock.h"
#include "filtrix/vectors.h"
#include "platform/sim/simrobot.h"
#include "tools/filtrix/session.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <functional>
#include <span>
#include <string>

namespace ZR::Filtrix::Test
{
/// A frame as it comes from the robot, to be spoilt.
struct Input
{
  cv::Mat depth;
  cv::Mat color;
  Type::Vector6 pose;
  bool hasColor = true;
  bool hasDepth = true;
};

using Spoil = std::function<void(Input&, int frame)>;

struct BadInput
{
  const char* name;
  Spoil spoil;
};

/// What goes wrong with cameras and joints.
[[nodiscard]] std::span<const BadInput> badInputs();

/// The people program on a scene with one person, 15 frames a second on a clock of its own.
class SpoiltPeople final
{
public:
  SpoiltPeople();

  /// The people who are seen after the next frame, which may be spoilt before.
  std::size_t step(const Spoil& spoil);

private:
  void set(const Input& input);

  ku::ManualClock clock;
  const Sim::Robot robot;
  Tool::Session session;
  int frame = 0;
};
}  // namespace ZR::Filtrix::Test
