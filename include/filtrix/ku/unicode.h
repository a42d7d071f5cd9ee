#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

/// Text is UTF-8 throughout the runtime. What comes from outside may not be, and is either told or mended here. A path
/// is the exception: its bytes are those of the file system, so that every file can be named.
namespace ku
{
/// Where the first byte is that is no part of a valid character, or `std::string_view::npos`. Overlong forms,
/// surrogates and what lies beyond U+10FFFF are not valid.
[[nodiscard]] std::size_t findInvalidUtf8(std::string_view text) noexcept;

[[nodiscard]] bool isValidUtf8(std::string_view text) noexcept;

/// The text with U+FFFD in the place of each byte that is no part of a valid character.
[[nodiscard]] std::string toValidUtf8(std::string_view text);

/// The conversion between text and paths. Bytes are kept as they are, so that a path survives the way there and back
/// whatever its encoding; for a person to read, pass the text through `toValidUtf8`.
class UnicodeFacet
{
public:
  /// Throws std::invalid_argument, with the position, when the text holds a zero byte: the system would take what
  /// stands before it for the whole name.
  [[nodiscard]] std::filesystem::path toPath(std::string_view text) const;

  [[nodiscard]] std::string toText(const std::filesystem::path& path) const;
};

inline constexpr UnicodeFacet unicodeFacet;
}  // namespace ku
