#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// Descriptors whose class is known, and the question which class a new one is likely to be of.
/// Source: T. Cover, P. Hart, "Nearest Neighbor Pattern Classification", IEEE Trans. Information Theory 13(1), 1967.
class KnnTable final
{
public:
  static constexpr std::size_t mostValues = 1U << 24U;  ///< of all descriptors together

  /// No descriptors, of length 0.
  KnnTable() = default;

  /// `descriptors` holds row after row, `size` values for each label.
  KnnTable(std::size_t size_, std::vector<std::int32_t> labels_, std::vector<float> descriptors_);

  /// The length of a descriptor.
  [[nodiscard]] std::size_t getSize() const noexcept { return size; }

  [[nodiscard]] std::size_t getCount() const noexcept { return labels.size(); }

  /// The label of the row with the least squared distance, the first of equal ones; 0 without any. `descriptor` has
  /// `getSize` values. Costs one pass over the table.
  [[nodiscard]] std::int32_t nearest(const float* descriptor) const;

  /// The label that most of the `k` nearest rows have, the lowest of equally frequent ones. When there are fewer rows
  /// than `k`, each that lacks votes for 0. Among rows of equal distance the first ones come in, and it is the one that
  /// took the earliest place that has to go. Costs one pass over the table, and memory for at most its rows.
  [[nodiscard]] std::int32_t vote(const float* descriptor, std::size_t k) const;

private:
  [[nodiscard]] float _distance(const float* descriptor, std::size_t row) const;

  std::size_t size = 0;
  std::vector<std::int32_t> labels;
  std::vector<float> descriptors;
};

/// Reads a table from XML:
///
///     <data>
///       <properties><type>knn</type><size>2</size><count>3</count></properties>
///       <descriptors>
///         <descriptor>1 0.25 0.5</descriptor>  <!-- the label, then `size` values -->
///         ...
///       </descriptors>
///     </data>
///
/// Nothing when the type is another one; `type` tells which. Throws std::runtime_error, what was expected and what
/// came, for what is no XML, for sizes and counts that are no whole numbers from 1 on, that do not match the rows or
/// that make more than `KnnTable::mostValues`, and for labels and values that are no finite numbers.
[[nodiscard]] std::optional<KnnTable> parseKnnTable(const std::string& text, std::string* type);
}  // namespace ZR::Filtrix::Filters
