#pragma once

#include "filtrix/ku/log.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace ku::log
{
/// The levels set for categories; a category without one takes that of the nearest category above it.
class Levels
{
public:
  Levels() = default;

  /// Reads "5" or "3,filtrix.process=6": levels by category, the default one without a category, in any order, blanks
  /// allowed; a later item wins. An empty text sets nothing. Throws std::invalid_argument on any other text.
  explicit Levels(std::string_view text);

  void set(std::string_view category, Level level);
  [[nodiscard]] Level of(std::string_view category) const noexcept;

  /// The most permissive one of them all.
  [[nodiscard]] Level most() const noexcept;

private:
  Level fallback = Level::Warning;
  std::map<std::string, Level, std::less<>> byCategory;
};
}  // namespace ku::log
