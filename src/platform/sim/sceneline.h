#pragma once

#include "platform/sim/scene.h"

#include <string>
#include <string_view>
#include <vector>

namespace ZR::Sim
{
/// A line of a scene file, read word by word. Everything unexpected throws `SceneError` with the place.
class SceneLine final
{
public:
  /// What follows '#' is left out.
  SceneLine(std::string_view text, std::string place_);

  [[nodiscard]] bool isAtEnd() const { return next == words.size(); }

  /// Takes the next word if it is this one.
  bool accept(std::string_view word);

  /// The next word, whatever it is; `what` says what it should be.
  std::string takeWord(std::string_view what);

  /// A number within the bounds.
  float takeNumber(std::string_view what, float low, float high);

  /// Degrees, given in radians.
  float takeAngle(std::string_view what);

  /// One of the names of colours, or "#rrggbb".
  Color takeColor(std::string_view what);

  void expectEnd() const;

  /// "expected WHAT, got the next word".
  [[noreturn]] void fail(std::string_view expected) const;

private:
  [[nodiscard]] std::string _next() const;

  const std::string place;
  std::vector<std::string> words;
  std::size_t next = 0;
};
}  // namespace ZR::Sim
