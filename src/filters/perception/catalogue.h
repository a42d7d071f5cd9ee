#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix::Filters
{
enum class State : bool
{
  none,
  kept
};

/// What a perception filter shows of itself.
struct CatalogueEntry
{
  std::string name;
  std::string description;
  std::vector<std::string> inputs;  ///< declared as `UserFilter` says
  std::vector<std::string> outputs;
  State state;
};

/// The whole perception library, in the order of registration.
[[nodiscard]] std::span<const CatalogueEntry> perceptionCatalogue();

/// Throws std::invalid_argument for a name that is not in the catalogue.
[[nodiscard]] const CatalogueEntry& catalogueEntry(std::string_view name);
}  // namespace ZR::Filtrix::Filters
