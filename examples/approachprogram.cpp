// The walker of the other example, told as a program: the registry builds what was built by hand there.

#include "examples/approachfilters.h"
#include "program/filtrixprivate.h"

#include <fmt/core.h>

#include <memory>

using namespace ZR::Filtrix;

namespace
{
constexpr const char* program = R"(
  filter Approach {                # a composite of two library filters
    Smooth smooth; Zone zone;      # its nodes: a type and a name each
    smooth:distance -> zone;       # an output feeds an input
    smooth <= range;               # the composite's own input,
    smooth => distance;            # and its outputs
    zone => zone;
  }
  source range { }                 # a place for callers to write to
  process approach(Approach, 3, infinity) {   # priority 3, as often as somebody asks
    range <= range;                # its input reads the source
    distance => distance;          # its outputs feed sinks
    zone => zone;
  }
)";
}  // namespace

int main()
{
  const auto registry = std::make_shared<FiltrixPrivate>();
  registry->addFilter(std::make_shared<Examples::Smooth>());
  registry->addFilter(std::make_shared<Examples::Zone>());
  if (!registry->loadProgram(program))
    return 1;

  int zone = 0;
  for (const float metres : {4.0F, 3.0F, 2.0F, 1.5F, 1.0F, 0.8F, 0.8F, 0.8F})
  {
    // No scheduler is needed by a caller who asks for himself.
    registry->setData("range", makeData(metres));
    const DataPtr distance = registry->getData("approach:distance");
    zone = registry->getLastData("approach:zone")->toInt();
    fmt::print("{:4.1f} m measured, {:4.2f} m smoothed: zone {}\n", metres, distance->toFloat(), zone);
  }
  return zone == 1 ? 0 : 1;
}
