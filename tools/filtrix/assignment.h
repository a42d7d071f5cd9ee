#pragma once

#include <opencv2/core/mat.hpp>

#include <vector>

namespace ZR::Filtrix::Tool
{
/// For each row the column that is given to it, or -1, so that every column goes to at most one row, as many rows as
/// possible get one, and the sum of costs is least. Costs must be finite.
/// Source: H. Kuhn, "The Hungarian Method for the Assignment Problem", 1955, in the form of augmenting shortest paths.
[[nodiscard]] std::vector<int> assign(const cv::Mat1d& costs);
}  // namespace ZR::Filtrix::Tool
