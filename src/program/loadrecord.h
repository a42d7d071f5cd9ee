#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ZR::Filtrix
{
/// What a load has created and not deleted again, in order: what a user must clean up when it fails half-way.
class LoadRecord final
{
public:
  void add(std::string_view kind, std::string_view name);
  void remove(std::string_view kind, std::string_view name);

  /// What is added from now on stands behind this position.
  [[nodiscard]] std::size_t position() const noexcept { return entries.size(); }

  /// "filter Smooth, source frame" from a position on, or "nothing". A long list ends in "and 12 more".
  [[nodiscard]] std::string tell(std::size_t from) const;

private:
  std::vector<std::string> entries;  // empty where one was removed
  std::unordered_map<std::string, std::size_t> positions;
};
}  // namespace ZR::Filtrix
