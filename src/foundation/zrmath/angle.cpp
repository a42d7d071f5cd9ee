#include "filtrix/zrmath/angle.h"

#include "foundation/zrmath/checks.h"

#include <cmath>

namespace ZR::ZRMath
{
double normalizeAngle(double radians)
{
  requireFinite("normalizeAngle", "angle", {radians});

  // The remainder is exact, so an angle that is in range already comes back bit by bit.
  const double inRange = std::remainder(radians, 2.0 * std::numbers::pi);
  return inRange == -std::numbers::pi ? std::numbers::pi : inRange;
}
}  // namespace ZR::ZRMath
