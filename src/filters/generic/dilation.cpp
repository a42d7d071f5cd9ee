#include "filters/generic/morphology.h"

namespace ZR::Filtrix::Filters
{
FilterPtr makeDilation()
{
  return std::make_shared<MorphologyFilter>(
      "Dilation", "Gives each pixel the greatest value of the square around it: the foreground grows.",
      Morphology::Dilation, "filtrix.filter.dilation");
}
}  // namespace ZR::Filtrix::Filters
