#include "filters/generic/morphology.h"

namespace ZR::Filtrix::Filters
{
FilterPtr makeErosion()
{
  return std::make_shared<MorphologyFilter>(
      "Erosion", "Gives each pixel the least value of the square around it: the foreground shrinks.",
      Morphology::Erosion, "filtrix.filter.erosion");
}
}  // namespace ZR::Filtrix::Filters
