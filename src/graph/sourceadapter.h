#pragma once

#include "filtrix/usersource.h"
#include "graph/nodesource.h"

namespace ZR::Filtrix
{
/// Makes a source of a `UserSource`: it is asked once per run of a process, with the run's time and tolerance. Its
/// version stays 0: a process that reads it is never held back as unchanged.
class SourceAdapter final : public NodeSource
{
public:
  /// Throws std::invalid_argument for a null source.
  explicit SourceAdapter(std::shared_ptr<UserSource> userSource);

protected:
  void _synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                    std::uint64_t depth) override;

public:
  /// Forwards to the user source, then fires the events unless the value is null.
  void setData(DataPtr value) override;
  DataPtr getSourceData(Time time, Duration tolerance) override;
  [[nodiscard]] std::uint64_t getVersion() const override;

private:
  const std::shared_ptr<UserSource> userSource;
};
}  // namespace ZR::Filtrix
