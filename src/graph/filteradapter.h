#pragma once

#include "filtrix/userfilter.h"
#include "graph/filterprimitive.h"

#include <mutex>

namespace ZR::Filtrix
{
/// Makes a library filter of a `UserFilter`: reads its port declarations, and keeps a stateful one's state per process
/// and scope. A declaration that cannot be read is logged and skipped; the filter lives on without that port.
class FilterAdapter final : public FilterPrimitive
{
public:
  /// Throws std::invalid_argument for a null filter.
  explicit FilterAdapter(std::shared_ptr<UserFilter> userFilter);

  [[nodiscard]] std::string getDescription() const override;
  DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t depth) override;

  [[nodiscard]] bool isStateful() const override { return userFilter->isStateful(); }

private:
  void _declareInput(const std::string& declaration);
  void _declareOutput(const std::string& declaration);

  const std::shared_ptr<UserFilter> userFilter;

  // Makes the runs of a stateful filter serial, since all its scopes take turns in the one `memory` of the user filter.
  std::mutex mutex;
};
}  // namespace ZR::Filtrix
