// Finds the faces in an image, or in parts of it, and makes an object of each. What the parts have in common is
// searched again for each of them.

#include "filters/perception/facedetector.h"
#include "filters/perception/faceobject.h"
#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
DataPtr inputAt(const DataList& inputs, std::size_t i)
{
  return i < inputs.size() ? inputs[i] : nullptr;
}

template <typename Payload>
bool isMissingOr(const DataPtr& value)
{
  return !value || value->get<Payload>() != nullptr;
}

bool areFit(const DataList& inputs)
{
  const DataPtr image = inputAt(inputs, 0);
  const bool isImage =
      image && (image->get<Type::ColorImage>() != nullptr || image->get<Type::GrayscaleImage>() != nullptr);
  return isImage && isMissingOr<DataArray>(inputAt(inputs, 1)) && isMissingOr<Type::Vector2>(inputAt(inputs, 2));
}

bool isFinite(const Type::Region2& region)
{
  return std::isfinite(region.start.x) && std::isfinite(region.start.y) && std::isfinite(region.end.x) &&
         std::isfinite(region.end.y);
}

// Rounded to the nearest pixel; one beside the image for everything beyond.
int toPixel(float coordinate, float factor, int size)
{
  return static_cast<int>(std::clamp(coordinate * factor + 0.5F, -1.0F, static_cast<float>(size)));
}

// The pixels from the region's start to its end, both included, as far as they lie within the image.
cv::Rect toRect(const Type::Region2& region, const Type::Vector2& factor, const cv::Size& size)
{
  const cv::Point start(toPixel(region.start.x, factor.x, size.width), toPixel(region.start.y, factor.y, size.height));
  const cv::Point end(toPixel(region.end.x, factor.x, size.width), toPixel(region.end.y, factor.y, size.height));
  if (end.x < start.x || end.y < start.y)
    return {};
  return cv::Rect(start, end + cv::Point(1, 1)) & cv::Rect({}, size);
}

class FaceDetectionFromImage final : public PerceptionFilter
{
public:
  FaceDetectionFromImage() : PerceptionFilter("FaceDetectionFromImage"), detector(category()) {}

  DataList run(const DataList& inputs) override
  {
    if (!detector.isLoaded())
    {
      ku::log::error(category(), "Classifier uninitialized!");
      return {};
    }
    if (!areFit(inputs))
    {
      ku::log::error(category(), "Missing inputs or incorrect type.");
      return {};
    }
    const Data& image = *inputs[0];
    const auto parts = partsOf(Type::toCvMat(image).size(), inputAt(inputs, 1), inputAt(inputs, 2));
    if (!parts)
      return {};
    DataArray objects;
    DataArray regions;
    for (const cv::Rect& part : *parts)
    {
      for (const cv::Rect& face : detector.detect(image, part))
      {
        const Type::Region2 box = boxRegion(face.x, face.y, face.width, face.height);
        objects.push_back(makeFaceObject(image, box));
        regions.push_back(makeData(box));
      }
    }
    ku::log::verbose(category(), "Found {} objects.", objects.size());
    return {makeData(std::move(objects)), makeData(std::move(regions))};
  }

private:
  // Where to search; nothing when the size that the regions refer to is none. Without that size they are in pixels of
  // the image.
  [[nodiscard]] std::optional<std::vector<cv::Rect>> partsOf(const cv::Size& image, const DataPtr& regions,
                                                             const DataPtr& sizeImage) const
  {
    if (!regions)
      return std::vector{cv::Rect({}, image)};
    const auto width = static_cast<float>(image.width);
    const auto height = static_cast<float>(image.height);
    const Type::Vector2 size = sizeImage ? *sizeImage->get<Type::Vector2>() : Type::Vector2(width, height);
    if (!(size.x > 0.0F && size.y > 0.0F))
    {
      ku::log::error(category(), "expected a sizeImage above 0, got {} x {}", size.x, size.y);
      return std::nullopt;
    }
    const Type::Vector2 factor(width / size.x, height / size.y);
    std::vector<cv::Rect> parts;
    for (const DataPtr& value : *regions->get<DataArray>())
    {
      const auto* const region = value ? value->get<Type::Region2>() : nullptr;
      if (region != nullptr && isFinite(*region))
        parts.push_back(toRect(*region, factor, image));
      else
        ku::log::error(category(), "passed over a region: expected a Region2 of finite corners, got {}",
                       value ? Type::toText(*value) : "nothing");
    }
    return parts;
  }

  const FaceDetector detector;
};
}  // namespace

std::shared_ptr<UserFilter> makeFaceDetectionFromImage()
{
  return std::make_shared<FaceDetectionFromImage>();
}
}  // namespace ZR::Filtrix::Filters
