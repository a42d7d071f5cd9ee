#include "filtrix/time.h"

#include "filtrix/ku/clock.h"

namespace ZR::Filtrix::Type
{
Time Time::now() noexcept
{
  return Time(ku::Clock::now().time_since_epoch().count() / 1000);
}
}  // namespace ZR::Filtrix::Type
