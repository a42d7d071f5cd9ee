#pragma once

#include "filtrix/data.h"

#include <cstddef>

namespace ZR::Filtrix::Filters
{
/// The payload of an input; null when there is no such input, no value in it, or a value of another type.
template <typename Payload>
[[nodiscard]] Payload* inputAs(const DataList& inputs, std::size_t index) noexcept
{
  return index < inputs.size() && inputs[index] ? inputs[index]->get<Payload>() : nullptr;
}
}  // namespace ZR::Filtrix::Filters
