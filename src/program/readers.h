#pragma once

#include "exec/process.h"
#include "graph/nodesourcealias.h"

#include <cstddef>
#include <memory>
#include <unordered_map>

namespace ZR::Filtrix
{
/// Which processes read one another, and how deep that goes. Who reads another's sink runs it, on the same stack and
/// with its own locks held, and so on down. A process that reads no other is 1 deep.
///
/// Guarded by the process lock of the registry that has it.
class Readers final
{
public:
  /// How deep a process is that has got its sources.
  [[nodiscard]] std::size_t depthOf(const Process& process) const;

  /// Keeps the depth of a process for those that will read it, for as long as it lives.
  void note(const ProcessPtr& process);

  /// Lets go of a process that was deleted, once it has ended, and of others that have ended since. `living` is how
  /// many there are that were not deleted.
  void forgetEnded(const Process* deleted, std::size_t living);

  /// True when a process would come to read itself, were the alias to lead to `target`.
  [[nodiscard]] static bool wouldCloseRing(const NodeSourceAlias& alias, const NodeSourcePtr& target);

  /// How deep the deepest process would be, were the alias to lead to `target`, which closes no ring. 0 when nothing is
  /// read through the target, so that none becomes deeper.
  [[nodiscard]] std::size_t deepestWith(const NodeSourceAlias& alias, const NodeSourcePtr& target) const;

  /// Measures again once an alias has been turned from one target to another.
  void noteTurn(const NodeSourcePtr& from, const NodeSourcePtr& to);

private:
  struct Noted
  {
    std::weak_ptr<const Process> process;
    std::size_t depth = 1;
  };

  using Table = std::unordered_map<const Process*, Noted>;

  // An alias, and where it is thought to lead.
  struct Turn
  {
    const NodeSourceAlias* alias = nullptr;
    NodeSourcePtr target;
  };

  [[nodiscard]] static const Process* _readBy(const NodeSourcePtr& source, const Turn& turn);
  [[nodiscard]] Table _measure(const Turn& turn) const;
  std::size_t _measureInto(Table& measured, const Noted& noted, const Process& process, const Turn& turn) const;

  Table table;
  std::size_t clearAt = 64;  // entries
};
}  // namespace ZR::Filtrix
