#include "filters/perception/objectextraction.h"

#include "filters/perception/objectview.h"
#include "filtrix/properties.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_map>

namespace ZR::Filtrix::Filters
{
namespace
{
// A mask reaches a border that it comes as near to as one of so many rows, and at least by one pixel: the last rows and
// columns of a sensor are often without measurement.
constexpr int rowsToABorderRow = 160;

/// So many pixels out from the outline it is looked for something nearer: the shadow beside it is that wide.
constexpr int reach = 3;

/// A side counts as hidden when this share of its outline has something nearer beside it.
constexpr float hiddenShare = 0.15F;

/// But an object of which so much is seen, in metres, is a body that merely stands beside something nearer.
constexpr float wholeWidth = 0.30F;

struct Borders
{
  bool left;
  bool top;
  bool right;
  bool bottom;
};

Borders touchedBorders(const cv::Rect& box, const cv::Size& frame)
{
  const int borderWidth = std::max(1, frame.height / rowsToABorderRow);
  return {box.x <= borderWidth, box.y <= borderWidth, box.x + box.width >= frame.width - borderWidth,
          box.y + box.height >= frame.height - borderWidth};
}

// In the frame; the box's corner for an empty mask.
Type::Vector2 centreOf(const cv::Mat& mask, const cv::Rect& box)
{
  double sumX = 0.0;
  double sumY = 0.0;
  int count = 0;
  for (int y = 0; y < mask.rows; ++y)
  {
    const auto* const row = mask.ptr<unsigned char>(y);
    for (int x = 0; x < mask.cols; ++x)
    {
      const int isSet = row[x] != 0 ? 1 : 0;
      sumX += isSet * x;
      sumY += isSet * y;
      count += isSet;
    }
  }
  const double share = count > 0 ? 1.0 / count : 0.0;
  return {static_cast<float>(box.x + sumX * share), static_cast<float>(box.y + sumY * share)};
}

// Walks the outline of one side and looks outward: how much of it stands behind something nearer.
bool isSideHidden(const cv::Mat& mask, const cv::Rect& box, const cv::Mat& depths, int dx, int dy)
{
  const auto isInside = [&](int x, int y)
  { return x >= 0 && y >= 0 && x < mask.cols && y < mask.rows && mask.ptr<unsigned char>(y)[x] != 0; };
  const cv::Rect frame(0, 0, depths.cols, depths.rows);
  // The first thing that is measured beside a pixel; 0 for none within reach.
  const auto depthBeside = [&](int x, int y) -> int
  {
    for (int step = 1; step <= reach; ++step)
    {
      const cv::Point beside(box.x + x + step * dx, box.y + y + step * dy);
      if (!frame.contains(beside))
        return 0;
      const int depth = depths.ptr<unsigned short>(beside.y)[beside.x];
      if (depth != 0 && !isInside(x + step * dx, y + step * dy))
        return depth;
    }
    return 0;
  };
  int outline = 0;
  int hidden = 0;
  for (int y = 0; y < mask.rows; ++y)
  {
    for (int x = 0; x < mask.cols; ++x)
    {
      if (!isInside(x, y) || isInside(x + dx, y + dy))
        continue;
      const int own = depths.ptr<unsigned short>(box.y + y)[box.x + x];
      if (own == 0)
        continue;
      ++outline;
      const int beside = depthBeside(x, y);
      const auto tolerance = static_cast<int>(1000.0F * depthTolerance(0.001F * static_cast<float>(own)));
      hidden += beside != 0 && beside < own - tolerance ? 1 : 0;
    }
  }
  return static_cast<float>(hidden) > hiddenShare * static_cast<float>(outline);
}

// On the left, on the right or above: there the outline is the body's own or it is not. What stands before its feet is
// nobody's concern here: people behind tables are people.
bool isHidden(const cv::Mat& mask, const cv::Rect& box, const cv::Mat& depths, float visibleWidth)
{
  if (visibleWidth >= wholeWidth)
    return isSideHidden(mask, box, depths, 0, -1);
  return isSideHidden(mask, box, depths, -1, 0) || isSideHidden(mask, box, depths, 1, 0) ||
         isSideHidden(mask, box, depths, 0, -1);
}

// The same properties have keys of their own in an `Object2D` and an `Object3D`.
struct PlaceKeys
{
  std::int32_t pixelCount;
  std::int32_t sizeImage;
  std::int32_t sizeImageOfCamera;
  std::int32_t region;
  std::int32_t centre;
  std::int32_t topBorder;
  std::int32_t bottomBorder;
  std::int32_t leftBorder;
  std::int32_t rightBorder;
  std::int32_t poseTorso;
  std::int32_t poseRobot;
  std::int32_t poseWorld;
};

constexpr PlaceKeys keys3D{Object3DProperty::PixelCount,          Object3DProperty::SizeImage,
                           Object3DProperty::SizeImageOfCamera,   Object3DProperty::Region2D,
                           Object3DProperty::CenterOfMass,        Object3DProperty::TopBorderTouched,
                           Object3DProperty::BottomBorderTouched, Object3DProperty::LeftBorderTouched,
                           Object3DProperty::RightBorderTouched,  Object3DProperty::CameraPositionTorso,
                           Object3DProperty::CameraPositionRobot, Object3DProperty::CameraPositionWorld};
constexpr PlaceKeys keys2D{Object2DProperty::PixelCount,          Object2DProperty::SizeImage,
                           Object2DProperty::SizeImageOfCamera,   Object2DProperty::Region2D,
                           Object2DProperty::CenterOfMass,        Object2DProperty::TopBorderTouched,
                           Object2DProperty::BottomBorderTouched, Object2DProperty::LeftBorderTouched,
                           Object2DProperty::RightBorderTouched,  Object2DProperty::CameraPositionTorso,
                           Object2DProperty::CameraPositionRobot, Object2DProperty::CameraPositionWorld};

void writePlace(Type::PropertyHolder& object, const PlaceKeys& keys, const cv::Mat& mask, const cv::Rect& box,
                const cv::Size& frame, const CameraPoses& poses)
{
  const Borders borders = touchedBorders(box, frame);
  const Type::Vector2 size(static_cast<float>(frame.width), static_cast<float>(frame.height));
  object.setProperty(keys.pixelCount, makeData(static_cast<std::int32_t>(cv::countNonZero(mask))));
  object.setProperty(keys.sizeImage, makeData(size));
  object.setProperty(keys.sizeImageOfCamera, makeData(size));
  object.setProperty(keys.region, makeData(boxRegion(box.x, box.y, box.width, box.height)));
  object.setProperty(keys.centre, makeData(centreOf(mask, box)));
  object.setProperty(keys.topBorder, makeData(borders.top));
  object.setProperty(keys.bottomBorder, makeData(borders.bottom));
  object.setProperty(keys.leftBorder, makeData(borders.left));
  object.setProperty(keys.rightBorder, makeData(borders.right));
  object.setProperty(keys.poseTorso, makeData(poses.torso));
  object.setProperty(keys.poseRobot, makeData(poses.robot));
  object.setProperty(keys.poseWorld, makeData(poses.world));
}

// A crop has its share of the fields of view.
template <typename Image>
std::shared_ptr<Image> cropImage(const cv::Mat& pixels, const cv::Size& frame, const std::string& source,
                                 Type::Time time, float horizontalFov, float verticalFov)
{
  const float widthShare = static_cast<float>(pixels.cols) / static_cast<float>(frame.width);
  const float heightShare = static_cast<float>(pixels.rows) / static_cast<float>(frame.height);
  return std::make_shared<Image>(pixels, source, time, horizontalFov * widthShare, verticalFov * heightShare);
}
}  // namespace

std::vector<Blob> findBlobs(const cv::Mat& labels, int minPixels)
{
  std::unordered_map<int, std::size_t> places;
  std::vector<Blob> blobs;
  for (int y = 0; y < labels.rows; ++y)
  {
    const int* const row = labels.ptr<int>(y);
    int lastLabel = 0;
    Blob* last = nullptr;
    for (int x = 0; x < labels.cols; ++x)
    {
      const int label = row[x];
      if (label <= 0)
        continue;
      if (label != lastLabel)
      {
        const auto [place, isNew] = places.try_emplace(label, blobs.size());
        if (isNew)
          blobs.push_back({label, 0, x, y, x, y});
        last = &blobs[place->second];
        lastLabel = label;
      }
      ++last->count;
      last->left = std::min(last->left, x);
      last->right = std::max(last->right, x);
      last->bottom = y;
    }
  }
  std::erase_if(blobs, [minPixels](const Blob& blob) { return blob.count < minPixels; });
  std::ranges::sort(blobs, {}, &Blob::label);
  return blobs;
}

int medianDepth(const cv::Mat& depths, const cv::Mat& mask)
{
  std::vector<unsigned short> values;
  values.reserve(mask.total());
  for (int y = 0; y < mask.rows; ++y)
  {
    const auto* const depth = depths.ptr<unsigned short>(y);
    const auto* const isSet = mask.ptr<unsigned char>(y);
    for (int x = 0; x < mask.cols; ++x)
    {
      if (isSet[x] != 0 && depth[x] != 0)
        values.push_back(depth[x]);
    }
  }
  if (values.empty())
    return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::shared_ptr<Type::Object3D> makeObject3D(const cv::Mat& mask, const cv::Rect& box, const Type::DepthImage& depth,
                                             const CameraPoses& poses)
{
  cv::Mat own(box.size(), CV_16UC1, cv::Scalar(0));
  depth.cvMat()(box).copyTo(own, mask);
  const cv::Size frame = depth.cvMat().size();
  const int distance = medianDepth(own, mask);
  const Pinhole camera(static_cast<float>(frame.width), static_cast<float>(frame.height), depth.horizontalFov(),
                       depth.verticalFov());
  const float metres = 0.001F * static_cast<float>(distance);
  const Type::Vector2 visible(metres * static_cast<float>(box.width) / camera.focalX(),
                              metres * static_cast<float>(box.height) / camera.focalY());
  const auto corner = [&](int u, int v)
  {
    const cv::Vec3f point =
        CameraPose(poses.robot).apply(camera.point(static_cast<float>(u), static_cast<float>(v), metres));
    return Type::Vector3(point[0], point[1], point[2]);
  };

  const auto object = std::make_shared<Type::Object3D>(
      std::make_shared<Type::Region3>(corner(box.x, box.y + box.height - 1), corner(box.x + box.width - 1, box.y)));
  writePlace(*object, keys3D, mask, box, frame, poses);
  object->setProperty(Object3DProperty::ReconstructedDepthImage,
                      makeData(cropImage<Type::DepthImage>(own, frame, depth.sourceName(), depth.timestamp(),
                                                           depth.horizontalFov(), depth.verticalFov())));
  object->setProperty(Object3DProperty::Mask,
                      makeData(cropImage<Type::BinaryImage>(mask, frame, depth.sourceName(), depth.timestamp(),
                                                            depth.horizontalFov(), depth.verticalFov())));
  object->setProperty(Object3DProperty::Distance, makeData(static_cast<std::int32_t>(distance)));
  object->setProperty(Object3DProperty::RealVisibleSize, makeData(visible));
  object->setProperty(Object3DProperty::HiddenByOtherBlob, makeData(isHidden(mask, box, depth.cvMat(), visible.x)));
  object->setProperty(Object3DProperty::TopIsVerticallyOffset, makeData(false));
  return object;
}

std::shared_ptr<Type::Object2D> makeObject2D(const cv::Mat& mask, const cv::Rect& box, const Data& image,
                                             const CameraPoses& poses, int distance)
{
  const cv::Mat pixels = Type::toCvMat(image);
  const float horizontalFov = Type::horizontalFov(image);
  const float verticalFov = Type::verticalFov(image);
  const std::string& source = Type::sourceName(image);
  const Type::Time time = Type::timestamp(image);
  const cv::Mat own = pixels(box).clone();

  const auto object =
      std::make_shared<Type::Object2D>(std::make_shared<Type::Region2>(boxRegion(box.x, box.y, box.width, box.height)));
  writePlace(*object, keys2D, mask, box, pixels.size(), poses);
  object->setProperty(Object2DProperty::FieldOfView, makeData(horizontalFov, verticalFov));
  object->setProperty(Object2DProperty::Mask, makeData(cropImage<Type::BinaryImage>(mask, pixels.size(), source, time,
                                                                                    horizontalFov, verticalFov)));
  if (image.type() == TypeTag::ColorImage)
    object->setProperty(Object2DProperty::Image, makeData(cropImage<Type::ColorImage>(own, pixels.size(), source, time,
                                                                                      horizontalFov, verticalFov)));
  if (image.type() == TypeTag::GrayscaleImage)
    object->setProperty(
        Object2DProperty::GrayscaleImage,
        makeData(cropImage<Type::GrayscaleImage>(own, pixels.size(), source, time, horizontalFov, verticalFov)));
  if (distance > 0)
    object->setProperty(Object2DProperty::Distance, makeData(static_cast<std::int32_t>(distance)));
  return object;
}
}  // namespace ZR::Filtrix::Filters
