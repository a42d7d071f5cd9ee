#pragma once

#include "graph/filter.h"
#include "tools/filterdocs/examples.h"

#include <vector>

namespace ZR::Filtrix::FilterDocs
{
/// A picture file may have so many bytes: there are thirty of them, and they come with every clone.
inline constexpr std::size_t largestPicture = 20'000;

/// The inputs of the example's last run and what the filter made of them, side by side, as a PNG file. Throws
/// std::runtime_error when the filter gives nothing.
[[nodiscard]] std::vector<unsigned char> drawExample(Filter& filter, const Example& example,
                                                     const Photographs& photographs);
}  // namespace ZR::Filtrix::FilterDocs
