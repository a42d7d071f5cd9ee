#include "platform/replay/positionkey.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace ZR::Replay
{
namespace
{
constexpr const char* frameNames[] = {"torso", "world", "robot"};
}

std::string PositionKey::topic() const
{
  return fmt::format("/motion/{}/{}/{}", sensor, nameOf(frame), measured ? "measured" : "commanded");
}

Mcap::TextMap PositionKey::metadata() const
{
  return {{"sensor", sensor}, {"frame", nameOf(frame)}, {"measured", measured ? "true" : "false"}};
}

const char* nameOf(MotionFrame frame)
{
  const auto number = static_cast<std::size_t>(frame);
  return number < std::size(frameNames) ? frameNames[number] : "unknown";
}

std::optional<PositionKey> readPositionKey(const Mcap::TextMap& metadata)
{
  const auto sensor = metadata.find("sensor");
  const auto frame = metadata.find("frame");
  const auto measured = metadata.find("measured");
  if (sensor == metadata.end() || frame == metadata.end() || measured == metadata.end())
    return std::nullopt;
  const auto* const name = std::ranges::find(frameNames, std::string_view(frame->second));
  if (name == std::end(frameNames))
    return std::nullopt;
  return PositionKey{sensor->second, static_cast<MotionFrame>(name - std::begin(frameNames)),
                     measured->second == "true"};
}
}  // namespace ZR::Replay
