#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// The sizes of the regions that a labelling keeps, in pixels, both ends included. A `max_` below 1 stands for the
/// whole image.
class SizeBounds final
{
public:
  SizeBounds(int min_, int max_, std::size_t pixels) noexcept
      : min(min_), max(max_ < 1 ? static_cast<std::int64_t>(pixels) : max_),
        keepAll(min <= 1 && max >= static_cast<std::int64_t>(pixels))
  {
  }

  [[nodiscard]] bool hold(std::int64_t size) const noexcept { return min <= size && size <= max; }

  /// True when nothing can fall out, so that counting is in vain.
  [[nodiscard]] bool holdAll() const noexcept { return keepAll; }

private:
  std::int64_t min;
  std::int64_t max;
  bool keepAll;
};

/// The provisional labels of a labelling's scan, 1 and up, and which of them are known to be the same.
///
/// The entry of a label is a label that equals it, its own number at first and never a higher one. A meeting of two
/// labels gives both the lower of their entries and does not follow these any further, so what an overwritten entry
/// said is forgotten.
class Equivalences final
{
public:
  [[nodiscard]] std::size_t size() const noexcept { return entries.size(); }

  int addLabel()
  {
    const int label = static_cast<int>(entries.size());
    entries.push_back(label);
    return label;
  }

  /// Notes that the labels left of and above a pixel are the same, and returns the pixel's own.
  int join(int left, int up) noexcept
  {
    int& ofLeft = _entry(left);
    int& ofUp = _entry(up);
    if (ofLeft < ofUp)
      ofUp = ofLeft;
    else if (ofUp < ofLeft)  // nothing is written where all is known: the next pixel would wait for it
      ofLeft = ofUp;
    return ofLeft;
  }

  /// Ends the scan: from here on `operator[]` gives the final labels, which are returned as their number. `counts` has
  /// the pixels of each provisional label, or nothing when the bounds hold all.
  int renumber(std::vector<std::int64_t> counts, const SizeBounds& bounds)
  {
    _resolve();
    for (std::size_t label = counts.size(); label-- > 1;)
      if (const auto root = static_cast<std::size_t>(entries[label]); root != label)
        counts[root] += counts[label];

    // A root comes before all labels that lead to it.
    int highest = 0;
    for (std::size_t label = 1; label < entries.size(); ++label)
    {
      if (static_cast<std::size_t>(entries[label]) != label)
        entries[label] = _entry(entries[label]);
      else
        entries[label] = bounds.holdAll() || bounds.hold(counts[label]) ? ++highest : 0;
    }
    return highest;
  }

  int operator[](int label) const noexcept { return entries[static_cast<std::size_t>(label)]; }

private:
  int& _entry(int label) noexcept { return entries[static_cast<std::size_t>(label)]; }

  // Leads every label to its root at once: what an entry points to stands before it and is already resolved.
  void _resolve() noexcept
  {
    for (int& entry : entries)
      entry = _entry(entry);
  }

  std::vector<int> entries{0};
};
}  // namespace ZR::Filtrix::Filters
