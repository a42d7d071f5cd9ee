// Divides a body with several heads among its heads: each pixel goes to the head that is nearest on the ground, and
// each part becomes a person of its own. A part that keeps too little to be one is given back, and so is everything
// when fewer than two parts remain.
//
// Source: the head-based sub-clustering of M. Munaro, F. Basso, E. Menegatti, "Tracking People within Groups with RGB-D
// Data", IROS 2012.

#include "filters/perception/blobprofile.h"
#include "filters/perception/frameassembly.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"
#include "graph/lambda.h"
#include "graph/lambdafactory.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
/// A part keeps at least this share of what the body's pixels are per head.
constexpr float fairShare = 0.25F;

/// Depth counts less than the place across: arms reach forward, and a head's depth is that of its front.
constexpr float depthWeight = 0.5F;

/// What makes objects and people of a part, in this order.
constexpr std::array objectFilters{"ComputeHorizontalHistogram", "ExtractTopOfBlobs", "ExtractBottomDistance",
                                   "CreateHuman"};

// Where a head is, in the camera's frame: across and along, in metres.
struct Head
{
  float left;
  float depth;
};

class SplitHumans final : public PerceptionFilter
{
public:
  explicit SplitHumans(const LambdaFactory& library_) : PerceptionFilter("SplitHumans"), library(library_) {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    std::vector<std::shared_ptr<Type::Human>> people;
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
    {
      const auto parts = split(*human);
      if (parts.size() < 2)
        people.push_back(human);
      else
        people.insert(people.end(), parts.begin(), parts.end());
    }
    return {toArray(people)};
  }

private:
  [[nodiscard]] std::vector<std::shared_ptr<Type::Human>> split(const Type::Human& human) const
  {
    const auto object = bodyOf(human);
    const auto view = object ? ObjectView::of(*object) : std::nullopt;
    if (!view)
      return {};
    const auto heads = headsOf(*object, *view);
    const auto frame = heads.size() < 2 ? std::nullopt : assembleFrame({object});
    if (!frame)
      return {};
    const cv::Mat labels = assign(*view, heads, frame->depth->cvMat().size());
    return labels.empty() ? std::vector<std::shared_ptr<Type::Human>>() : makePeople(labels, *frame, *object);
  }

  static std::vector<Head> headsOf(const Type::Object3D& object, const ObjectView& view)
  {
    std::vector<Head> heads;
    const auto columns = propertyOf<DataArray>(object, Object3DProperty::PossibleHeads);
    const auto histogram = propertyOf<Type::Histogram>(object, Object3DProperty::HorizontalHistogram);
    if (!columns || !histogram)
      return heads;
    const auto tops = columnTops(view, *histogram);
    for (const DataPtr& value : *columns)
    {
      const std::size_t column = value ? value->toUnsigned() : tops.size();
      if (column >= tops.size() || tops[column].row < 0)
        continue;
      const cv::Vec3f point =
          view.cameraPoint(static_cast<float>(tops[column].row), static_cast<float>(column), tops[column].depth);
      heads.push_back({point[1], point[0]});
    }
    return heads;
  }

  // The parts as labels 1, 2, ... in an image of the frame's size; empty when a part gets less than its share.
  static cv::Mat assign(const ObjectView& view, const std::vector<Head>& heads, const cv::Size& size)
  {
    cv::Mat labels(size, CV_32SC1, cv::Scalar(0));
    std::vector<int> counts(heads.size(), 0);
    int total = 0;
    for (int row = 0; row < view.height(); ++row)
    {
      int* const out = labels.ptr<int>(view.top + row) + view.left;
      for (int column = 0; column < view.width(); ++column)
      {
        const float depth = view.depth(row, column);
        if (!view.isSet(row, column) || depth <= 0.0F)
          continue;
        const float left = view.cameraPoint(static_cast<float>(row), static_cast<float>(column), depth)[1];
        const auto distance = [&](const Head& head)
        { return std::hypot(head.left - left, depthWeight * (head.depth - depth)); };
        const auto nearest = std::ranges::min_element(heads, {}, distance) - heads.begin();
        out[column] = static_cast<int>(nearest) + 1;
        ++counts[static_cast<std::size_t>(nearest)];
        ++total;
      }
    }
    const auto smallest = static_cast<int>(fairShare * static_cast<float>(total) / static_cast<float>(heads.size()));
    return std::ranges::all_of(counts, [smallest](int count) { return count >= smallest; }) ? labels : cv::Mat();
  }

  [[nodiscard]] std::vector<std::shared_ptr<Type::Human>> makePeople(const cv::Mat& labels, const Frame& frame,
                                                                     const Type::Object3D& parent) const
  {
    const Type::DepthImage& depth = *frame.depth;
    const auto labelImage = std::make_shared<Type::LabelImage>(labels, depth.sourceName(), depth.timestamp(),
                                                               depth.horizontalFov(), depth.verticalFov());
    DataPtr objects = apply("ExtractObjects", {makeData(labelImage), makeData(frame.depth), makeData(frame.poses.torso),
                                               makeData(frame.poses.robot), makeData(frame.poses.world), nullptr});
    inherit(objects, parent);
    for (const char* const filter : objectFilters)
      objects = apply(filter, {objects});
    return elementsOf<Type::Human>(objects, category());
  }

  // The parts hide one another and nothing else: what hides, carries or cuts them is what did so to the whole.
  void inherit(const DataPtr& objects, const Type::Object3D& parent) const
  {
    for (const auto& part : elementsOf<Type::Object3D>(objects, category()))
    {
      for (const std::int32_t key : {Object3DProperty::HiddenByOtherBlob, Object3DProperty::IsLevitating,
                                     Object3DProperty::HasMovementData, Object3DProperty::MatchedObjects})
      {
        if (parent.hasProperty(key))
          part->setProperty(key, parent.getProperty(key));
      }
    }
  }

  [[nodiscard]] DataPtr apply(const char* filter, const DataArray& arguments) const
  {
    const auto lambda = arguments[0] ? library.createLambda(filter) : nullptr;
    if (!lambda)
      return nullptr;
    const DataList results = lambda->apply(arguments);
    return results.empty() ? nullptr : results.front();
  }

  const LambdaFactory& library;
};
}  // namespace

std::shared_ptr<UserFilter> makeSplitHumans(const LambdaFactory& library)
{
  return std::make_shared<SplitHumans>(library);
}
}  // namespace ZR::Filtrix::Filters
