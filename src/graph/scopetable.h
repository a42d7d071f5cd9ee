#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace ZR::Filtrix
{
/// A flat hash table from a scope's hash to what is kept for it.
///
/// Nodes look into several of these at every hop of every run, with one or two scopes in them most of the time: the
/// first entry stands in the table itself, the others side by side (open addressing, linear probing), and an entry that
/// comes and goes costs no allocation. Pointers to values hold until the next `insert` or `erase`.
template <typename Value>
class ScopeTable final
{
public:
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }

  [[nodiscard]] std::size_t size() const noexcept { return used + (first.taken ? 1 : 0); }

  [[nodiscard]] std::size_t capacity() const noexcept { return slots.size() + 1; }

  [[nodiscard]] Value* find(std::uint32_t hash) noexcept
  {
    if (first.taken && first.hash == hash)
      return &first.value;
    return used == 0 ? nullptr : findInSlots(hash);
  }

  [[nodiscard]] const Value* find(std::uint32_t hash) const noexcept
  {
    return const_cast<ScopeTable*>(this)->find(hash);
  }

  /// The value of `hash`, a default one when it was absent, and whether it was.
  std::pair<Value*, bool> insert(std::uint32_t hash)
  {
    if (Value* const present = find(hash))
      return {present, false};
    if (!first.taken)
    {
      first.hash = hash;
      first.taken = true;
      return {&first.value, true};
    }
    if ((std::size_t{used} + 1) * 4 > slots.size() * 3)
      grow();
    Slot& slot = slots[freeSlot(hash)];
    slot.hash = hash;
    slot.taken = true;
    ++used;
    return {&slot.value, true};
  }

  bool erase(std::uint32_t hash) noexcept
  {
    if (first.taken && first.hash == hash)
    {
      first.taken = false;
      first.value = Value();
      return true;
    }
    return used != 0 && eraseFromSlots(hash);
  }

  /// Calls `visit(hash, value)` for each entry, in no particular order; it must not insert or erase.
  template <typename Visit>
  void forEach(Visit&& visit)
  {
    if (first.taken)
      visit(first.hash, first.value);
    for (Slot& slot : slots)
    {
      if (slot.taken)
        visit(slot.hash, slot.value);
    }
  }

  template <typename Visit>
  void forEach(Visit&& visit) const
  {
    if (first.taken)
      visit(first.hash, first.value);
    for (const Slot& slot : slots)
    {
      if (slot.taken)
        visit(slot.hash, slot.value);
    }
  }

private:
  struct Slot
  {
    std::uint32_t hash = 0;
    bool taken = false;
    Value value{};
  };

  static constexpr std::size_t firstCapacity = 4;

  // The hashes of scopes come from a weak mix of short names: a multiplication spreads them.
  [[nodiscard]] std::size_t home(std::uint32_t hash) const noexcept
  {
    return static_cast<std::size_t>((std::uint64_t{hash} * 0x9E3779B97F4A7C15ULL) >> 32U) & (slots.size() - 1);
  }

  [[nodiscard]] std::size_t next(std::size_t at) const noexcept { return (at + 1) & (slots.size() - 1); }

  [[nodiscard]] std::size_t freeSlot(std::uint32_t hash) const noexcept
  {
    std::size_t at = home(hash);
    while (slots[at].taken)
      at = next(at);
    return at;
  }

  [[nodiscard]] Value* findInSlots(std::uint32_t hash) noexcept
  {
    for (std::size_t at = home(hash); slots[at].taken; at = next(at))
    {
      if (slots[at].hash == hash)
        return &slots[at].value;
    }
    return nullptr;
  }

  bool eraseFromSlots(std::uint32_t hash) noexcept
  {
    std::size_t hole = home(hash);
    while (slots[hole].taken && slots[hole].hash != hash)
      hole = next(hole);
    if (!slots[hole].taken)
      return false;

    // Entries that probed past the hole move back into it, so that no marks of erased entries pile up.
    for (std::size_t at = next(hole); slots[at].taken; at = next(at))
    {
      const std::size_t wanted = home(slots[at].hash);
      const bool reachesHole = hole <= at ? (wanted <= hole || wanted > at) : (wanted <= hole && wanted > at);
      if (!reachesHole)
        continue;
      slots[hole].hash = slots[at].hash;
      slots[hole].value = std::move(slots[at].value);
      hole = at;
    }
    slots[hole].taken = false;
    slots[hole].value = Value();
    --used;
    return true;
  }

  void grow()
  {
    std::vector<Slot> old(slots.empty() ? firstCapacity : slots.size() * 2);
    old.swap(slots);
    for (Slot& slot : old)
    {
      if (slot.taken)
      {
        Slot& target = slots[freeSlot(slot.hash)];
        target.hash = slot.hash;
        target.taken = true;
        target.value = std::move(slot.value);
      }
    }
  }

  Slot first;
  std::uint32_t used = 0;   // of the slots
  std::vector<Slot> slots;  // none or a power of two, never full
};

/// The same for values that stay where they are until they are erased.
template <typename Value>
class StableScopeTable final
{
public:
  [[nodiscard]] std::size_t size() const noexcept { return others.size() + (first ? 1 : 0); }

  [[nodiscard]] Value* find(std::uint32_t hash) noexcept
  {
    if (firstMark == markOf(hash))
      return &*first;
    auto* const entry = others.find(hash);
    return entry != nullptr ? entry->get() : nullptr;
  }

  /// Makes the value of a hash that has none.
  template <typename... Args>
  Value& emplace(std::uint32_t hash, Args&&... args)
  {
    if (!first)
    {
      first.emplace(std::forward<Args>(args)...);
      firstMark = markOf(hash);
      return *first;
    }
    auto value = std::make_unique<Value>(std::forward<Args>(args)...);
    auto& entry = *others.insert(hash).first;
    entry = std::move(value);
    return *entry;
  }

  void erase(std::uint32_t hash) noexcept
  {
    if (firstMark != markOf(hash))
    {
      others.erase(hash);
      return;
    }
    first.reset();
    firstMark = 0;
  }

  /// Calls `visit(hash, value)` for each entry, in no particular order; it must not insert or erase.
  template <typename Visit>
  void forEach(Visit&& visit)
  {
    if (first)
      visit(static_cast<std::uint32_t>(firstMark), *first);
    others.forEach([&](std::uint32_t hash, const std::unique_ptr<Value>& value) { visit(hash, *value); });
  }

private:
  static constexpr std::uint64_t markOf(std::uint32_t hash) noexcept { return std::uint64_t{1} << 32U | hash; }

  // The hash of the first and a bit more, 0 while there is none: it says in front of the value what `first` knows only
  // behind it, in another line of the cache.
  std::uint64_t firstMark = 0;
  std::optional<Value> first;
  ScopeTable<std::unique_ptr<Value>> others;
};
}  // namespace ZR::Filtrix
