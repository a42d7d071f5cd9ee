#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Help with names that were mistyped. All thread-safe.
namespace ku
{
/// How many bytes must be inserted, dropped, replaced or swapped with their neighbour to turn `a` into `b`, when none
/// is touched twice. Source: F. J. Damerau, "A technique for computer detection and correction of spelling errors",
/// Comm. ACM 7(3), 1964, counted as in R. A. Wagner and M. J. Fischer, "The String-to-String Correction Problem", J.
/// ACM 21(1), 1974. Cost: the product of the lengths.
[[nodiscard]] std::size_t editDistance(std::string_view a, std::string_view b);

/// The known name that was most likely meant: the first of the nearest, ASCII case aside, when no more than a third of
/// the letters differ, and at least one may. Nothing otherwise.
[[nodiscard]] std::optional<std::string> closest(std::string_view word, const std::vector<std::string>& known);

/// For the end of an error line: ` Did you mean "slim"?`, or nothing.
[[nodiscard]] std::string didYouMean(std::string_view word, const std::vector<std::string>& known);
}  // namespace ku
