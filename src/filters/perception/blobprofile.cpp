#include "filters/perception/blobprofile.h"

#include <algorithm>

namespace ZR::Filtrix::Filters
{
namespace
{
/// The depth at an edge mixes with what is behind it: it is taken from so many pixels.
constexpr int depthRows = 5;
}  // namespace

std::vector<ColumnTop> columnTops(const ObjectView& view, const Type::Histogram& histogram)
{
  if (histogram.channels() != 2 || static_cast<int>(histogram.size()) != view.width())
    return {};
  std::vector<ColumnTop> tops(static_cast<std::size_t>(view.width()));
  for (int column = 0; column < view.width(); ++column)
  {
    const auto row = static_cast<int>(histogram.values()[2 * column + 1]);
    if (row < 0 || row >= view.height())
      continue;
    const float depth = medianDepthIn(view, row, row + depthRows - 1, column, column);
    if (depth > 0.0F)
      tops[static_cast<std::size_t>(column)] = {row, depth, view.heightOf(row, column, depth)};
  }
  return tops;
}

float medianDepthIn(const ObjectView& view, int firstRow, int lastRow, int firstColumn, int lastColumn)
{
  std::vector<float> depths;
  for (int row = std::max(firstRow, 0); row <= std::min(lastRow, view.height() - 1); ++row)
  {
    for (int column = std::max(firstColumn, 0); column <= std::min(lastColumn, view.width() - 1); ++column)
    {
      if (view.isSet(row, column) && view.depth(row, column) > 0.0F)
        depths.push_back(view.depth(row, column));
    }
  }
  if (depths.empty())
    return 0.0F;
  const auto middle = depths.begin() + static_cast<std::ptrdiff_t>(depths.size() / 2);
  std::nth_element(depths.begin(), middle, depths.end());
  return *middle;
}
}  // namespace ZR::Filtrix::Filters
