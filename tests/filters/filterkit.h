#pragma once

#include "exec/memorymanager.h"
#include "filtrix/image.h"
#include "filtrix/userfilter.h"
#include "graph/filteradapter.h"

#include <memory>
#include <string>
#include <utility>

/// What the tests of filters run them with.
namespace ZR::Filtrix::Test
{
/// A filter with the state manager and the scope that a process would give it. Each call is a run of its own.
class FilterBench final
{
public:
  explicit FilterBench(FilterPtr filter_) : filter(std::move(filter_)) { filter->setMemoryManager(&memory); }

  explicit FilterBench(std::shared_ptr<UserFilter> userFilter)
      : FilterBench(std::make_shared<FilterAdapter>(std::move(userFilter)))
  {
  }

  DataList operator()(const DataList& inputs, const std::string& scope = "test")
  {
    return filter->applyFilter(inputs, ProcessKey("test"), ProcessKey(scope), 0);
  }

  /// The first output; null when there is none.
  DataPtr first(const DataList& inputs)
  {
    const DataList outputs = (*this)(inputs);
    return outputs.empty() ? nullptr : outputs.front();
  }

  Filter& operator*() const { return *filter; }

private:
  MemoryManager memory;
  FilterPtr filter;
};

/// An image of class `Image` on the matrix, from the source "test" at 1 s with fields of view of 1 and 0.75 rad.
template <typename Image>
DataPtr image(const cv::Mat& mat)
{
  return makeData(std::make_shared<Image>(mat, "test", Time(1'000'000), 1.0F, 0.75F));
}
}  // namespace ZR::Filtrix::Test
