#pragma once

#include "platform/motionservice.h"
#include "platform/replay/mcaprecords.h"

#include <compare>
#include <optional>
#include <string>

namespace ZR::Replay
{
/// Which position: the arguments of `MotionService::getPosition`.
struct PositionKey
{
  std::string sensor;
  MotionFrame frame = MotionFrame::Torso;
  bool measured = true;

  auto operator<=>(const PositionKey&) const = default;

  /// "/motion/CameraTop/torso/measured"
  [[nodiscard]] std::string topic() const;

  [[nodiscard]] Mcap::TextMap metadata() const;
};

/// "torso", "world" or "robot".
[[nodiscard]] const char* nameOf(MotionFrame frame);

/// From a channel's metadata; nothing when it is not one of ours.
[[nodiscard]] std::optional<PositionKey> readPositionKey(const Mcap::TextMap& metadata);
}  // namespace ZR::Replay
