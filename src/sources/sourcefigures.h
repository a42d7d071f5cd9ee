#pragma once

#include "filtrix/ku/clock.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace ZR::Filtrix
{
/// How a source stands with the service that fills it.
enum class SourceState : std::uint8_t
{
  Unwanted,    ///< no live process reads it
  Waiting,     ///< there is no service, or it has not let the source in yet; it is asked again
  Subscribed,  ///< values come as the service gives them
  Lost,        ///< the subscription broke off; it is asked for anew
  Failed       ///< the service has refused the subscription, and is not asked again
};

/// What a source has had of its service so far.
struct SourceFigures
{
  std::string name;
  SourceState state = SourceState::Unwanted;
  std::uint64_t values = 0;                ///< brought to the source
  std::uint64_t failures = 0;              ///< calls of the service that failed
  std::uint64_t refused = 0;               ///< what the service gave and the source could not use
  std::optional<ku::Clock::duration> age;  ///< since the newest value came; nothing: none ever did
};

/// Keeps a source's figures for whoever asks. Thread-safe.
class SourceProgress final
{
public:
  explicit SourceProgress(std::string name) { figures.name = std::move(name); }

  void enter(SourceState state)
  {
    const std::lock_guard lock(mutex);
    figures.state = state;
  }

  void bring()
  {
    const std::lock_guard lock(mutex);
    ++figures.values;
    newest = ku::Clock::now();
  }

  void fail()
  {
    const std::lock_guard lock(mutex);
    ++figures.failures;
  }

  void refuse()
  {
    const std::lock_guard lock(mutex);
    ++figures.refused;
  }

  [[nodiscard]] SourceFigures get() const
  {
    const std::lock_guard lock(mutex);
    SourceFigures result = figures;
    if (newest)
      result.age = ku::Clock::now() - *newest;
    return result;
  }

private:
  mutable std::mutex mutex;  // guards the two below; a leaf
  SourceFigures figures;
  std::optional<ku::Clock::time_point> newest;
};
}  // namespace ZR::Filtrix
