#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace ZR::Filtrix
{
/// A quote or a brace that nothing closes.
struct Unclosed
{
  std::size_t position;
  bool isString;  ///< or else a block
};

/// What costs a program its end: a string that is not closed, or else the outermost block that is not. Strings and
/// blocks are those of `splitBlocks`. Nothing for a text in which all are closed.
[[nodiscard]] std::optional<Unclosed> findUnclosed(std::string_view text) noexcept;
}  // namespace ZR::Filtrix
