#pragma once

#include <boost/property_tree/ptree_fwd.hpp>

#include <cstddef>
#include <filesystem>
#include <string>

/// Small XML files from sources that nobody vouches for.
namespace ZR::Filtrix::Filters
{
inline constexpr std::size_t largestXmlFile = 8U << 20U;   ///< bytes
inline constexpr std::size_t deepestXml = 64;              ///< elements within one another
inline constexpr std::size_t mostXmlElements = 1U << 18U;  ///< each costs some 300 bytes while a file is read

/// The text of a regular file. Opening waits for nobody, whatever the path leads to. Throws std::runtime_error, what
/// was expected and what came, when there is no such file or it is larger than `largestXmlFile`.
[[nodiscard]] std::string readSmallFile(const std::filesystem::path& path);

/// What a reader of XML may be given without fear for its stack and for memory.
///
/// Readers call themselves for each element within another, so what is nested beyond the stack would end the program.
/// Tags are therefore read beforehand by a strict grammar, in which nobody can hide one tag in another: names, and
/// attributes with quoted values without "<". Comments, CDATA and processing instructions are taken, document types are
/// not. Throws std::runtime_error with the line for what is too deep, too long or no XML.
void requirePlainXml(const std::string& text);

/// The text as a tree, without comments; blanks stay. Throws as `requirePlainXml` does.
[[nodiscard]] boost::property_tree::ptree parseXml(const std::string& text);
}  // namespace ZR::Filtrix::Filters
