#pragma once

#include "graph/filter.h"

#include <cstddef>

namespace ZR::Filtrix::Filters
{
/// The filter `Mandatory` for so many values. A single one has the ports "in" and "out", more have "in1", "in2" ...
/// and "out1", "out2" ...; the library's own has two.
[[nodiscard]] FilterPtr makeMandatory(std::size_t count);
}  // namespace ZR::Filtrix::Filters
