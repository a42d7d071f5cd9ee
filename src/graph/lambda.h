#pragma once

#include "filtrix/data.h"
#include "graph/filter.h"

#include <memory>
#include <string>

namespace ZR::Filtrix::Type
{
/// A filter as a value: it can be handed to a filter, which applies it while it runs.
///
/// Thread-safe: applications of one lambda are serial, and each gets its own result. A lambda that comes to apply
/// itself, and lambdas that apply one another deeper than `maxDepth`, are refused with a log line and no result.
class Lambda final
{
public:
  static constexpr int maxDepth = 32;

  /// Throws std::invalid_argument for a null filter.
  explicit Lambda(std::shared_ptr<Filter> filter);
  Lambda(const Lambda&) = delete;
  Lambda& operator=(const Lambda&) = delete;
  ~Lambda();

  /// Applies the filter: arguments go to the parameters that are not bound, in order. Parameters beyond the arguments
  /// keep the value of the application before. One value per output port; null for none.
  [[nodiscard]] DataList apply(const DataArray& arguments);

  /// A copy with further parameters bound to the arguments, in order; surplus arguments are ignored.
  [[nodiscard]] std::shared_ptr<Lambda> curry(const DataArray& arguments) const;

  /// The filter's name.
  [[nodiscard]] const std::string& getName() const;

  /// How many parameters are still to be given.
  [[nodiscard]] std::size_t getFreeParameters() const;

private:
  class Lambda_p;
  std::unique_ptr<Lambda_p> p;
};
}  // namespace ZR::Filtrix::Type
