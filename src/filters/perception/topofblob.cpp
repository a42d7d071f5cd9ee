// Gives the position of an object's top, in pixels of the frame.

#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class TopOfBlob final : public PerceptionFilter
{
public:
  TopOfBlob() : PerceptionFilter("TopOfBlob") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto& object = *inputs[0]->get<Type::Object3D>();
    if (!propertyOf<Type::Vector2>(object, Object3DProperty::TopOfBlob))
    {
      ku::log::error(category(), "filter ExtractTopOfBlobs has not been applied before");
      return {};
    }
    return {object.getProperty(Object3DProperty::TopOfBlob)};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeTopOfBlob()
{
  return std::make_shared<TopOfBlob>();
}
}  // namespace ZR::Filtrix::Filters
