#pragma once

#include "filtrix/data.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
/// What `ComputeProjectionTables` gives: an array of two matrices, one row of columns and one column of rows. Null
/// pointers when the value is none.
struct ProjectionTables
{
  explicit ProjectionTables(const DataPtr& value)
  {
    const auto* const array = value ? value->get<DataArray>() : nullptr;
    if (array == nullptr || array->size() != 2 || !(*array)[0] || !(*array)[1])
      return;
    columns = (*array)[0]->get<Type::MatrixImage>();
    rows = (*array)[1]->get<Type::MatrixImage>();
  }

  /// True when they are tables for images of this size.
  [[nodiscard]] bool fit(int width, int height) const
  {
    return columns != nullptr && rows != nullptr && columns->width() == width && columns->height() == 1 &&
           rows->width() == 1 && rows->height() == height;
  }

  const Type::MatrixImage* columns = nullptr;
  const Type::MatrixImage* rows = nullptr;
};
}  // namespace ZR::Filtrix::Filters
