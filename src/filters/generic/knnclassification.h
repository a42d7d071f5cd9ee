#pragma once

#include "filters/generic/genericfilter.h"
#include "filters/generic/knntable.h"

#include <filesystem>
#include <string>

namespace ZR::Filtrix::Filters
{
/// Tells the class of a descriptor by its nearest neighbours among those of a file.
///
/// | Port | Types   | Meaning                                                                         |
/// |------|---------|---------------------------------------------------------------------------------|
/// | in   | Array   | the descriptor: numbers, as many as those of the file have; others count as 0   |
/// | k    | Integer | how many neighbours vote; without it, or below 2, the nearest one decides       |
/// | out  | Integer | the label                                                                       |
///
/// An array of another length gives no output. Of equally near rows the first one counts, of equally frequent labels
/// the lowest. With `k` above the number of rows, those that lack vote for 0. Stateless; `load` goes before the first
/// run.
class KNNClassification final : public GenericFilter
{
public:
  explicit KNNClassification(std::string filterName = "KNNClassification");

  /// Reads the descriptors; knntable.h tells the file's form. A file of another type than "knn" leaves the filter
  /// empty, with a line in the log. Throws std::runtime_error, with the file, what was expected and what came, for all
  /// else that is not as it should be; the filter then keeps what it had.
  void load(const std::filesystem::path& path);

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;

private:
  KnnTable table;
};
}  // namespace ZR::Filtrix::Filters
