#include "foundation/zrmath/checks.h"

#include <cmath>
#include <fmt/format.h>
#include <stdexcept>

namespace ZR::ZRMath
{
void requireFinite(std::string_view function, std::string_view argument, std::initializer_list<double> numbers)
{
  double sum = 0.0;
  for (const double number : numbers)
    sum += std::abs(number);
  if (std::isfinite(sum))
    return;

  const std::string came = fmt::format("{}", fmt::join(numbers, ", "));
  throw std::invalid_argument(numbers.size() == 1
                                  ? fmt::format("{}: {} is {}, expected a finite number", function, argument, came)
                                  : fmt::format("{}: {} is ({}), expected finite numbers", function, argument, came));
}
}  // namespace ZR::ZRMath
