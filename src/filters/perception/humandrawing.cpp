#include "filters/perception/humandrawing.h"

#include "filters/perception/objects.h"
#include "filters/perception/topixel.h"
#include "filtrix/image.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr int usualWidth = 320;
constexpr int usualHeight = 240;

int toSide(float pixels, int usual)
{
  return pixels >= 1.0F && pixels <= static_cast<float>(Canvas::longestSide) ? static_cast<int>(pixels) : usual;
}

std::shared_ptr<Type::Vector2> frameSizeOf(const Type::PropertyHolder& object)
{
  const bool isFlat = dynamic_cast<const Type::Object2D*>(&object) != nullptr;
  return propertyOf<Type::Vector2>(object, isFlat ? static_cast<std::int32_t>(Object2DProperty::SizeImage)
                                                  : static_cast<std::int32_t>(Object3DProperty::SizeImage));
}

Canvas canvasOf(const std::shared_ptr<Type::Vector2>& size)
{
  return size ? Canvas(toSide(size->x, usualWidth), toSide(size->y, usualHeight)) : Canvas(usualWidth, usualHeight);
}

cv::Rect toRect(const Type::Region2& region)
{
  const cv::Point start(toPixel(region.start.x), toPixel(region.start.y));
  return {start, cv::Point(toPixel(region.end.x) + 1, toPixel(region.end.y) + 1)};
}

void addLine(std::string* text, const std::string& line)
{
  if (!line.empty())
    *text += (text->empty() ? "" : "\n") + line;
}

std::string stateOf(const Type::Human& human)
{
  std::string text;
  const auto add = [&](bool isSo, const char* word)
  {
    if (isSo)
      text += (text.empty() ? "" : ", ") + std::string(word);
  };
  const auto posture = propertyOf<std::int32_t>(human, HumanProperty::PostureState);
  add(isTrue(human, HumanProperty::FaceDetected), "face");
  add(isTrue(human, HumanProperty::IsLookingAtRobot), "looking");
  add(isTrue(human, HumanProperty::IsWavingLeft) || isTrue(human, HumanProperty::IsWavingRight) ||
          isTrue(human, HumanProperty::IsWavingCenter),
      "waving");
  add(posture && *posture == 2, "sitting");
  return text;
}
}  // namespace

Canvas canvasFor(const std::vector<std::shared_ptr<Type::Human>>& people)
{
  for (const auto& human : people)
  {
    if (const auto object = bodyOf(*human))
      return canvasOf(frameSizeOf(*object));
    if (const auto image = human->getObject2D(ObjectName::bodyImage))
      return canvasOf(frameSizeOf(*image));
  }
  return {usualWidth, usualHeight};
}

Canvas canvasFor(const std::vector<std::shared_ptr<Type::PropertyHolder>>& objects)
{
  return objects.empty() ? Canvas(usualWidth, usualHeight) : canvasOf(frameSizeOf(*objects.front()));
}

void drawObject(Canvas& canvas, const Type::PropertyHolder& object, const cv::Scalar& color)
{
  if (dynamic_cast<const Type::Object2D*>(&object) != nullptr)
  {
    const auto region = propertyOf<Type::Region2>(object, Object2DProperty::Region2D);
    const auto image = propertyOf<Type::ColorImage>(object, Object2DProperty::Image);
    if (region && image)
      canvas.drawImage(image->cvMat(), toRect(*region));
    if (region)
      canvas.drawBox(*region, color);
    return;
  }
  const auto region = propertyOf<Type::Region2>(object, Object3DProperty::Region2D);
  const auto depths = propertyOf<Type::DepthImage>(object, Object3DProperty::ReconstructedDepthImage);
  const auto mask = propertyOf<Type::BinaryImage>(object, Object3DProperty::Mask);
  if (region && depths && mask && depths->cvMat().size() == mask->cvMat().size())
    canvas.drawDepth(depths->cvMat(), mask->cvMat(), toRect(*region).x, toRect(*region).y, color);
  if (region)
    canvas.drawBox(*region, color);
}

void drawBody(Canvas& canvas, const Type::Human& human)
{
  const cv::Scalar color = Canvas::colorOf(human.getId());
  if (const auto object = bodyOf(human))
    drawObject(canvas, *object, color);
  else if (const auto image = human.getObject2D(ObjectName::bodyImage))
    drawObject(canvas, *image, color);
}

Type::Region2 boxOf(const Type::Human& human)
{
  const auto object = bodyOf(human);
  const auto image = human.getObject2D(ObjectName::bodyImage);
  const auto region = object  ? propertyOf<Type::Region2>(*object, Object3DProperty::Region2D)
                      : image ? propertyOf<Type::Region2>(*image, Object2DProperty::Region2D)
                              : nullptr;
  return region ? *region : Type::Region2();
}

std::string captionOf(const Type::Human& human)
{
  std::string text = fmt::format("{}", human.getId());
  const auto object = bodyOf(human);
  const auto distance = object ? propertyOf<std::int32_t>(*object, Object3DProperty::Distance) : nullptr;
  const auto height = propertyOf<float>(human, HumanProperty::Height);
  const auto zone = propertyOf<std::int32_t>(human, HumanProperty::EngagementZone);
  const auto shirt = propertyOf<std::string>(human, HumanProperty::ShirtColorName);
  if (distance)
    text += fmt::format("  {:.2f} m", 0.001 * *distance);
  if (height)
    addLine(&text, fmt::format("{:.2f} m high", *height));
  if (zone)
    addLine(&text, fmt::format("zone {}", *zone));
  addLine(&text, stateOf(human));
  addLine(&text, shirt ? *shirt : "");
  return text;
}
}  // namespace ZR::Filtrix::Filters
