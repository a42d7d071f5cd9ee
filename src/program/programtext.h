#pragma once

#include "foundation/text/split.h"
#include "graph/origin.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix
{
/// A program without its comments, which still knows where everything stood in the original. What is cut from `getText`
/// is looked up by its address, so it must not be copied before.
class ProgramText final
{
public:
  /// `name` is the program's file, or empty for a text.
  ProgramText(std::string name, std::string_view original);
  ProgramText(const ProgramText&) = delete;
  ProgramText& operator=(const ProgramText&) = delete;
  ~ProgramText() = default;

  [[nodiscard]] std::string_view getText() const noexcept { return text; }

  [[nodiscard]] const std::string& getName() const noexcept { return name; }

  /// Where a piece of `getText` stood; a text from elsewhere has no place.
  [[nodiscard]] std::shared_ptr<const Origin> locate(std::string_view piece) const;

private:
  std::string name;
  std::vector<KeptText> kept;
  std::string text;
  std::vector<std::size_t> lineStarts;  // offsets in the original
};
}  // namespace ZR::Filtrix
