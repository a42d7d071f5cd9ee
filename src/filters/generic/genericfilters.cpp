#include "filters/generic/genericfilters.h"

#include <array>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr std::array catalogue{&makeAccum,
                               &makeSlidingWindow,
                               &makeAdd,
                               &makeAppend,
                               &makeApply,
                               &makeBoundingBox,
                               &makeCurry,
                               &makeDensity,
                               &makeDilation,
                               &makeDispatch,
                               &makeDraw,
                               &makeDuplicate,
                               &makeErosion,
                               &makeExtract,
                               &makeGeodesic,
                               &makeGravity,
                               &makeHead,
                               &makeHistogram,
                               &makeHue,
                               &makeIdentity,
                               &makeIfChanged,
                               &makeInvert,
                               &makeImprovedLabelize,
                               &makeLabelize,
                               &makeLuminance,
                               &makeMandatory,
                               &makeMask,
                               &makeMax,
                               &makeMin,
                               &makeMultiplex,
                               &makeMultiply,
                               &makeOtsu,
                               &makePrint,
                               &makeRatio,
                               &makeSaturation,
                               &makeScaleDown,
                               &makeSNN,
                               &makeSub,
                               &makeThreshold,
                               &makeToColorImage};
}  // namespace

std::vector<FilterPtr> makeGenericFilters()
{
  std::vector<FilterPtr> filters;
  filters.reserve(catalogue.size());
  for (const auto make : catalogue)
    filters.push_back(make());
  return filters;
}
}  // namespace ZR::Filtrix::Filters
