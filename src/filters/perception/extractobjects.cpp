// Makes an object of every region of a labelled image that is large enough: an Object3D with a depth image, else an
// Object2D with what the gray or colour image shows there. Nearest first.

#include "filters/perception/objectextraction.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <limits>
#include <string>

namespace ZR::Filtrix::Filters
{
namespace
{
/// A region has at least this share of the image's pixels: 85 of 320x240, a head at 5 m.
constexpr int smallestShare = 900;

/// What comes after the nearest so many objects is left out, and told of.
constexpr std::size_t mostObjects = 32;

class ExtractObjects final : public PerceptionFilter
{
public:
  ExtractObjects() : PerceptionFilter("ExtractObjects") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const cv::Mat& labels = inputs[0]->get<Type::LabelImage>()->cvMat();
    const CameraPoses poses{*inputs[2]->get<Type::Vector6>(), *inputs[3]->get<Type::Vector6>(),
                            *inputs[4]->get<Type::Vector6>()};
    if (!isFinite(poses.torso) || !isFinite(poses.robot) || !isFinite(poses.world))
    {
      ku::log::error(category(), "expected finite camera positions");
      return {};
    }
    // Without an image the regions themselves are all there is to see.
    const DataPtr& image = inputs[1] ? inputs[1] : inputs[0];
    if (Type::toCvMat(*image).size() != labels.size())
    {
      ku::log::error(category(), "expected an image of {}x{} pixels as the labels are, got {}x{}", labels.cols,
                     labels.rows, Type::toCvMat(*image).cols, Type::toCvMat(*image).rows);
      return {};
    }
    const auto blobs = findBlobs(labels, std::max(1, static_cast<int>(labels.total()) / smallestShare));
    if (const auto* const depth = image->get<Type::DepthImage>())
      return {extract3D(labels, blobs, *depth, poses)};
    return {extract2D(labels, blobs, *image, poses, inputs[5])};
  }

private:
  template <typename Object>
  struct Found
  {
    int distance;
    std::shared_ptr<Object> object;
  };

  [[nodiscard]] DataPtr extract3D(const cv::Mat& labels, const std::vector<Blob>& blobs, const Type::DepthImage& depth,
                                  const CameraPoses& poses) const
  {
    std::vector<Found<Type::Object3D>> found;
    for (const Blob& blob : blobs)
    {
      const cv::Rect box = boxOf(blob);
      const auto object = makeObject3D(labels(box) == blob.label, box, depth, poses);
      found.push_back({*propertyOf<std::int32_t>(*object, Object3DProperty::Distance), object});
    }
    // Without a measurement there is nothing to say where it is.
    std::erase_if(found, [](const auto& entry) { return entry.distance == 0; });
    return nearestOf(std::move(found));
  }

  [[nodiscard]] DataPtr extract2D(const cv::Mat& labels, const std::vector<Blob>& blobs, const Data& image,
                                  const CameraPoses& poses, const DataPtr& distances) const
  {
    const auto* const known = distances ? distances->get<DataArray>() : nullptr;
    std::vector<Found<Type::Object2D>> found;
    for (const Blob& blob : blobs)
    {
      // Distances are given in metres, that of label 1 first.
      const auto place = static_cast<std::size_t>(blob.label) - 1;
      const bool isKnown = known != nullptr && place < known->size() && (*known)[place];
      const float metres = isKnown ? (*known)[place]->toFloat() : 0.0F;
      const int distance = metres > 0.0F && metres < 100.0F ? static_cast<int>(1000.0F * metres) : 0;
      const cv::Rect box = boxOf(blob);
      const int order = distance > 0 ? distance : std::numeric_limits<int>::max();
      found.push_back({order, makeObject2D(labels(box) == blob.label, box, image, poses, distance)});
    }
    return nearestOf(std::move(found));
  }

  static cv::Rect boxOf(const Blob& blob)
  {
    return {blob.left, blob.top, blob.right - blob.left + 1, blob.bottom - blob.top + 1};
  }

  template <typename Object>
  [[nodiscard]] DataPtr nearestOf(std::vector<Found<Object>> found) const
  {
    std::ranges::stable_sort(found, {}, &Found<Object>::distance);
    if (found.size() > mostObjects)
    {
      ku::log::warning(category(), "{} objects: the {} farthest are left out", found.size(),
                       found.size() - mostObjects);
      found.resize(mostObjects);
    }
    std::vector<std::shared_ptr<Object>> objects;
    for (const auto& entry : found)
      objects.push_back(entry.object);
    return toArray(objects);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeExtractObjects()
{
  return std::make_shared<ExtractObjects>();
}
}  // namespace ZR::Filtrix::Filters
