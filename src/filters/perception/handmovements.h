#pragma once

#include "filtrix/data.h"
#include "filtrix/time.h"
#include "filtrix/vectors.h"

#include <span>
#include <string_view>
#include <vector>

/// Following hands, and telling whether they wave.
namespace ZR::Filtrix::Filters
{
/// So long a hand's positions are remembered: two turns to and fro at one hertz, the slowest that counts as waving.
inline constexpr Duration handWindow(2'000'000);

/// Whether a hand goes to and fro: its way turns by more than 135 degrees at three positions or more. A turn counts
/// when the steps before and after it are `minStep` or longer. Only the first two components of a position count, and
/// `minStep` is in their unit.
[[nodiscard]] bool isWaving(std::span<const Type::Vector3> positions, float minStep);

/// Whether two positions, in metres, are more than 0.15 m from each other in their first two components: farther than
/// two moving parts of one hand are.
[[nodiscard]] bool areApart(const Type::Vector3& a, const Type::Vector3& b);

/// The way of a hand: where it was, and when, oldest first.
///
/// A hand is slow where it turns, so a camera that is fast enough sees it make no step there that is long enough to
/// count. The way therefore has a new position only where the hand is `minStep` or more from the last one: what remains
/// is the same turns whatever the pace of the camera.
struct HandPath
{
  std::vector<Type::Vector3> positions;
  std::vector<Time> times;

  /// The hand is here now. A position that is not finite is passed over.
  void add(const Type::Vector3& position, Time time, float minStep);
};

/// The pairs of two histories, of Vector3 and of Time, whose times are at most the window from now; a clock that was
/// set back makes older ones later than now. Histories of unequal length are logged under the category and give an
/// empty way. Pairs of other types are left out.
[[nodiscard]] HandPath filterHandsPositionWithTime(const DataArray& positions, const DataArray& times, Time now,
                                                   std::string_view category);
}  // namespace ZR::Filtrix::Filters
