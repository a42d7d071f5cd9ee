#pragma once

#include "data/imagepool.h"

#include <opencv2/core/mat.hpp>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <vector>

/// What the filters on label images share. 0 is the background; a negative label counts as background, too.
namespace ZR::Filtrix::Filters
{
/// How many labels `findChanges` looks at.
inline constexpr int changesBlock = 64;

/// Bit i is set where `labels[i + 1]` differs from `labels[i]`; `count` labels follow the first one, a block at most.
[[nodiscard]] std::uint64_t findChanges(const int* labels, int count) noexcept;

/// Calls `visit(y, begin, end, label)` for each stretch of equal labels in a row, from column `begin` to before `end`,
/// the background's included, in raster order: work per stretch instead of per pixel.
template <typename Visit>
void forEachRun(const cv::Mat& labels, const Visit& visit)
{
  for (int y = 0; y < labels.rows; ++y)
  {
    const int* const row = labels.ptr<int>(y);
    int begin = 0;
    for (int first = 0; first < labels.cols; first += changesBlock)
    {
      const int count = std::min(changesBlock, labels.cols - 1 - first);
      for (std::uint64_t changes = findChanges(row + first, count); changes != 0; changes &= changes - 1)
      {
        const int end = first + std::countr_zero(changes) + 1;
        visit(y, begin, end, row[begin]);
        begin = end;
      }
    }
    if (labels.cols > 0)
      visit(y, begin, labels.cols, row[begin]);
  }
}

/// An entry per label, as many as the labels need: an array up to the label that a full labelling of the image could
/// give, a tree beyond it, so that one pixel with a huge label does not cost gigabytes.
template <typename Entry>
class LabelTable final
{
public:
  explicit LabelTable(const cv::Mat& labels) : arrayLimit(std::max(labels.total(), smallest)) {}

  /// The entry of a label of at least 0, made by `Entry()` the first time.
  Entry& operator[](int label)
  {
    const auto index = static_cast<std::size_t>(label);
    if (index < array.size())
      return array[index];
    return index < arrayLimit ? _grow(index) : tree[label];
  }

  /// Calls `visit(label, entry)` in ascending order; also for labels in between, with the entry as `Entry()` makes it.
  template <typename Visit>
  void forEach(const Visit& visit) const
  {
    for (std::size_t index = 0; index < array.size(); ++index)
      visit(static_cast<int>(index), array[index]);
    for (const auto& [label, entry] : tree)
      visit(label, entry);
  }

private:
  static constexpr std::size_t smallest = 1U << 16;

  Entry& _grow(std::size_t index)
  {
    array.resize(std::min(arrayLimit, std::max(index + 1, 2 * array.size())));
    return array[index];
  }

  const std::size_t arrayLimit;
  std::vector<Entry> array;
  std::map<int, Entry> tree;
};

/// Where a label lies: the least and the greatest coordinates, both included, in pixels.
struct Box
{
  int minX = std::numeric_limits<int>::max();
  int minY = std::numeric_limits<int>::max();
  int maxX = 0;
  int maxY = 0;

  /// False for a label without pixels and for one that is a single column wide.
  [[nodiscard]] bool hasWidth() const noexcept { return minX < maxX; }
};

[[nodiscard]] LabelTable<Box> findBoxes(const cv::Mat& labels);

/// The image with those labels alone for which `keep(label)` holds, background elsewhere.
template <typename Keep>
[[nodiscard]] cv::Mat keepLabels(const cv::Mat& labels, const Keep& keep)
{
  cv::Mat kept = makePooledMat(labels.rows, labels.cols, CV_32S);
  forEachRun(labels,
             [&](int y, int begin, int end, int label)
             {
               int* const row = kept.ptr<int>(y);
               std::fill(row + begin, row + end, label > 0 && keep(label) ? label : 0);
             });
  return kept;
}
}  // namespace ZR::Filtrix::Filters
