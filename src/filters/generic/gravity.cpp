#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/labels.h"
#include "filtrix/image.h"

#include <cmath>
#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
struct Moments
{
  std::int64_t sumX = 0;
  std::int64_t sumY = 0;
  std::int64_t count = 0;
};

float mean(std::int64_t sum, std::int64_t count)
{
  return std::trunc(static_cast<float>(sum) / static_cast<float>(count));
}

LabelTable<Moments> findMoments(const cv::Mat& labels)
{
  LabelTable<Moments> table(labels);
  forEachRun(labels,
             [&](int y, int begin, int end, int label)
             {
               if (label <= 0)
                 return;
               const std::int64_t length = end - begin;
               Moments& moments = table[label];
               moments.sumX += length * (std::int64_t{begin} + end - 1) / 2;
               moments.sumY += length * y;
               moments.count += length;
             });
  return table;
}
}  // namespace

/// The centres of gravity of the labels of an image.
///
/// | Port | Types      | Meaning                                                                                   |
/// |------|------------|-------------------------------------------------------------------------------------------|
/// | in   | LabelImage | any size                                                                                  |
/// | out  | Array      | a Vector2 per label, ascending: the mean column and row, cut to whole pixels              |
///
/// A missing input or another type gives no output. Stateless.
class Gravity final : public GenericFilter
{
public:
  Gravity() : GenericFilter("Gravity", "Gives the centre of gravity of each label.")
  {
    input("in", {TypeTag::LabelImage});
    output("out", {TypeTag::Array});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Gravity::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  if (inputs.size() != 1 || typeOf(inputs[0]) != TypeTag::LabelImage)
    return {};

  DataArray centres;
  findMoments(Type::toCvMat(*inputs[0]))
      .forEach(
          [&](int, const Moments& moments)
          {
            if (moments.count > 0)
              centres.push_back(makeData(mean(moments.sumX, moments.count), mean(moments.sumY, moments.count)));
          });
  return {makeData(std::move(centres))};
}

FilterPtr makeGravity()
{
  return std::make_shared<Gravity>();
}
}  // namespace ZR::Filtrix::Filters
