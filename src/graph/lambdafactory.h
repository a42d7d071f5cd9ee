#pragma once

#include <memory>
#include <string>

namespace ZR::Filtrix
{
namespace Type
{
class Lambda;
}

/// Where a filter that applies other filters gets them from by name: the filter library. Thread-safe. It outlives the
/// filters that it is given to.
class LambdaFactory
{
public:
  LambdaFactory() = default;
  LambdaFactory(const LambdaFactory&) = delete;
  LambdaFactory& operator=(const LambdaFactory&) = delete;
  virtual ~LambdaFactory() = default;

  /// The library filter as a value; null, and a line in the log, when there is none of that name.
  [[nodiscard]] virtual std::shared_ptr<Type::Lambda> createLambda(const std::string& filterName) const = 0;
};
}  // namespace ZR::Filtrix
