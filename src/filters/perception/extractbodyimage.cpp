// Cuts out of the colour image what belongs to each person's body, as the object "BodyImage". The colour camera may
// have another resolution and another field of view than the depth camera; both look along one axis from one place, so
// that a direction in one is a direction in the other. It is head and torso, about the shoulders: what tells a person
// from others. The head is given some room, since a face search needs what is around.

#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/topixel.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
// Metres at the body's distance: above the shoulders, where a head and some room are, below them, and on each side.
constexpr float above = 0.32F;
constexpr float below = 0.60F;
constexpr float aside = 0.12F;

// At least a pixel: of who is outside the colour image, the one nearest to him. It shows no face, and says that.
cv::Rect partOf(const cv::Rect& wanted, const cv::Size& image)
{
  const int left = std::clamp(wanted.x, 0, image.width - 1);
  const int top = std::clamp(wanted.y, 0, image.height - 1);
  const int right = std::clamp(wanted.x + wanted.width, left + 1, image.width);
  const int bottom = std::clamp(wanted.y + wanted.height, top + 1, image.height);
  return {cv::Point(left, top), cv::Point(right, bottom)};
}

class ExtractBodyImage final : public PerceptionFilter
{
public:
  ExtractBodyImage() : PerceptionFilter("ExtractBodyImage") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto* const image = inputs[1]->get<Type::ColorImage>();
    const Pinhole camera(static_cast<float>(image->width()), static_cast<float>(image->height()),
                         image->horizontalFov(), image->verticalFov());
    if (!camera.isValid())
    {
      ku::log::error(category(), "expected a colour image with pixels and fields of view below pi");
      return {};
    }
    for (const auto& human : elementsOf<Type::Human>(inputs[0], category()))
      extract(*human, *image, camera);
    return {inputs[0]};
  }

private:
  void extract(Type::Human& human, const Type::ColorImage& image, const Pinhole& camera) const
  {
    const auto object = bodyOf(human);
    const auto view = object ? ObjectView::of(*object) : std::nullopt;
    if (!view || view->distance <= 0.0F)
    {
      ku::log::error(category(), "human has no Object3D with the required properties");
      return;
    }
    const auto shoulders = propertyOf<Type::Region2>(human, HumanProperty::ShoulderRoi);
    if (!shoulders)
    {
      ku::log::error(category(), "filter AnalyseBodySize has not been applied before");
      return;
    }
    const cv::Vec3f topLeft =
        view->camera.point(shoulders->start.x, shoulders->start.y, view->distance) + cv::Vec3f(0.0F, aside, above);
    const cv::Vec3f bottomRight =
        view->camera.point(shoulders->end.x, shoulders->start.y, view->distance) - cv::Vec3f(0.0F, aside, below);
    const cv::Vec2f start = camera.pixel(topLeft);
    const cv::Vec2f end = camera.pixel(bottomRight);
    const cv::Rect wanted(cv::Point(toPixel(std::floor(start[0])), toPixel(std::floor(start[1]))),
                          cv::Point(toPixel(std::ceil(end[0])) + 1, toPixel(std::ceil(end[1])) + 1));
    const cv::Rect box = partOf(wanted, image.cvMat().size());
    human.setObject2D(ObjectName::bodyImage, makeObject(*object, *view, image, box));
  }

  static std::shared_ptr<Type::Object2D> makeObject(const Type::Object3D& body, const ObjectView& view,
                                                    const Type::ColorImage& image, const cv::Rect& box)
  {
    const Type::Region2 region = boxRegion(box.x, box.y, box.width, box.height);
    const Type::Vector2 size(static_cast<float>(image.width()), static_cast<float>(image.height()));
    auto object = std::make_shared<Type::Object2D>(std::make_shared<Type::Region2>(region));
    object->setProperty(Object2DProperty::Image, makeData(std::make_shared<Type::ColorImage>(image.subImage(region))));
    object->setProperty(Object2DProperty::Region2D, makeData(region));
    object->setProperty(Object2DProperty::SizeImage, makeData(size));
    object->setProperty(Object2DProperty::SizeImageOfCamera, makeData(size));
    object->setProperty(Object2DProperty::FieldOfView, makeData(image.horizontalFov(), image.verticalFov()));
    object->setProperty(Object2DProperty::Distance,
                        makeData(static_cast<std::int32_t>(std::lround(1000.0F * view.distance))));
    for (const auto& [from, to] :
         {std::pair(Object3DProperty::CameraPositionTorso, Object2DProperty::CameraPositionTorso),
          std::pair(Object3DProperty::CameraPositionRobot, Object2DProperty::CameraPositionRobot),
          std::pair(Object3DProperty::CameraPositionWorld, Object2DProperty::CameraPositionWorld)})
      object->setProperty(to, body.getProperty(from));
    return object;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeExtractBodyImage()
{
  return std::make_shared<ExtractBodyImage>();
}
}  // namespace ZR::Filtrix::Filters
