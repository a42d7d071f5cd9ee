#pragma once

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
/// A coordinate without its fraction. What is far outside of any image stays so, and what is no number is 0: sums and
/// differences of the results are in the range of an int.
[[nodiscard]] inline int toPixel(float coordinate) noexcept
{
  constexpr float farthest = 1.0e8F;
  return std::isnan(coordinate) ? 0 : static_cast<int>(std::clamp(coordinate, -farthest, farthest));
}
}  // namespace ZR::Filtrix::Filters
