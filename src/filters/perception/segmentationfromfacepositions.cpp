// Draws a body below each face: a label image in which each region is where somebody's head, torso and legs should be.
// In units of the face's width: a head of 1.1 by 1.5, a torso three wide from 1.6 below the face's top to 5, legs two
// wide to 11. Nearer bodies, those with the larger faces, stand before farther ones.
//
// Proportions: R. Drillis, R. Contini, "Body Segment Parameters", 1966, with a face of 0.15 m.

#include "filters/perception/objects.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/topixel.h"
#include "filtrix/image.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
// A rectangle in units of the face's width, about the face's middle and from its top.
struct Part
{
  float halfWidth;
  float from;
  float to;
};

constexpr Part torso{1.5F, 1.6F, 5.0F};
constexpr Part legs{1.0F, 5.0F, 11.0F};
constexpr float headWidth = 1.1F;
constexpr float headHeight = 1.5F;

class SegmentationFromFacePositions final : public PerceptionFilter
{
public:
  SegmentationFromFacePositions() : PerceptionFilter("SegmentationFromFacePositions") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const cv::Size size = Type::toCvMat(*inputs[0]).size();

    struct Face
    {
      int label;
      Type::Region2 box;
    };

    std::vector<Face> faces;
    for (const DataPtr& value : *inputs[1]->get<DataArray>())
    {
      const auto* const box = value ? value->get<Type::Region2>() : nullptr;
      if (box != nullptr && isFace(*box, size))
        faces.push_back({static_cast<int>(faces.size()) + 1, *box});
    }
    std::ranges::stable_sort(faces, {}, [](const Face& face) { return face.box.end.x - face.box.start.x; });
    cv::Mat labels(size, CV_32SC1, cv::Scalar(0));
    for (const Face& face : faces)
      drawBody(labels, face.box, face.label);
    return {Type::toData(TypeTag::LabelImage, labels, *inputs[0])};
  }

private:
  static bool isFace(const Type::Region2& box, const cv::Size& size)
  {
    const cv::Rect2f frame(0.0F, 0.0F, static_cast<float>(size.width), static_cast<float>(size.height));
    return frame.contains(cv::Point2f(box.start.x, box.start.y)) && frame.contains(cv::Point2f(box.end.x, box.end.y)) &&
           box.end.x > box.start.x && box.end.y > box.start.y;
  }

  static void drawBody(cv::Mat& labels, const Type::Region2& face, int label)
  {
    const float width = face.end.x - face.start.x + 1.0F;
    const float middle = 0.5F * (face.start.x + face.end.x);
    const float top = face.start.y;
    for (const Part& part : {torso, legs})
    {
      const cv::Point start(static_cast<int>(middle - part.halfWidth * width),
                            static_cast<int>(top + part.from * width));
      const cv::Point end(static_cast<int>(middle + part.halfWidth * width), static_cast<int>(top + part.to * width));
      cv::rectangle(labels, start, end, cv::Scalar(label), cv::FILLED);
    }
    const cv::Point centre(toPixel(middle), toPixel(0.5F * (face.start.y + face.end.y)));
    const cv::Size axes(std::max(1, static_cast<int>(0.5F * headWidth * width)),
                        std::max(1, static_cast<int>(0.5F * headHeight * width)));
    cv::ellipse(labels, centre, axes, 0.0, 0.0, 360.0, cv::Scalar(label), cv::FILLED);
  }
};
}  // namespace

std::shared_ptr<UserFilter> makeSegmentationFromFacePositions()
{
  return std::make_shared<SegmentationFromFacePositions>();
}
}  // namespace ZR::Filtrix::Filters
