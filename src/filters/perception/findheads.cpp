// Finds the heads of a body by its upper edge, measured in metres: a head is a peak of the right width, with a fall to
// the shoulders on both sides. A raised arm is a peak without shoulders, and without a body, below it; these rules
// choose among several peaks and never reject the only one, since a person seen from the side shows no shoulders
// either.
//
// Sources: M. Munaro, F. Basso, E. Menegatti, "Tracking People within Groups with RGB-D Data", IROS 2012 (peaks of a
// height map, 0.3 m apart); the widths are those of heads, R. Drillis, R. Contini, "Body Segment Parameters", 1966.

#include "filters/perception/blobprofile.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
// All in metres.
constexpr float binWidth = 0.04F;
constexpr float lowestTop = 0.90F;   ///< a sitting child
constexpr float highestTop = 2.10F;  ///< a tall adult in shoes
constexpr float apart = 0.30F;       ///< two heads are at least so far apart
constexpr float headDepth = 0.15F;   ///< the width of a head is taken so far below its top
constexpr float narrowest = 0.08F;
constexpr float widest = 0.36F;
constexpr float fallWithin = 0.16F;  ///< beside the head, within this distance,
constexpr float fall = 0.12F;        ///< the edge falls by so much
constexpr float shoulderDepth = 0.40F;
constexpr float shoulderReach = 0.10F;
constexpr float shoulderWidth = 0.24F;

/// A body is wider than its head by this factor so far below the top, in metres: a post is not.
constexpr float widening = 1.15F;
constexpr float headMiddle = 0.10F;
constexpr float chestDepth = 0.45F;

/// Below a head there is at least this share of the body's whole height; below a raised hand there is an arm.
constexpr float bodyShare = 0.55F;

/// Pixels from the image's border at which something counts as cut.
constexpr int borderWidth = 1;

constexpr float nothing = -std::numeric_limits<float>::infinity();

// The upper edge in bins of equal width across the body, from its left column to its right one.
struct Profile
{
  std::vector<float> heights;
  std::vector<int> columns;   ///< where in the box each bin's height stands
  std::vector<float> counts;  ///< how many pixels the column there has
  float width = binWidth;     ///< of a bin: a far body's pixels are wider
};

Profile makeProfile(const ObjectView& view, const std::vector<ColumnTop>& tops, const Type::Histogram& histogram)
{
  Profile profile;
  const float pixel = view.distance / view.camera.focalX();
  profile.width = std::max(binWidth, pixel);
  const auto bins = static_cast<std::size_t>(static_cast<float>(tops.size()) * pixel / profile.width) + 1;
  profile.heights.assign(bins, nothing);
  profile.columns.assign(bins, 0);
  profile.counts.assign(bins, 0.0F);
  for (std::size_t column = 0; column < tops.size(); ++column)
  {
    const auto bin = std::min(bins - 1, static_cast<std::size_t>(static_cast<float>(column) * pixel / profile.width));
    profile.counts[bin] = std::max(profile.counts[bin], histogram.values()[2 * column]);
    if (tops[column].row < 0 || tops[column].height <= profile.heights[bin])
      continue;
    profile.heights[bin] = tops[column].height;
    profile.columns[bin] = static_cast<int>(column);
  }
  return profile;
}

// Three bins' median takes out what flies.
std::vector<float> smooth(const std::vector<float>& heights)
{
  std::vector<float> result = heights;
  for (std::size_t i = 1; i + 1 < heights.size(); ++i)
    result[i] =
        std::max(std::min(heights[i - 1], heights[i]), std::min(std::max(heights[i - 1], heights[i]), heights[i + 1]));
  return result;
}

/// Up to this distance, in metres, a wall is told from a body: farther away both are as flat as the sensor sees.
constexpr float farthestRelief = 2.0F;

/// Of a flat thing this share of the pixels lies in one plane, within so many metres beside the sensor's own scatter.
constexpr float flatShare = 0.85F;
constexpr float flatness = 0.015F;

/// Every so many pixels are enough to tell.
constexpr int flatStep = 4;

// The plane through an object's pixels: in a pinhole's image the inverse of its depth grows evenly. Least squares.
class InversePlane final
{
public:
  explicit InversePlane(const ObjectView& view)
  {
    cv::Matx33d squares = cv::Matx33d::zeros();
    cv::Vec3d products;
    forEachSample(view,
                  [&](const cv::Vec3d& place, double depth)
                  {
                    squares += place * place.t();
                    products += place * (1.0 / depth);
                  });
    isFitted = cv::solve(squares, products, plane, cv::DECOMP_SVD);
  }

  // Which share of the pixels lies in the plane.
  [[nodiscard]] double shareWithin(const ObjectView& view) const
  {
    int within = 0;
    int count = 0;
    forEachSample(view,
                  [&](const cv::Vec3d& place, double depth)
                  {
                    const double fromNearest = depth - 0.4;
                    const double scatter = 0.0012 + 0.0019 * fromNearest * fromNearest;
                    const double there = plane.dot(place);
                    ++count;
                    within +=
                        there > 0.0 && std::abs(1.0 / there - depth) < static_cast<double>(flatness) + 2.0 * scatter
                            ? 1
                            : 0;
                  });
    return isFitted && count > 0 ? static_cast<double>(within) / count : 0.0;
  }

private:
  template <typename Use>
  static void forEachSample(const ObjectView& view, const Use& use)
  {
    for (int row = 0; row < view.height(); row += flatStep)
    {
      for (int column = 0; column < view.width(); column += flatStep)
      {
        if (view.isSet(row, column) && view.depth(row, column) > 0.0F)
          use({static_cast<double>(column), static_cast<double>(row), 100.0},
              static_cast<double>(view.depth(row, column)));
      }
    }
  }

  cv::Vec3d plane;
  bool isFitted = false;
};

// A partition is no body, however much its edge looks like one.
bool isFlat(const ObjectView& view)
{
  return view.distance < farthestRelief && InversePlane(view).shareWithin(view) >= static_cast<double>(flatShare);
}

class HeadSearch
{
public:
  /// Where a side is open, something nearer or the image's border ends the profile, not the body.
  HeadSearch(const Profile& profile_, const std::vector<ColumnTop>& tops_, bool isOpenLeft_, bool isOpenRight_)
      : profile(profile_), tops(tops_), heights(smooth(profile_.heights)), isOpenLeft(isOpenLeft_),
        isOpenRight(isOpenRight_)
  {
  }

  // The columns of the heads, from left to right.
  [[nodiscard]] std::vector<int> find() const
  {
    std::vector<std::size_t> peaks = candidates();
    if (peaks.size() > 1)
      chooseByBody(&peaks);
    if (peaks.size() > 1)
      chooseByShoulders(&peaks);
    std::vector<int> columns;
    for (const std::size_t peak : peaks)
      columns.push_back(centreColumn(peak));
    std::ranges::sort(columns);
    return columns;
  }

private:
  struct Run
  {
    std::size_t first;
    std::size_t last;
  };

  // The bins about one that are higher than a limit.
  [[nodiscard]] Run runAbove(std::size_t bin, float limit) const
  {
    Run run{bin, bin};
    while (run.first > 0 && heights[run.first - 1] > limit)
      --run.first;
    while (run.last + 1 < heights.size() && heights[run.last + 1] > limit)
      ++run.last;
    return run;
  }

  [[nodiscard]] float metres(std::size_t bins) const { return static_cast<float>(bins) * profile.width; }

  [[nodiscard]] std::vector<std::size_t> candidates() const
  {
    std::vector<std::size_t> order(heights.size());
    for (std::size_t i = 0; i < order.size(); ++i)
      order[i] = i;
    std::ranges::stable_sort(order, std::ranges::greater(), [this](std::size_t bin) { return heights[bin]; });
    std::vector<std::size_t> kept;
    for (const std::size_t bin : order)
    {
      if (heights[bin] < lowestTop)
        break;
      const auto isNear = [&](std::size_t other) { return metres(other > bin ? other - bin : bin - other) < apart; };
      if (heights[bin] <= highestTop && std::ranges::none_of(kept, isNear) && isHead(bin))
        kept.push_back(bin);
    }
    return kept;
  }

  [[nodiscard]] bool isHead(std::size_t bin) const
  {
    const float peak = heights[bin];
    const Run run = runAbove(bin, peak - headDepth);
    const float width = metres(run.last - run.first + 1);
    if (width < narrowest || width > widest + profile.width || !isWiderBelow(bin))
      return false;
    return fallsBeside(run.first, -1, peak) && fallsBeside(run.last, 1, peak);
  }

  [[nodiscard]] bool fallsBeside(std::size_t edge, int direction, float peak) const
  {
    const auto reach = static_cast<int>(std::ceil(fallWithin / profile.width));
    for (int step = 1; step <= reach; ++step)
    {
      const auto bin = static_cast<std::ptrdiff_t>(edge) + direction * step;
      if (bin < 0 || bin >= static_cast<std::ptrdiff_t>(heights.size()))
        return direction < 0 ? !isOpenLeft : !isOpenRight;
      if (heights[static_cast<std::size_t>(bin)] <= peak - fall)
        return true;
    }
    return false;
  }

  [[nodiscard]] bool isWiderBelow(std::size_t bin) const
  {
    const auto head = static_cast<float>(columnsAbove(profile.columns[bin], heights[bin] - headMiddle));
    return static_cast<float>(columnsAbove(profile.columns[bin], heights[bin] - chestDepth)) >= widening * head;
  }

  // How many columns about one are higher than a limit.
  [[nodiscard]] int columnsAbove(int column, float limit) const
  {
    const auto isAbove = [&](int other)
    {
      return other >= 0 && other < static_cast<int>(tops.size()) && tops[static_cast<std::size_t>(other)].row >= 0 &&
             tops[static_cast<std::size_t>(other)].height > limit;
    };
    int first = column;
    int last = column;
    // A column that has lost its top is no end.
    while (isAbove(first - 1) || isAbove(first - 2))
      --first;
    while (isAbove(last + 1) || isAbove(last + 2))
      ++last;
    return last - first + 1;
  }

  [[nodiscard]] bool hasShoulders(std::size_t bin) const
  {
    const Run run = runAbove(bin, heights[bin] - shoulderDepth);
    return metres(bin - run.first) >= shoulderReach && metres(run.last - bin) >= shoulderReach &&
           metres(run.last - run.first + 1) >= shoulderWidth;
  }

  // Of several peaks those above the most of the body are heads.
  void chooseByBody(std::vector<std::size_t>* peaks) const
  {
    const float least = bodyShare * std::ranges::max(profile.counts);
    std::vector<std::size_t> carried;
    std::ranges::copy_if(*peaks, std::back_inserter(carried),
                         [&](std::size_t bin) { return profile.counts[bin] >= least; });
    if (!carried.empty())
      *peaks = std::move(carried);
  }

  // Of several peaks those with shoulders are heads; when none has any, the one nearest the middle is.
  void chooseByShoulders(std::vector<std::size_t>* peaks) const
  {
    std::vector<std::size_t> shouldered;
    std::ranges::copy_if(*peaks, std::back_inserter(shouldered), [this](std::size_t bin) { return hasShoulders(bin); });
    if (shouldered.empty())
    {
      const auto fromMiddle = [this](std::size_t bin)
      { return std::abs(2 * static_cast<std::ptrdiff_t>(bin) - static_cast<std::ptrdiff_t>(heights.size())); };
      shouldered.push_back(*std::ranges::min_element(*peaks, {}, fromMiddle));
    }
    *peaks = std::move(shouldered);
  }

  // A head's top is flat for several bins: its middle is the head's.
  [[nodiscard]] int centreColumn(std::size_t bin) const
  {
    const Run run = runAbove(bin, heights[bin] - headDepth);
    return (profile.columns[run.first] + profile.columns[run.last]) / 2;
  }

  const Profile& profile;
  const std::vector<ColumnTop>& tops;
  const std::vector<float> heights;
  const bool isOpenLeft;
  const bool isOpenRight;
};

class FindHeads final : public PerceptionFilter
{
public:
  FindHeads() : PerceptionFilter("FindHeads") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      find(*human);
    return {inputs[0]};
  }

private:
  void find(Type::Human& human) const
  {
    const auto object = bodyOf(human);
    const auto view = object ? ObjectView::of(*object) : std::nullopt;
    const auto histogram =
        object ? propertyOf<Type::Histogram>(*object, Object3DProperty::HorizontalHistogram) : nullptr;
    if (!view || !histogram || view->distance <= 0.0F)
    {
      ku::log::error(category(), "human has no Object3D with the required properties");
      return;
    }
    std::vector<int> columns;
    if (const auto tops = columnTops(*view, *histogram); !tops.empty() && !isFlat(*view))
    {
      const Profile profile = makeProfile(*view, tops, *histogram);
      const bool isHidden = isTrue(*object, Object3DProperty::HiddenByOtherBlob);
      const bool isCutLeft = view->left <= borderWidth;
      const bool isCutRight = view->left + view->width() >= static_cast<int>(view->camera.width) - borderWidth;
      columns = HeadSearch(profile, tops, isHidden || isCutLeft, isHidden || isCutRight).find();
    }
    DataArray heads;
    for (const int column : columns)
      heads.push_back(makeData(static_cast<std::uint32_t>(column)));
    human.setProperty(HumanProperty::HeadCount, makeData(static_cast<std::int32_t>(heads.size())));
    object->setProperty(Object3DProperty::PossibleHeads, makeData(std::move(heads)));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeFindHeads()
{
  return std::make_shared<FindHeads>();
}
}  // namespace ZR::Filtrix::Filters
