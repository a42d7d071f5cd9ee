// Looks for faces in the image of each person who is seen, and says of each whether there is one. The boxes of the
// faces stay with the image, in its own pixels.

#include "filters/perception/facedetector.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <array>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* wrongType = "wrong input type, not Humans";

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
    for (const cv::Rect& face : detector.detect(*image, cv::Rect({}, Type::toCvMat(*image).size())))
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
