#pragma once

#include "graph/filter.h"

#include <vector>

/// The generic library: forty filters that any program may use by name. Each stands in the file of its name, which
/// tells what it does; docs/filters.md is the reference made of them.
namespace ZR::Filtrix::Filters
{
FilterPtr makeAccum();
FilterPtr makeSlidingWindow();
FilterPtr makeAdd();
FilterPtr makeAppend();
FilterPtr makeApply();
FilterPtr makeBoundingBox();
FilterPtr makeCurry();
FilterPtr makeDensity();
FilterPtr makeDilation();
FilterPtr makeDispatch();
FilterPtr makeDraw();
FilterPtr makeDuplicate();
FilterPtr makeErosion();
FilterPtr makeExtract();
FilterPtr makeGeodesic();
FilterPtr makeGravity();
FilterPtr makeHead();
FilterPtr makeHistogram();
FilterPtr makeHue();
FilterPtr makeIdentity();
FilterPtr makeIfChanged();
FilterPtr makeInvert();
FilterPtr makeImprovedLabelize();
FilterPtr makeLabelize();
FilterPtr makeLuminance();
FilterPtr makeMandatory();
FilterPtr makeMask();
FilterPtr makeMax();
FilterPtr makeMin();
FilterPtr makeMultiplex();
FilterPtr makeMultiply();
FilterPtr makeOtsu();
FilterPtr makePrint();
FilterPtr makeRatio();
FilterPtr makeSaturation();
FilterPtr makeScaleDown();
FilterPtr makeSNN();
FilterPtr makeSub();
FilterPtr makeThreshold();
FilterPtr makeToColorImage();

/// One of each, in the order above.
[[nodiscard]] std::vector<FilterPtr> makeGenericFilters();
}  // namespace ZR::Filtrix::Filters
