#include "filters/generic/labels.h"

#include <opencv2/core/hal/intrin.hpp>

namespace ZR::Filtrix::Filters
{
namespace
{
// All ones where a label differs from the one before.
cv::v_uint32x4 changesOfFour(const int* labels)
{
  return cv::v_reinterpret_as_u32(cv::v_load(labels + 1) != cv::v_load(labels));
}
}  // namespace

std::uint64_t findChanges(const int* labels, int count) noexcept
{
  constexpr int step = 16;
  std::uint64_t changes = 0;
  int i = 0;
  for (; i + step <= count; i += step)
  {
    const int* const four = labels + i;
    const auto bytes =
        cv::v_pack_b(changesOfFour(four), changesOfFour(four + 4), changesOfFour(four + 8), changesOfFour(four + 12));
    changes |= static_cast<std::uint64_t>(cv::v_signmask(bytes)) << i;
  }
  for (; i < count; ++i)
    changes |= static_cast<std::uint64_t>(labels[i + 1] != labels[i]) << i;
  return changes;
}

LabelTable<Box> findBoxes(const cv::Mat& labels)
{
  LabelTable<Box> boxes(labels);
  forEachRun(labels,
             [&](int y, int begin, int end, int label)
             {
               if (label <= 0)
                 return;
               Box& box = boxes[label];
               box.minX = std::min(box.minX, begin);
               box.maxX = std::max(box.maxX, end - 1);
               box.minY = std::min(box.minY, y);
               box.maxY = y;
             });
  return boxes;
}
}  // namespace ZR::Filtrix::Filters
