// Puts the objects of a segmentation back into one depth image: their pixels where they were, 0 elsewhere.

#include "filters/perception/frameassembly.h"
#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
namespace
{
class SegmentationToImage final : public PerceptionFilter
{
public:
  SegmentationToImage() : PerceptionFilter("SegmentationToImage") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto frame = assembleFrame(elementsOf<Type::Object3D>(inputs[0], category()));
    if (!frame)
      return {};  // of no object nobody knows the frame
    DataPtr image = makeData(frame->depth);
    image->setTimestamp(frame->depth->timestamp());
    return {image};
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeSegmentationToImage()
{
  return std::make_shared<SegmentationToImage>();
}
}  // namespace ZR::Filtrix::Filters
