#pragma once

#include <filesystem>
#include <string>

namespace ZR::Filtrix::FilterDocs
{
/// The reference as Markdown: every filter of both libraries in their order, with its description, ports and, where it
/// has one, its doc comment and picture. `source` is the root of the source tree, where the comments are.
[[nodiscard]] std::string makeReference(const std::filesystem::path& source);

/// What is different, for a person: the first line that is.
[[nodiscard]] std::string firstDifference(const std::string& found, const std::string& expected);
}  // namespace ZR::Filtrix::FilterDocs
