// Makes a candidate of each object: a person without an identity yet. Two scores go with it, so that a program can
// leave out what hangs in the air or stands behind something.

#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class CreateHuman final : public PerceptionFilter
{
public:
  CreateHuman() : PerceptionFilter("CreateHuman") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    std::vector<std::shared_ptr<Type::Human>> people;
    for (const DataPtr& value : *inputs[0]->get<DataArray>())
    {
      if (const auto object = value ? value->share<Type::Object3D>() : nullptr)
        people.push_back(makeCandidate(object));
      else if (const auto image = value ? value->share<Type::Object2D>() : nullptr)
        people.push_back(makeCandidate(image));
      else
        ku::log::error(category(), "expected objects only");
    }
    return {toArray(people)};
  }

private:
  static std::shared_ptr<Type::Human> makeCandidate(const std::shared_ptr<Type::Object3D>& object)
  {
    auto human = std::make_shared<Type::Human>();
    human->setObject3D(ObjectName::object3D, object);
    const auto image = propertyOf<Type::DepthImage>(*object, Object3DProperty::ReconstructedDepthImage);
    human->setProperty(HumanProperty::Timestamp, makeData(image ? image->timestamp() : Type::Time::now()));
    human->setScore(ScoreName::notHiddenByOtherBlob,
                    isTrue(*object, Object3DProperty::HiddenByOtherBlob) ? 0.0F : 1.0F);
    human->setScore(ScoreName::notLevitating, isTrue(*object, Object3DProperty::IsLevitating) ? 0.0F : 1.0F);
    return human;
  }

  static std::shared_ptr<Type::Human> makeCandidate(const std::shared_ptr<Type::Object2D>& object)
  {
    auto human = std::make_shared<Type::Human>();
    human->setObject2D(ObjectName::bodyImage, object);
    const auto image = propertyOf<Type::ColorImage>(*object, Object2DProperty::Image);
    human->setProperty(HumanProperty::Timestamp, makeData(image ? image->timestamp() : Type::Time::now()));
    human->setScore(ScoreName::forNewTrack, 1.0F);
    return human;
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeCreateHuman()
{
  return std::make_shared<CreateHuman>();
}
}  // namespace ZR::Filtrix::Filters
