#pragma once

#include "graph/nodesource.h"

namespace ZR::Filtrix
{
/// A source that delivers each published value once: to the first process that synchronizes after it.
class NodePulse final : public NodeSource
{
public:
  using NodeSource::NodeSource;

  /// What the source falls back to once its value is taken; null unless set. For building only.
  void setRestValue(DataPtr value);

protected:
  DataPtr _takeSnapshot(Time time, Duration tolerance) override;

private:
  DataPtr restValue;
};
}  // namespace ZR::Filtrix
