#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace ZR::Filtrix
{
/// Where something was written in a program, so that a message from a run can lead back to it.
struct Origin
{
  std::string file;          ///< empty for a program passed as text
  std::uint32_t line = 0;    ///< from 1
  std::uint32_t column = 0;  ///< from 1
  std::string statement;
};

/// "people.fxs:12:3: gain <= 12"
[[nodiscard]] std::string toString(const Origin& origin);

/// What nodes, ports, processes and events have in common: they may know their origin. Set before the object is shared.
class Located
{
public:
  void setOrigin(std::shared_ptr<const Origin> newOrigin) noexcept { origin = std::move(newOrigin); }

  /// Null for what was made by code rather than by a program.
  [[nodiscard]] const std::shared_ptr<const Origin>& getOrigin() const noexcept { return origin; }

  /// What a message says after its own text: " [people.fxs:12:3: gain <= 12]", or nothing without an origin.
  [[nodiscard]] std::string originText() const;

protected:
  Located() = default;
  ~Located() = default;

private:
  std::shared_ptr<const Origin> origin;
};
}  // namespace ZR::Filtrix
