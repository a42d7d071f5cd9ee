#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace ZR::Filtrix::FilterDocs
{
/// What a filter's doc comment says beyond the filter's own ports and description.
struct FilterComment
{
  struct Port
  {
    std::string types;
    std::string meaning;
  };

  std::map<std::string, Port> ports;  ///< from the rows of its port table, by name
  std::string text;                   ///< what stands around the table, after the first sentence
};

/// The doc comments of the classes in a folder's files, by class. One that begins with "The filters `A` and `B`" also
/// stands under these names. Throws std::runtime_error when the folder cannot be read.
[[nodiscard]] std::map<std::string, FilterComment> readComments(const std::filesystem::path& folder);
}  // namespace ZR::Filtrix::FilterDocs
