#pragma once

#include "filters/perception/objectview.h"
#include "filtrix/histogram.h"

#include <vector>

namespace ZR::Filtrix::Filters
{
/// The upper edge of an object, as `ComputeHorizontalHistogram` left it.
struct ColumnTop
{
  int row = -1;         ///< in the box; -1 when the column has no top
  float depth = 0.0F;   ///< metres, the median of the pixels from the top downwards
  float height = 0.0F;  ///< metres above the robot frame's ground
};

/// One for each column. A histogram of another width than the object's gives none.
[[nodiscard]] std::vector<ColumnTop> columnTops(const ObjectView& view, const Type::Histogram& histogram);

/// The median of the depths in a part of an object, in metres; 0 when nothing is measured there.
[[nodiscard]] float medianDepthIn(const ObjectView& view, int firstRow, int lastRow, int firstColumn, int lastColumn);
}  // namespace ZR::Filtrix::Filters
