#pragma once

#include "filtrix/zrvalue.h"

#include <string>

namespace ZR
{
/// The text of the `ZRValueError` that `use` throws, or "no error".
template <typename Use>
std::string messageOf(const Use& use)
{
  try
  {
    use();
  }
  catch (const ZRValueError& error)
  {
    return error.what();
  }
  return "no error";
}

/// An empty array in `depth` - 1 others.
inline ZRValue nested(std::size_t depth)
{
  ZRValue value = ZRValue::array();
  while (value.depth() < depth)
    value = ZRValue::array(std::move(value));
  return value;
}
}  // namespace ZR
