// Looks for faces in the image of each person who is seen, and says of each whether there is one. The boxes of the
// faces stay with the image, in its own pixels. Where it is known how far away somebody is, a face is looked for where
// a head is, and in an image as large as the detector needs.

#include "filters/perception/camerageometry.h"
#include "filters/perception/facedetector.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <algorithm>
#include <array>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* wrongType = "wrong input type, not Humans";

/// The width of a face as the detector frames it, metres, and how many pixels of it the detector needs to be sure.
constexpr float faceWidth = 0.15F;
constexpr float faceResolution = 44.0F;

/// There is nothing more to see in pixels that are enlarged more than that.
constexpr float mostEnlargement = 3.0F;

/// A head is within so many metres below the image's upper border.
constexpr float headRows = 0.50F;

// Where to search, and how much enlarged.
struct SearchWindow
{
  cv::Rect part;
  float enlargement = 1.0F;
};

SearchWindow windowFor(const Type::Object2D& body, const cv::Size& image)
{
  const cv::Rect whole({}, image);
  const auto distance = valueOf<std::int32_t>(body, Object2DProperty::Distance);
  const auto size = valueOf<Type::Vector2>(body, Object2DProperty::SizeImage);
  const auto fov = valueOf<Type::Vector2>(body, Object2DProperty::FieldOfView);
  if (!distance || *distance <= 0 || !size || !fov)
    return {whole};
  const Pinhole camera(size->x, size->y, fov->x, fov->y);
  if (!camera.isValid())
    return {whole};
  const float metres = 0.001F * static_cast<float>(*distance);
  const float rows = std::min(1.0F + headRows * camera.focalY() / metres, static_cast<float>(image.height));
  const float pixels = faceWidth * camera.focalX() / metres;
  return {cv::Rect(0, 0, image.width, static_cast<int>(rows)),
          std::clamp(faceResolution / pixels, 1.0F, mostEnlargement)};
}

bool isSearchable(const DataPtr& image)
{
  return image && (image->get<Type::ColorImage>() != nullptr || image->get<Type::GrayscaleImage>() != nullptr);
}

class FaceDetectionFromPopulation final : public PerceptionFilter
{
public:
  FaceDetectionFromPopulation() : PerceptionFilter("FaceDetectionFromPopulation"), detector(category()) {}

  // Without a cascade nothing is said about faces, but the people remain.
  DataList run(const DataList& inputs) override
  {
    if (!haveTypes(inputs, std::array{TypeTag::Array}))
    {
      ku::log::error(category(), wrongType);
      return {};
    }
    if (!detector.isLoaded())
    {
      ku::log::error(category(), "Classifier uninitialized!");
      return {inputs[0]};
    }
    for (const DataPtr& value : peopleOf(inputs[0], category(), wrongType))
    {
      Type::Human& human = *personIn(value);
      if (valueOf<bool>(human, HumanProperty::IsVisible).value_or(true))
        search(human);
    }
    return {inputs[0]};
  }

private:
  void search(Type::Human& human) const
  {
    const auto body = human.getObject2D(ObjectName::bodyImage);
    if (!body)
    {
      ku::log::error(category(), "human {} doesn't have Object2D(\"BodyImage\")", human.getId());
      return;
    }
    const DataPtr image = body->getProperty(Object2DProperty::Image);
    if (!isSearchable(image))
    {
      ku::log::error(category(), "human {}: object2D doesn't have \"Image\" attribute", human.getId());
      return;
    }
    DataArray regions;
    const SearchWindow window = windowFor(*body, Type::toCvMat(*image).size());
    for (const cv::Rect& face : detector.detect(*image, window.part, window.enlargement))
      regions.push_back(makeData(boxRegion(face.x, face.y, face.width, face.height)));
    human.setProperty(HumanProperty::FaceDetected, makeData(!regions.empty()));
    human.setProperty(HumanProperty::HasFaceDetectionRun, makeData(true));
    body->setProperty(Object2DProperty::FaceRegions, makeData(std::move(regions)));
  }

  const FaceDetector detector;
};
}  // namespace

std::shared_ptr<UserFilter> makeFaceDetectionFromPopulation()
{
  return std::make_shared<FaceDetectionFromPopulation>();
}
}  // namespace ZR::Filtrix::Filters
