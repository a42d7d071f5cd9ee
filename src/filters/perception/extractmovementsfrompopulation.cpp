// Finds what moves on each person: where the body is nearer now, or where there was nothing of a body, than a moment
// ago. Only what is new counts, so that a hand is found where it is and not where it was. Each person gets its moving
// parts as objects, an empty array when nothing moves.
//
// A body's present pixels are compared with those of 80 to 500 ms before: in less a waving hand does not come clear of
// where it was, after more the scene is another. What is new must be so by 0.1 m or by 1.3 times what the sensor
// scatters. Outlines flicker by a pixel or two, which an opening of 3 by 3 pixels takes away. A body of which more than
// half is new was not seen before; that is no movement of it. While the camera itself moves nothing is found.
//
// The moving pixels are cut into objects by the filter Segmentation3D, and each object is whose pixels it has most of.
//
// Source: G. Gordon, T. Darrell, M. Harville, J. Woodfill, "Background Estimation and Removal Based on Range and
// Color", CVPR 1999.

#include "filters/perception/camerageometry.h"
#include "filters/perception/frameassembly.h"
#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/population.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"
#include "filtrix/time.h"
#include "graph/lambda.h"
#include "graph/lambdafactory.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
/// How old the frame is that the present one is compared with.
const Duration youngestReference(80'000);
const Duration oldestReference(500'000);

/// Frames that are remembered: those of `oldestReference` at 30 a second, and at any pace enough for the youngest.
constexpr std::size_t mostFrames = 16;

/// By so much, in millimetres, something is nearer at least.
constexpr float leastStep = 100.0F;
constexpr float scatterFactor = 1.3F;

struct Body
{
  std::shared_ptr<Type::Human> human;
  std::shared_ptr<Type::Object3D> object;
  ObjectView view;
};

using Movements = std::vector<std::vector<std::shared_ptr<Type::Object3D>>>;

std::vector<Body> bodiesOf(const std::vector<std::shared_ptr<Type::Human>>& people)
{
  std::vector<Body> bodies;
  for (const auto& human : people)
  {
    const bool isSeen = valueOf<bool>(*human, HumanProperty::IsVisible).value_or(true);
    const auto object = isSeen ? bodyOf(*human) : nullptr;
    if (const auto view = object ? ObjectView::of(*object) : std::nullopt)
      bodies.push_back({human, object, *view});
  }
  return bodies;
}

// For each pixel of the frame the number of its body, from 1 on; 0 for none.
cv::Mat paintOwners(const std::vector<Body>& bodies, const cv::Size& size)
{
  cv::Mat owners(size, CV_32SC1, cv::Scalar(0));
  for (std::size_t i = 0; i < bodies.size(); ++i)
  {
    const ObjectView& view = bodies[i].view;
    const cv::Rect box(view.left, view.top, view.width(), view.height());
    if ((box & cv::Rect({}, size)) == box)
      owners(box).setTo(static_cast<int>(i) + 1, view.mask);
  }
  return owners;
}

// Non-zero where something is nearer than before, or where there was nothing.
cv::Mat markMoved(const cv::Mat& depths, const cv::Mat& before)
{
  cv::Mat marks(depths.size(), CV_8UC1);
  for (int v = 0; v < depths.rows; ++v)
  {
    const auto* const now = depths.ptr<unsigned short>(v);
    const auto* const then = before.ptr<unsigned short>(v);
    auto* const out = marks.ptr<unsigned char>(v);
    for (int u = 0; u < depths.cols; ++u)
    {
      const auto own = static_cast<float>(now[u]);
      const float step = std::max(leastStep, scatterFactor * 1000.0F * depthTolerance(0.001F * own));
      const bool isNew = then[u] == 0 || static_cast<float>(then[u]) - own > step;
      out[u] = now[u] != 0 && isNew ? 1 : 0;
    }
  }
  cv::morphologyEx(marks, marks, cv::MORPH_OPEN, cv::Mat());
  return marks;
}

// How many pixels of each owner the marks hold; all of its pixels when there are none.
std::vector<int> countByOwner(const cv::Mat& owners, std::size_t bodies, const cv::Mat& marks = {})
{
  std::vector<int> counts(bodies + 1, 0);
  for (int v = 0; v < owners.rows; ++v)
  {
    const int* const owner = owners.ptr<int>(v);
    const auto* const isMarked = marks.empty() ? nullptr : marks.ptr<unsigned char>(v);
    for (int u = 0; u < owners.cols; ++u)
      counts[static_cast<std::size_t>(owner[u])] += isMarked == nullptr || isMarked[u] != 0 ? 1 : 0;
  }
  return counts;
}

void eraseNewBodies(const cv::Mat& owners, std::size_t bodies, cv::Mat* marks)
{
  const auto all = countByOwner(owners, bodies);
  const auto moved = countByOwner(owners, bodies, *marks);
  for (std::size_t i = 1; i < all.size(); ++i)
  {
    if (2 * moved[i] > all[i])
      marks->setTo(0, owners == static_cast<int>(i));
  }
}

// Kept: the frames of the last moments, oldest first, each an Array of its depth image and of the camera's pose in the
// world.
class ExtractMovementsFromPopulation final : public PerceptionFilter
{
public:
  explicit ExtractMovementsFromPopulation(const LambdaFactory& library_)
      : PerceptionFilter("ExtractMovementsFromPopulation"), library(library_)
  {
  }

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const auto people = elementsOf<Type::Human>(inputs[0], category());
    if (!segmentation)
      segmentation = library.createLambda("Segmentation3D");
    if (!segmentation)
    {
      ku::log::error(category(), "ExtractMovementsFromPopulation: the 'Segmentation3D' lambda failed to be created");
      return {inputs[0]};  // the people remain, without movements
    }
    for (const auto& human : people)
      human->setProperty(HumanProperty::AssociatedMovements, makeData(DataArray()));
    find(bodiesOf(people));
    return {inputs[0]};
  }

private:
  void find(const std::vector<Body>& bodies)
  {
    std::vector<std::shared_ptr<Type::Object3D>> objects;
    for (const Body& body : bodies)
    {
      body.object->setProperty(Object3DProperty::HasMovementData, makeData(1));
      objects.push_back(body.object);
    }
    const auto frame = assembleFrame(objects);
    if (!frame)
      return;
    forgetFrames(*frame);
    const auto before = findReference(frame->depth->timestamp());
    rememberFrame(*frame);
    if (!before)
      return;
    const cv::Mat owners = paintOwners(bodies, frame->depth->cvMat().size());
    cv::Mat marks = markMoved(frame->depth->cvMat(), before->cvMat());
    eraseNewBodies(owners, bodies.size(), &marks);
    if (cv::countNonZero(marks) != 0)
      assign(segment(*frame, marks), owners, bodies);
  }

  [[nodiscard]] DataPtr segment(const Frame& frame, const cv::Mat& marks) const
  {
    cv::Mat moving(marks.size(), CV_16UC1, cv::Scalar(0));
    frame.depth->cvMat().copyTo(moving, marks);
    const auto depth = std::make_shared<Type::DepthImage>(moving, frame.depth->sourceName(), frame.depth->timestamp(),
                                                          frame.depth->horizontalFov(), frame.depth->verticalFov());
    const DataList results = segmentation->apply(
        {makeData(depth), makeData(frame.poses.torso), makeData(frame.poses.robot), makeData(frame.poses.world)});
    return results.empty() ? nullptr : results.front();
  }

  void assign(const DataPtr& objects, const cv::Mat& owners, const std::vector<Body>& bodies) const
  {
    Movements movements(bodies.size());
    for (const auto& object : elementsOf<Type::Object3D>(objects, category()))
    {
      if (const auto owner = ownerOf(*object, owners, bodies.size()))
        movements[*owner].push_back(object);
    }
    for (std::size_t i = 0; i < bodies.size(); ++i)
      bodies[i].human->setProperty(HumanProperty::AssociatedMovements, toArray(movements[i]));
  }

  static std::optional<std::size_t> ownerOf(const Type::Object3D& movement, const cv::Mat& owners, std::size_t bodies)
  {
    const auto view = ObjectView::of(movement);
    if (!view)
      return std::nullopt;
    const cv::Rect box(view->left, view->top, view->width(), view->height());
    if ((box & cv::Rect({}, owners.size())) != box)
      return std::nullopt;
    const auto counts = countByOwner(owners(box), bodies, view->mask);
    const auto most = std::max_element(counts.begin() + 1, counts.end());
    if (most == counts.end() || *most == 0)
      return std::nullopt;
    return static_cast<std::size_t>(most - counts.begin()) - 1;
  }

  [[nodiscard]] DataArray keptFrames() const
  {
    const auto* const kept = getMemory() ? getMemory()->get<DataArray>() : nullptr;
    return kept != nullptr ? *kept : DataArray();
  }

  static const Type::DepthImage& depthOf(const DataPtr& kept)
  {
    return *(*kept->get<DataArray>())[0]->get<Type::DepthImage>();
  }

  // Those that are too old, and all of them when the present one is of another size, another pose or an earlier time.
  void forgetFrames(const Frame& present)
  {
    DataArray frames = keptFrames();
    const Time now = present.depth->timestamp();
    const bool isOther = std::ranges::any_of(frames,
                                             [&](const DataPtr& kept)
                                             {
                                               const auto& pose = *(*kept->get<DataArray>())[1]->get<Type::Vector6>();
                                               return depthOf(kept).cvMat().size() != present.depth->cvMat().size() ||
                                                      hasMoved(pose, present.poses.world) ||
                                                      depthOf(kept).timestamp() > now;
                                             });
    std::erase_if(frames,
                  [&](const DataPtr& kept) { return isOther || now - depthOf(kept).timestamp() > oldestReference; });
    setMemory(makeData(std::move(frames)));
  }

  // The youngest that is old enough.
  [[nodiscard]] std::shared_ptr<Type::DepthImage> findReference(Time now) const
  {
    const DataArray frames = keptFrames();
    const auto isOldEnough = [now](const DataPtr& kept)
    { return now - depthOf(kept).timestamp() >= youngestReference; };
    const auto found = std::find_if(frames.rbegin(), frames.rend(), isOldEnough);
    return found != frames.rend() ? (*(*found)->get<DataArray>())[0]->share<Type::DepthImage>() : nullptr;
  }

  // A frame that was here already is not kept again.
  void rememberFrame(const Frame& frame)
  {
    DataArray frames = keptFrames();
    if (!frames.empty() && depthOf(frames.back()).timestamp() == frame.depth->timestamp())
      return;
    frames.push_back(makeData(DataArray{makeData(frame.depth), makeData(frame.poses.world)}));
    if (frames.size() > mostFrames)
      frames.erase(frames.begin());
    setMemory(makeData(std::move(frames)));
  }

  const LambdaFactory& library;
  std::shared_ptr<Type::Lambda> segmentation;  // made when first needed: programs are loaded after their filters
};
}  // namespace

std::shared_ptr<UserFilter> makeExtractMovementsFromPopulation(const LambdaFactory& library)
{
  return std::make_shared<ExtractMovementsFromPopulation>(library);
}
}  // namespace ZR::Filtrix::Filters
