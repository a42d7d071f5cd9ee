#include "data/imagepool.h"
#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filtrix/image.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace ZR::Filtrix::Filters
{
namespace
{
// How far the nearest labelled pixel is, and its row in the low half, which breaks ties.
template <typename Key>
constexpr Key oneStep = Key{1} << (4 * sizeof(Key));

// No labelled pixel so far. Half the range stays free, so that steps may be added to it.
template <typename Key>
constexpr Key nowhere = std::numeric_limits<Key>::max() / 2;

// Whether an image's distances fit.
template <typename Key>
constexpr int greatestExtent = static_cast<int>(std::min<std::int64_t>(nowhere<Key> / oneStep<Key>, INT32_MAX));

// For each pixel of a row the nearest label found so far.
template <typename Key>
struct Row
{
  Key* keys;
  int* labels;
};

// Takes over the label of the pixel above or below where that is nearer.
template <typename Key>
void spreadFrom(const Row<Key>& neighbour, const Row<Key>& row, int cols)
{
  for (int x = 0; x < cols; ++x)
  {
    const Key key = neighbour.keys[x] + oneStep<Key>;
    const bool nearer = key < row.keys[x];
    row.labels[x] = nearer ? neighbour.labels[x] : row.labels[x];
    row.keys[x] = nearer ? key : row.keys[x];
  }
}

// The same along the row. Two labelled pixels that are equally near and in one row lie on both sides: the left one,
// which comes first, stays.
template <typename Key>
void spreadAlong(const Row<Key>& row, int cols)
{
  Key key = nowhere<Key>;
  int label = 0;
  const auto pass = [&](int x)
  {
    key += oneStep<Key>;
    const bool nearer = key < row.keys[x];
    row.labels[x] = label = nearer ? label : row.labels[x];
    row.keys[x] = key = nearer ? key : row.keys[x];
  };
  for (int x = 0; x < cols; ++x)
    pass(x);
  for (int x = cols; x-- > 0;)
    pass(x);
}

template <typename Key>
cv::Mat fillBackground(const cv::Mat& labels)
{
  const int cols = labels.cols;
  cv::Mat filled = makePooledMat(labels.rows, cols, CV_32S);
  cv::Mat keys = makePooledMat(labels.rows, cols, sizeof(Key) == sizeof(int) ? CV_32S : CV_32SC2);
  const auto rowAt = [&](int y) { return Row<Key>{keys.ptr<Key>(y), filled.ptr<int>(y)}; };

  for (int y = 0; y < labels.rows; ++y)
  {
    const Row<Key> row = rowAt(y);
    const int* const in = labels.ptr<int>(y);
    for (int x = 0; x < cols; ++x)
    {
      row.labels[x] = std::max(in[x], 0);
      row.keys[x] = in[x] > 0 ? Key{y} : nowhere<Key>;
    }
    if (y > 0)
      spreadFrom(rowAt(y - 1), row, cols);
  }
  for (int y = labels.rows; y-- > 0;)
  {
    if (y + 1 < labels.rows)
      spreadFrom(rowAt(y + 1), rowAt(y), cols);
  }
  for (int y = 0; y < labels.rows; ++y)
    spreadAlong(rowAt(y), cols);
  return filled;
}
}  // namespace

/// Lets the labels of an image grow over the whole background: each pixel takes the label of the nearest labelled one,
/// counted in steps to pixels that share a side.
///
/// | Port | Types      | Meaning                                                                                   |
/// |------|------------|-------------------------------------------------------------------------------------------|
/// | in   | LabelImage | any size                                                                                  |
/// | out  | LabelImage | same size, source, time and fields of view; without any label, all background             |
///
/// Of several nearest pixels the first in raster order wins. This is what labels give that grow by one step at a time,
/// in turn by that order: as nothing stands in the way, the steps between two pixels are dx + dy, so the image can be
/// done column by column and then row by row, at the same cost for every image.
/// Source: A. Rosenfeld, J. L. Pfaltz, "Distance Functions on Digital Pictures", Pattern Recognition 1(1), 1968.
///
/// A missing input or another type gives no output. Stateless.
class Geodesic final : public GenericFilter
{
public:
  Geodesic() : GenericFilter("Geodesic", "Gives each background pixel the label of the nearest labelled pixel.")
  {
    input("in", {TypeTag::LabelImage});
    output("out", {TypeTag::LabelImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Geodesic::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1 || typeOf(inputs[0]) != TypeTag::LabelImage)
    return {};

  const cv::Mat labels = Type::toCvMat(*inputs[0]);
  const bool small = labels.rows + labels.cols < greatestExtent<std::int32_t>;
  const cv::Mat filled = small ? fillBackground<std::int32_t>(labels) : fillBackground<std::int64_t>(labels);
  return {Type::toData(TypeTag::LabelImage, filled, *inputs[0])};
}

FilterPtr makeGeodesic()
{
  return std::make_shared<Geodesic>();
}
}  // namespace ZR::Filtrix::Filters
