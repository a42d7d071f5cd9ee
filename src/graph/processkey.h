#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace ZR::Filtrix
{
/// Names one scope of one run: a process, or the inside of a filter node within it ("people__17__42").
///
/// Everything that a run keeps is found by the hash alone; two names with the same hash share it. Cheap to copy.
class ProcessKey final
{
public:
  explicit ProcessKey(std::string name);

  /// The scope inside: the outer name and then the suffix. The hash goes on from the outer one, so that only the
  /// suffix is read for it.
  ProcessKey(const ProcessKey& outer, std::string_view suffix);

  [[nodiscard]] const std::string& getName() const noexcept { return *name; }

  [[nodiscard]] std::uint32_t getHash() const noexcept { return hash; }

private:
  std::shared_ptr<const std::string> name;
  std::uint32_t hash;
};
}  // namespace ZR::Filtrix
