#include "filters/perception/handmovements.h"

#include "filtrix/ku/log.h"

#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
/// So many turns make a wave.
constexpr int minReversals = 3;

/// In square metres.
constexpr float apart = 0.0225F;

/// No camera gives more positions within the window; should the time stand still, the oldest go.
constexpr std::size_t mostPositions = 256;

float squaredDistance(const Type::Vector3& a, const Type::Vector3& b)
{
  const float x = a.x - b.x;
  const float y = a.y - b.y;
  return x * x + y * y;
}

bool isReversal(const Type::Vector3& before, const Type::Vector3& at, const Type::Vector3& after, float minStep)
{
  if (squaredDistance(before, at) < minStep * minStep || squaredDistance(at, after) < minStep * minStep)
    return false;
  const Type::Vector3 in = at - before;
  const Type::Vector3 out = after - at;
  const float dot = in.x * out.x + in.y * out.y;
  const float cross = in.x * out.y - in.y * out.x;
  return dot < 0.0F && std::abs(dot) > std::abs(cross);
}
}  // namespace

bool isWaving(std::span<const Type::Vector3> positions, float minStep)
{
  int reversals = 0;
  for (std::size_t i = 1; i + 1 < positions.size(); ++i)
    reversals += isReversal(positions[i - 1], positions[i], positions[i + 1], minStep) ? 1 : 0;
  return reversals >= minReversals;
}

bool areApart(const Type::Vector3& a, const Type::Vector3& b)
{
  return squaredDistance(a, b) > apart;
}

void HandPath::add(const Type::Vector3& position, Time time, float minStep)
{
  if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z))
    return;
  if (!positions.empty() && squaredDistance(positions.back(), position) < minStep * minStep)
    return;
  positions.push_back(position);
  times.push_back(time);
  if (positions.size() > mostPositions)
  {
    positions.erase(positions.begin());
    times.erase(times.begin());
  }
}

HandPath filterHandsPositionWithTime(const DataArray& positions, const DataArray& times, Time now,
                                     std::string_view category)
{
  if (positions.size() != times.size())
  {
    ku::log::error(category, "_filterHandsPositionWithTime: different sizes for input arrays.");
    return {};
  }
  HandPath path;
  for (std::size_t i = 0; i < positions.size(); ++i)
  {
    const auto* const position = positions[i] ? positions[i]->get<Type::Vector3>() : nullptr;
    const auto* const time = times[i] ? times[i]->get<Time>() : nullptr;
    if (position == nullptr || time == nullptr || now - *time > handWindow || *time - now > handWindow)
      continue;
    path.positions.push_back(*position);
    path.times.push_back(*time);
  }
  return path;
}
}  // namespace ZR::Filtrix::Filters
