#pragma once

#include "filters/perception/camerageometry.h"
#include "filtrix/image.h"
#include "filtrix/object.h"
#include "filtrix/vectors.h"

#include <opencv2/core/mat.hpp>

#include <memory>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// Where the camera was.
struct CameraPoses
{
  Type::Vector6 torso;
  Type::Vector6 robot;
  Type::Vector6 world;
};

/// Pixels that belong together, cut out of a labelled image.
struct Blob
{
  int label = 0;
  int count = 0;  ///< pixels
  int left = 0;   ///< the box: first and last column and row
  int top = 0;
  int right = -1;
  int bottom = -1;
};

/// The blobs of at least `minPixels` pixels, in the order of their labels. Labels below 1 are background.
[[nodiscard]] std::vector<Blob> findBlobs(const cv::Mat& labels, int minPixels);

/// The median of the depths above zero that the mask keeps, in millimetres; 0 when there is none.
[[nodiscard]] int medianDepth(const cv::Mat& depths, const cv::Mat& mask);

/// Makes the object of a mask: `box` is its place in `depth`, the depth image of the whole frame. Writes all that is
/// known of it from these: pixel count, images, distance, sizes, borders, what hides it, poses.
[[nodiscard]] std::shared_ptr<Type::Object3D> makeObject3D(const cv::Mat& mask, const cv::Rect& box,
                                                           const Type::DepthImage& depth, const CameraPoses& poses);

/// The same for an object in a gray or colour image, at a distance in millimetres or, with 0, an unknown one.
[[nodiscard]] std::shared_ptr<Type::Object2D> makeObject2D(const cv::Mat& mask, const cv::Rect& box, const Data& image,
                                                           const CameraPoses& poses, int distance);
}  // namespace ZR::Filtrix::Filters
