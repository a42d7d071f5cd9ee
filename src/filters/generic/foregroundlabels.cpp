#include "filters/generic/foregroundlabels.h"

#include "data/imagepool.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
// A stretch of a row whose pixels have one provisional label, from column `begin` to before `end`.
struct Segment
{
  int begin;
  int end;
  int label;
};

static_assert(sizeof(Segment) == 3 * sizeof(int), "segments are stored in matrices of three channels");

// Stands behind the last segment of a row, so that looking for the next one needs no check.
constexpr int farRight = std::numeric_limits<int>::max();
constexpr Segment rowEnd{farRight, farRight, 0};

// Finds the columns at which a row changes between background and foreground.
class RowEdges final
{
public:
  explicit RowEdges(int cols) : bytes((static_cast<std::size_t>(cols) / block + 1) * block), edges(bytes.size() + 1) {}

  // The columns where a run begins and the one behind its end, in turn. Valid until the next call.
  template <typename Pixel>
  std::pair<const int*, const int*> find(const Pixel* row, int cols)
  {
    // At least one byte of padding stays 0 and closes the last run.
    std::transform(row, row + cols, bytes.begin(), [](Pixel pixel) -> std::uint8_t { return pixel != 0; });
    int* edge = edges.data();
    std::uint64_t last = 0;
    for (std::size_t first = 0; first < bytes.size(); first += block)
    {
      const std::uint64_t bits = _foreground(first);
      for (std::uint64_t changes = bits ^ (bits << 1 | last); changes != 0; changes &= changes - 1)
        *edge++ = static_cast<int>(first) + std::countr_zero(changes);
      last = bits >> (block - 1);
    }
    return {edges.data(), edge};
  }

private:
  static constexpr std::size_t block = 64;

  // A bit per pixel.
  [[nodiscard]] std::uint64_t _foreground(std::size_t first) const
  {
    std::uint64_t bits = 0;
    for (std::size_t part = 0; part < block; part += 16)
    {
      const auto background = cv::v_load(&bytes[first + part]) == cv::v_setzero_u8();
      bits |= (~static_cast<std::uint64_t>(cv::v_signmask(background)) & 0xFFFF) << part;
    }
    return bits;
  }

  std::vector<std::uint8_t> bytes;
  std::vector<int> edges;
};

// Writes a label from `begin` to `end`, four pixels at a time and past the end, and returns the end. What stands behind
// is written later: most stretches are short, and loops of exact lengths would mispredict at each.
constexpr int paintBlock = 4;

int* paintTo(int* begin, int* end, int label)
{
  for (; begin < end; begin += paintBlock)
    std::fill_n(begin, paintBlock, label);
  return end;
}

class ForegroundScan final
{
public:
  // A row has as many segments as pixels at most, and its end.
  explicit ForegroundScan(const cv::Mat& input)
      : store(makePooledMat(input.rows + 1, input.cols + 1, CV_32SC3)), segments(store.ptr<Segment>()), next(segments)
  {
    *next++ = rowEnd;  // above the first row
    const Segment* above = segments;
    RowEdges edges(input.cols);
    for (int y = 0; y < input.rows; ++y)
    {
      const auto [edge, end] = input.depth() == CV_8U ? edges.find(input.ptr<std::uint8_t>(y), input.cols)
                                                      : edges.find(input.ptr<std::uint16_t>(y), input.cols);
      above = _scanRow(edge, end, above);
    }
  }

  int renumber(const SizeBounds& bounds)
  {
    std::vector<std::int64_t> counts(bounds.holdAll() ? 0 : table.size());
    if (!bounds.holdAll())
      for (const Segment* segment = segments; segment != next; ++segment)
        counts[static_cast<std::size_t>(segment->label)] += segment->end - segment->begin;
    return table.renumber(std::move(counts), bounds);
  }

  void paint(cv::Mat& labels) const
  {
    std::vector<int> buffer(static_cast<std::size_t>(labels.cols) + paintBlock);
    int* const row = buffer.data();
    const Segment* segment = segments + 1;
    for (int y = 0; y < labels.rows; ++y, ++segment)
    {
      int* at = row;
      for (; segment->end != farRight; ++segment)
      {
        at = paintTo(at, row + segment->begin, 0);
        at = paintTo(at, row + segment->end, table[segment->label]);
      }
      paintTo(at, row + labels.cols, 0);
      std::copy_n(row, labels.cols, labels.ptr<int>(y));
    }
  }

private:
  // Returns the row's first segment.
  const Segment* _scanRow(const int* edge, const int* end, const Segment* upper)
  {
    const Segment* const first = next;
    Segment* out = next;
    for (; edge != end; edge += 2)
      out = _scanRun(edge[0], edge[1], upper, out);
    *out = rowEnd;
    next = out + 1;
    return first;
  }

  // Writes the segments of a run to `out` and returns where the next go. Leaves `upper` at the first segment of the row
  // above that may matter to the next run.
  Segment* _scanRun(int begin, int end, const Segment*& upper, Segment* out)
  {
    while (upper->end <= begin)
      ++upper;
    *out = {begin, begin + 1, upper->begin <= begin ? upper->label : table.addLabel()};
    for (; upper->begin < end; ++upper)
    {
      out = _pass(out, *upper, std::min(upper->end, end));
      if (upper->end >= end)
        break;
    }
    out->end = end;
    return out + 1;
  }

  // Goes on with the segment `out` below `upper` and returns the one that it ends in. Each pixel joins the label on its
  // left with the one above. Once that leaves the label as it was, it would do so for the rest of the stretch, which is
  // skipped.
  Segment* _pass(Segment* out, const Segment& upper, int stop)
  {
    for (int x = std::max(out->end, upper.begin); x < stop; ++x)
    {
      const int label = table.join(out->label, upper.label);
      if (label == out->label)
        break;
      out->end = x;
      *++out = {x, x + 1, label};
    }
    out->end = std::max(out->end, stop);
    return out;
  }

  Equivalences table;
  cv::Mat store;            // the memory of the segments
  Segment* const segments;  // of all rows, one after the other
  Segment* next;            // behind the last one
};
}  // namespace

int labelForeground(const cv::Mat& input, cv::Mat& labels, const SizeBounds& bounds)
{
  ForegroundScan scan(input);
  const int highest = scan.renumber(bounds);
  labels = makePooledMat(input.rows, input.cols, CV_32S);
  scan.paint(labels);
  return highest;
}
}  // namespace ZR::Filtrix::Filters
