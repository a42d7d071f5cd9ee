// Finds people whose faces are too small, or turned away, by their bodies: where something moves, and where a body was
// a moment ago. What comes out is the faces that came in, and for every body without one the place where its face
// would be, so that a face of 0.17 m stands for a body of 1.69 m.
//
// A body that is not made sure of in a run, but where something moves on, is carried along for up to a second: its
// outline changes with every step, and the detector does not know all of them. Who has not moved yet, and shows no
// face, is not found.
//
// Kept: the bodies, each with its box and the time when it was made sure of.

#include "filters/perception/bodydetector.h"
#include "filters/perception/faceobject.h"
#include "filters/perception/objects.h"
#include "filters/perception/objectview.h"
#include "filters/perception/perceptionfilter.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/image.h"
#include "filtrix/time.h"

#include <opencv2/core/types.hpp>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
/// Of lower bodies nothing is left to tell them by, pixels.
constexpr float leastHeight = 24.0F;

/// Only the largest so many movements are searched: the cost of a run stays bounded when all moves.
constexpr std::size_t mostMovements = 8;

/// How far beyond a movement and beyond a body is searched, as a share of its height.
constexpr float beyondMovement = 0.5F;
constexpr float beyondBody = 0.35F;

/// How much of a new box goes into what is known: heights are steadier than places.
constexpr float newPlace = 0.7F;
constexpr float newHeight = 0.2F;

/// Boxes that have this share of their union in common are of one body.
constexpr float sameBody = 0.3F;

/// The width of a body's box, and of its face, as shares of its height.
constexpr float boxWidth = 0.375F;
constexpr float faceWidth = 0.17F / 1.69F;

/// How sure the detector must be of a body nobody knew, and of one that was there a moment ago.
constexpr double sureOfNew = 0.6;
constexpr double sureOfKnown = 0.1;

/// A new body has moved as a whole: the movement covers this share of it.
constexpr float leastMoved = 0.3F;

const Duration carriedFor(std::int64_t{1'000'000});

struct Body
{
  cv::Rect2f box;
  Time sure;
};

using Boxes = std::vector<cv::Rect2f>;

cv::Rect2f toRect(const Type::Region2& region)
{
  return {region.start.x, region.start.y, region.end.x - region.start.x + 1.0F, region.end.y - region.start.y + 1.0F};
}

cv::Point2f middleOf(const cv::Rect2f& box)
{
  return {box.x + 0.5F * box.width, box.y + 0.5F * box.height};
}

cv::Rect2f grown(const cv::Rect2f& box, float margin)
{
  return {box.x - margin, box.y - margin, box.width + 2.0F * margin, box.height + 2.0F * margin};
}

float shareInCommon(const cv::Rect2f& a, const cv::Rect2f& b)
{
  const float common = (a & b).area();
  return common / std::max(a.area() + b.area() - common, 1.0F);
}

// Boxes that are none have no order and no share in common.
bool isFinite(const cv::Rect2f& box)
{
  return std::isfinite(box.x) && std::isfinite(box.y) && std::isfinite(box.area());
}

Boxes boxesOf(const DataArray& objects)
{
  Boxes boxes;
  for (const DataPtr& value : objects)
  {
    const auto* const object = value ? value->get<Type::Object2D>() : nullptr;
    const auto region = object != nullptr ? propertyOf<Type::Region2>(*object, Object2DProperty::Region2D) : nullptr;
    if (region && isFinite(toRect(*region)))
      boxes.push_back(toRect(*region));
  }
  return boxes;
}

std::vector<Body> readBodies(const DataPtr& memory)
{
  std::vector<Body> bodies;
  const auto* const kept = memory ? memory->get<DataArray>() : nullptr;
  if (kept == nullptr)
    return bodies;
  for (std::size_t i = 0; i + 1 < kept->size(); i += 2)
    bodies.push_back({toRect(*(*kept)[i]->get<Type::Region2>()), *(*kept)[i + 1]->get<Time>()});
  return bodies;
}

DataPtr writeBodies(const std::vector<Body>& bodies)
{
  DataArray kept;
  for (const Body& body : bodies)
  {
    kept.push_back(makeData(Type::Region2({body.box.x, body.box.y}, {body.box.br().x - 1.0F, body.box.br().y - 1.0F})));
    kept.push_back(makeData(body.sure));
  }
  return makeData(std::move(kept));
}

// The new place with some of the old one: where it stands follows at once, how tall it is slowly.
cv::Rect2f blend(const cv::Rect2f& known, const cv::Rect2f& seen)
{
  const float height = known.height + newHeight * (seen.height - known.height);
  const cv::Point2f foot = (1.0F - newPlace) * (middleOf(known) + cv::Point2f(0.0F, 0.5F * known.height)) +
                           newPlace * (middleOf(seen) + cv::Point2f(0.0F, 0.5F * seen.height));
  return {foot.x - 0.5F * boxWidth * height, foot.y - height, boxWidth * height, height};
}

// Where the face of a body would be; nothing when that is not in the image.
std::optional<Type::Region2> faceOf(const cv::Rect2f& body, const cv::Size& frame)
{
  const float width = faceWidth * body.height;
  const float left = middleOf(body).x - 0.5F * width;
  const float top = body.y + 0.25F * width;
  const bool isInside = left >= 0.0F && top >= 0.0F && left + width < static_cast<float>(frame.width) &&
                        top + width < static_cast<float>(frame.height);
  if (!isInside)
    return std::nullopt;
  return Type::Region2({left, top}, {left + width - 1.0F, top + width - 1.0F});
}

// Somebody whose legs the image cuts off is no whole body, but what moves of him may look like a smaller one.
bool isPartOfLarger(const cv::Rect2f& body, const Boxes& movements)
{
  const auto contains = [&body](const cv::Rect2f& movement)
  { return movement.height > 1.5F * body.height && (movement & body).area() > 0.7F * body.area(); };
  return std::ranges::any_of(movements, contains);
}

class BodyDetectionFromImage final : public PerceptionFilter
{
public:
  BodyDetectionFromImage() : PerceptionFilter("BodyDetectionFromImage") {}

  DataList run(const DataList& inputs) override
  {
    if (!accepts(inputs))
      return {};
    const Data& image = *inputs[0];
    const Boxes movements = boxesOf(*inputs[1]->get<DataArray>());
    std::vector<Body> bodies = readBodies(getMemory());
    std::erase_if(bodies, [&image](const Body& body)
                  { return image.timestamp() < body.sure || image.timestamp() - body.sure > carriedFor; });
    std::erase_if(bodies, [&movements](const Body& body) { return isPartOfLarger(body.box, movements); });
    const std::size_t known = bodies.size();
    std::vector<bool> isThere = followBodies(image, movements, bodies);
    findBodies(image, movements, known, bodies);
    isThere.resize(bodies.size(), true);
    setMemory(writeBodies(bodies));
    return faces(image, *inputs[2]->get<DataArray>(), bodies, isThere);
  }

private:
  // Which of the bodies are still there: seen again, or at least moving.
  std::vector<bool> followBodies(const Data& image, const Boxes& movements, std::vector<Body>& bodies) const
  {
    std::vector<bool> isThere(bodies.size(), false);
    for (std::size_t i = 0; i < bodies.size(); ++i)
    {
      Body& body = bodies[i];
      const Boxes found =
          detector.detect(image, grown(body.box, beyondBody * body.box.height), body.box.height, sureOfKnown);
      const auto best =
          std::ranges::max_element(found, {}, [&body](const cv::Rect2f& box) { return shareInCommon(box, body.box); });
      if (best != found.end() && shareInCommon(*best, body.box) > sameBody && !isTaken(*best, bodies, i))
      {
        body = {blend(body.box, *best), image.timestamp()};
        isThere[i] = true;
      }
      else
        isThere[i] = carryAlong(body, movements);
    }
    return isThere;
  }

  // Two bodies that pass each other are not to become one: what is nearer to another body is that one's.
  static bool isTaken(const cv::Rect2f& box, const std::vector<Body>& bodies, std::size_t self)
  {
    const float own = shareInCommon(box, bodies[self].box);
    for (std::size_t i = 0; i < bodies.size(); ++i)
    {
      if (i != self && shareInCommon(box, bodies[i].box) > own)
        return true;
    }
    return false;
  }

  static bool carryAlong(Body& body, const Boxes& movements)
  {
    for (const cv::Rect2f& movement : movements)
    {
      const float common = (movement & body.box).area();
      if (common < 0.4F * std::min(movement.area(), body.box.area()))
        continue;
      const float way = middleOf(movement).x - middleOf(body.box).x;
      const float most = 0.3F * body.box.width;
      body.box.x += std::clamp(0.5F * way, -most, most);
      return true;
    }
    return false;
  }

  // Bodies where something moves that none of the known ones, which come first, explains.
  void findBodies(const Data& image, const Boxes& movements, std::size_t known, std::vector<Body>& bodies) const
  {
    Boxes places;
    for (const cv::Rect2f& movement : movements)
    {
      const auto explains = [&movement](const Body& body)
      { return (grown(body.box, 0.1F * body.box.height) & movement).area() > 0.6F * movement.area(); };
      const bool isExplained =
          std::any_of(bodies.begin(), bodies.begin() + static_cast<std::ptrdiff_t>(known), explains);
      if (movement.height >= leastHeight && !isExplained)
        places.push_back(movement);
    }
    std::ranges::stable_sort(places, std::ranges::greater(), [](const cv::Rect2f& box) { return box.area(); });
    places.resize(std::min(places.size(), mostMovements));
    for (const cv::Rect2f& place : places)
    {
      for (const cv::Rect2f& box :
           detector.detect(image, grown(place, beyondMovement * place.height), place.height, sureOfNew))
      {
        const auto isSame = [&box](const Body& body) { return shareInCommon(body.box, box) > sameBody; };
        if (box.height >= leastHeight && (box & place).area() > leastMoved * box.area() &&
            std::ranges::none_of(bodies, isSame))
          bodies.push_back({blend(box, box), image.timestamp()});
      }
    }
  }

  static DataList faces(const Data& image, const DataArray& found, const std::vector<Body>& bodies,
                        const std::vector<bool>& isThere)
  {
    DataArray objects = found;
    const Boxes known = boxesOf(found);
    DataArray regions;
    for (const cv::Rect2f& face : known)
      regions.push_back(makeData(Type::Region2({face.x, face.y}, {face.br().x - 1.0F, face.br().y - 1.0F})));
    for (std::size_t i = 0; i < bodies.size(); ++i)
    {
      const cv::Rect2f& body = bodies[i].box;
      const cv::Rect2f head(body.x, body.y - 0.1F * body.height, body.width, 0.45F * body.height);
      const bool hasFace =
          std::ranges::any_of(known, [&head](const cv::Rect2f& face) { return head.contains(middleOf(face)); });
      const auto face = faceOf(body, Type::toCvMat(image).size());
      if (!isThere[i] || hasFace || !face)
        continue;
      objects.push_back(makeFaceObject(image, *face));
      regions.push_back(makeData(*face));
    }
    return {makeData(std::move(objects)), makeData(std::move(regions))};
  }

  const BodyDetector detector;
};
}  // namespace

std::shared_ptr<UserFilter> makeBodyDetectionFromImage()
{
  return std::make_shared<BodyDetectionFromImage>();
}
}  // namespace ZR::Filtrix::Filters
