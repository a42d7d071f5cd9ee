#include "filters/perception/trackvisibility.h"

#include "filters/perception/population.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <cmath>
#include <optional>

namespace ZR::Filtrix::Filters
{
namespace
{
/// The middle reaches to each side by the view divided by this.
constexpr float partOfView = 3.0F;

// The fields of view of the frame that an image is a part of, radians.
template <typename Image>
std::optional<Type::Vector2> frameView(const std::shared_ptr<Image>& part, const std::optional<Type::Vector2>& frame)
{
  if (!part || !frame || part->width() <= 0 || part->height() <= 0)
    return std::nullopt;
  return Type::Vector2(frame->x / static_cast<float>(part->width()) * part->horizontalFov(),
                       frame->y / static_cast<float>(part->height()) * part->verticalFov());
}

std::optional<Type::Vector2> viewOf(const Type::Object3D& body)
{
  return frameView(checkedProperty<Type::BinaryImage>(body, Object3DProperty::Mask),
                   valueOf<Type::Vector2>(body, Object3DProperty::SizeImage));
}

std::optional<Type::Vector2> viewOf(const Type::Object2D& body)
{
  const auto size = valueOf<Type::Vector2>(body, Object2DProperty::SizeImage);
  const auto color = frameView(checkedProperty<Type::ColorImage>(body, Object2DProperty::Image), size);
  return color ? color : frameView(checkedProperty<Type::GrayscaleImage>(body, Object2DProperty::GrayscaleImage), size);
}

std::optional<Type::Vector2> viewOf(const Type::Human& human, std::string_view category)
{
  std::optional<Type::Vector2> view;
  if (const auto body = human.getObject3D(ObjectName::object3D))
    view = viewOf(*body);
  else if (const auto image = human.getObject2D(ObjectName::bodyImage))
    view = viewOf(*image);
  else
  {
    ku::log::error(category, "Human does not have an Object2D or an Object3D");
    return std::nullopt;
  }
  if (!view)
    ku::log::error(category, "the human's object does not have an image and a SizeImage");
  return view;
}
}  // namespace

bool isSupposedToBeVisible(Type::Human& human, const Type::Vector6& camera, std::string_view category)
{
  const auto view = viewOf(human, category);
  if (!view)
    return false;
  const auto ground = placeProperty(human, HumanProperty::GroundPositionInRobotFrame);
  const auto height = floatProperty(human, HumanProperty::Height);
  const auto angles = valueOf<Type::Vector2>(human, HumanProperty::AngularPosition);
  if (!ground || !height || !angles)
  {
    ku::log::error(category, "Human has no {}",
                   !ground   ? "GroundPositionInRobotFrame"
                   : !height ? "Height"
                             : "AngularPosition");
    return false;
  }
  const float elevation = std::atan((camera.z - *height) / std::hypot(ground->x, ground->y));
  const bool isInMiddle =
      std::abs(angles->x - camera.wz) < view->x / partOfView && std::abs(elevation - camera.wy) < view->y / partOfView;
  human.setProperty(HumanProperty::IsSupposedToBeVisible, makeData(isInMiddle));
  return isInMiddle;
}
}  // namespace ZR::Filtrix::Filters
