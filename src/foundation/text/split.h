#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The cuts that program text and port declarations are read with. Pure string work: linear in the text, no recursion,
/// no allocation beyond the results. Double quotes protect what stands between them; a backslash protects a quote.
///
/// The pieces look into the text that they were cut from, so that the place of a piece in it can be told by its
/// address.
namespace ZR::Filtrix
{
/// `text` without the blanks, tabs, newlines and carriage returns at its ends.
[[nodiscard]] std::string_view trim(std::string_view text) noexcept;

/// The position of the quote that closes the one at `open`, or the size of the text when none does.
[[nodiscard]] std::size_t skipString(std::string_view text, std::size_t open) noexcept;

/// A stretch of text that was kept: where it begins in what is left, and where it began in the original.
struct KeptText
{
  std::size_t start;
  std::size_t original;
};

/// Drops every comment: from `mark` to the first newline or carriage return, that character included, so that a comment
/// joins its line to the next one. Knows nothing of quotes. Lists the stretches that stay in `kept` when it is given.
[[nodiscard]] std::string removeComments(std::string_view text, char mark, std::vector<KeptText>* kept = nullptr);

/// Cuts `a { b } c { }` into a, b, c and the empty string: headers, which are left out when empty, and blocks, which
/// are not. Blocks nest; the inner ones stay in the text. A block that is not closed is lost.
[[nodiscard]] std::vector<std::string_view> splitBlocks(std::string_view text, char open, char close);

/// The trimmed, non-empty pieces between the separators outside quotes.
[[nodiscard]] std::vector<std::string_view> splitList(std::string_view text, char separator);

/// What stands before and after the first `separator`, each trimmed; without one the whole text and nothing.
/// Knows nothing of quotes.
[[nodiscard]] std::pair<std::string_view, std::string_view> splitOnce(std::string_view text,
                                                                      std::string_view separator);

/// The words between white space.
[[nodiscard]] std::vector<std::string_view> splitWords(std::string_view text);
}  // namespace ZR::Filtrix
