#include "filters/perception/faceobject.h"

#include "filters/perception/objects.h"
#include "filtrix/image.h"

#include <opencv2/core/mat.hpp>

#include <memory>
#include <utility>

namespace ZR::Filtrix::Filters
{
DataPtr makeFaceObject(const Data& image, const Type::Region2& box)
{
  const cv::Size frame = Type::toCvMat(image).size();
  const Type::Vector2 size(static_cast<float>(frame.width), static_cast<float>(frame.height));
  auto face = std::make_shared<Type::Object2D>(std::make_shared<Type::Region2>(box));
  if (const auto* const colour = image.get<Type::ColorImage>())
    face->setProperty(Object2DProperty::Image, makeData(std::make_shared<Type::ColorImage>(colour->subImage(box))));
  else if (const auto* const gray = image.get<Type::GrayscaleImage>())
    face->setProperty(Object2DProperty::GrayscaleImage,
                      makeData(std::make_shared<Type::GrayscaleImage>(gray->subImage(box))));
  face->setProperty(Object2DProperty::SizeImage, makeData(size));
  face->setProperty(Object2DProperty::SizeImageOfCamera, makeData(size));
  face->setProperty(Object2DProperty::Region2D, makeData(box));
  face->setProperty(Object2DProperty::CenterOfMass,
                    makeData(0.5F * (box.start.x + box.end.x), 0.5F * (box.start.y + box.end.y)));
  face->setProperty(Object2DProperty::FieldOfView, makeData(Type::horizontalFov(image), Type::verticalFov(image)));
  return makeData(std::move(face));
}
}  // namespace ZR::Filtrix::Filters
