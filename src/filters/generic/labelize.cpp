#include "filters/generic/labelize.h"

#include "data/imagepool.h"
#include "filters/generic/equivalences.h"
#include "filters/generic/foregroundlabels.h"
#include "filters/generic/labels.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
// The values of an 8-bit image are compared as signed bytes, saturated.
template <typename Pixel>
constexpr int highestValue = sizeof(Pixel) == 1 ? INT8_MAX : UINT16_MAX;

bool joins(int neighbour, int value, int tolerance)
{
  return neighbour != 0 && std::abs(neighbour - value) <= tolerance;
}

// Gives each pixel its provisional label.
template <typename Pixel>
void scan(const cv::Mat& input, cv::Mat& labels, int toleranceH, int toleranceV, Equivalences& table)
{
  const auto read = [](Pixel pixel) { return std::min<int>(pixel, highestValue<Pixel>); };
  const std::vector<Pixel> background(static_cast<std::size_t>(input.cols));  // it joins nothing
  for (int y = 0; y < input.rows; ++y)
  {
    const auto* const pixels = input.ptr<Pixel>(y);
    const auto* const pixelsAbove = y > 0 ? input.ptr<Pixel>(y - 1) : background.data();
    int* const row = labels.ptr<int>(y);
    const int* const above = y > 0 ? labels.ptr<int>(y - 1) : row;
    int left = 0;
    int label = 0;  // of the pixel on the left
    int settled =
        0;  // the label above that was last joined with it to no effect: doing it again would have none either
    for (int x = 0; x < input.cols; ++x)
    {
      const int value = read(pixels[x]);
      const bool joinsLeft = joins(left, value, toleranceH);
      const bool joinsUp = value != 0 && joins(read(pixelsAbove[x]), value, toleranceV);
      const int last = label;
      if (value == 0)
        label = 0;
      else if (!joinsLeft)
        label = joinsUp ? above[x] : table.addLabel();
      else if (joinsUp && above[x] != settled)
      {
        label = table.join(last, above[x]);
        settled = above[x];
      }
      if (label != last)
        settled = 0;
      row[x] = label;
      left = value;
    }
  }
}

std::vector<std::int64_t> count(const cv::Mat& labels, std::size_t labelCount)
{
  std::vector<std::int64_t> counts(labelCount);
  forEachRun(labels,
             [&](int, int begin, int end, int label) { counts[static_cast<std::size_t>(label)] += end - begin; });
  return counts;
}

void replace(cv::Mat& labels, const Equivalences& table)
{
  for (int y = 0; y < labels.rows; ++y)
  {
    int* const row = labels.ptr<int>(y);
    std::transform(row, row + labels.cols, row, [&](int label) { return table[label]; });
  }
}

template <typename Pixel>
int labelize(const cv::Mat& input, cv::Mat& output, int toleranceH, int toleranceV, const SizeBounds& bounds)
{
  constexpr int widestStep = highestValue<Pixel> - 1;  // between two pixels of the foreground
  if (std::min(toleranceH, toleranceV) >= widestStep)
    return labelForeground(input, output, bounds);

  cv::Mat labels = makePooledMat(input.rows, input.cols, CV_32S);
  Equivalences table;
  scan<Pixel>(input, labels, toleranceH, toleranceV, table);
  const int highest =
      table.renumber(bounds.holdAll() ? std::vector<std::int64_t>() : count(labels, table.size()), bounds);
  replace(labels, table);
  output = std::move(labels);
  return highest;
}
}  // namespace

int labelize(const cv::Mat& input, cv::Mat& output, int toleranceH, int toleranceV, int minSize, int maxSize)
{
  const SizeBounds bounds(minSize, maxSize, input.total());
  switch (input.type())
  {
  case CV_8UC1:
    return labelize<std::uint8_t>(input, output, toleranceH, toleranceV, bounds);
  case CV_16UC1:
    return labelize<std::uint16_t>(input, output, toleranceH, toleranceV, bounds);
  default:
    throw std::invalid_argument("Input image not in a valid colorspace (CV_16UC1 or CV_8UC1)");
  }
}

int labelize(const cv::Mat& input, cv::Mat& output, int tolerance, int minSize, int maxSize)
{
  return labelize(input, output, tolerance, tolerance, minSize, maxSize);
}
}  // namespace ZR::Filtrix::Filters
