// Marks the torso in a person's colour image: the part of its depth mask from below the neck to above the hips, about
// the middle of the shoulders, without the pixels at its edge, where one camera sees the body and the other what is
// behind. Proportions: R. Drillis, R. Contini, "Body Segment Parameters", 1966.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/topixel.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
// Metres below the box of the shoulders' top, of a body of 1.75 m, and to the sides of its axis.
constexpr float torsoTop = 0.17F;
constexpr float torsoBottom = 0.57F;
constexpr float halfWidth = 0.13F;

/// The edge that is left out, in pixels of the depth image.
constexpr int edge = 2;

/// A torso of fewer pixels tells no colour.
constexpr int fewestPixels = 60;

class ExtractTorsoMask final : public PerceptionFilter
{
public:
  ExtractTorsoMask() : PerceptionFilter("ExtractTorsoMask") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      extract(*human);
    return {inputs[0]};
  }

private:
  void extract(Type::Human& human) const
  {
    const auto object = bodyOf(human);
    const auto view = object ? ObjectView::of(*object) : std::nullopt;
    const auto shoulders = propertyOf<Type::Region2>(human, HumanProperty::ShoulderRoi);
    const auto body = human.getObject2D(ObjectName::bodyImage);
    const auto image = body ? propertyOf<Type::ColorImage>(*body, Object2DProperty::Image) : nullptr;
    const auto place = body ? propertyOf<Type::Region2>(*body, Object2DProperty::Region2D) : nullptr;
    const auto size = body ? propertyOf<Type::Vector2>(*body, Object2DProperty::SizeImage) : nullptr;
    const auto fov = body ? propertyOf<Type::Vector2>(*body, Object2DProperty::FieldOfView) : nullptr;
    if (!view || view->distance <= 0.0F || !shoulders || !image || !place || !size || !fov)
    {
      ku::log::error(category(), "human has no body image, shoulders or Object3D with the required properties");
      return;
    }
    // A body whose top is cut off has its shoulders higher in the image than they seem.
    const bool isCut = isTrue(*object, Object3DProperty::TopBorderTouched);
    const cv::Rect torso = torsoIn(*view, *shoulders, isCut ? 0.0F : torsoTop);
    if (torso.empty())
      return;
    cv::Mat inner;
    cv::erode(view->mask, inner, cv::Mat::ones(2 * edge + 1, 2 * edge + 1, CV_8U));
    const Pinhole camera(size->x, size->y, fov->x, fov->y);
    cv::Mat mask(image->cvMat().size(), CV_8UC1, cv::Scalar(0));
    project(*view, inner, torso, camera, *place, &mask);
    if (cv::countNonZero(mask) < fewestPixels)
      return;
    write(human, *image, *view, torso, *place, mask);
  }

  static cv::Rect torsoIn(const ObjectView& view, const Type::Region2& shoulders, float top)
  {
    const float down = view.camera.focalY() / view.distance;
    const float across = view.camera.focalX() / view.distance;
    const float axis = 0.5F * (shoulders.start.x + shoulders.end.x) - static_cast<float>(view.left);
    const float start = shoulders.start.y - static_cast<float>(view.top) + top * down;
    const cv::Rect wanted(
        cv::Point(toPixel(axis - halfWidth * across), toPixel(start)),
        cv::Point(toPixel(axis + halfWidth * across) + 1, toPixel(start + (torsoBottom - torsoTop) * down) + 1));
    return wanted & cv::Rect(0, 0, view.width(), view.height());
  }

  // Backwards, from the colour pixels to the depth pixels, so that the mask has no holes between them.
  static void project(const ObjectView& view, const cv::Mat& inner, const cv::Rect& torso, const Pinhole& camera,
                      const Type::Region2& place, cv::Mat* mask)
  {
    for (int v = 0; v < mask->rows; ++v)
    {
      auto* const out = mask->ptr<unsigned char>(v);
      for (int u = 0; u < mask->cols; ++u)
      {
        const cv::Vec3f point =
            camera.point(static_cast<float>(u) + place.start.x, static_cast<float>(v) + place.start.y, 1.0F);
        const cv::Vec2f pixel = view.camera.pixel(point);
        const cv::Point at(static_cast<int>(std::lround(pixel[0])) - view.left,
                           static_cast<int>(std::lround(pixel[1])) - view.top);
        if (torso.contains(at) && inner.at<unsigned char>(at) != 0)
          out[u] = 255;
      }
    }
  }

  static void write(Type::Human& human, const Type::ColorImage& image, const ObjectView& view, const cv::Rect& torso,
                    const Type::Region2& place, const cv::Mat& mask)
  {
    const cv::Rect box = cv::boundingRect(mask);
    const float share = static_cast<float>(box.width) / static_cast<float>(mask.cols);
    const float heightShare = static_cast<float>(box.height) / static_cast<float>(mask.rows);
    human.setProperty(HumanProperty::TorsoMask, makeData(std::make_shared<Type::BinaryImage>(
                                                    mask(box).clone(), image.sourceName(), image.timestamp(),
                                                    share * image.horizontalFov(), heightShare * image.verticalFov())));
    human.setProperty(
        HumanProperty::TorsoMaskRoi,
        makeData(boxRegion(toPixel(place.start.x) + box.x, toPixel(place.start.y) + box.y, box.width, box.height)));
    human.setProperty(HumanProperty::TorsoMaskRoiInDepthImage,
                      makeData(boxRegion(view.left + torso.x, view.top + torso.y, torso.width, torso.height)));
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeExtractTorsoMask()
{
  return std::make_shared<ExtractTorsoMask>();
}
}  // namespace ZR::Filtrix::Filters
