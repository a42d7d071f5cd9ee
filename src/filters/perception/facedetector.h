#pragma once

#include "filtrix/data.h"
#include "graph/filter.h"
#include "graph/processkey.h"

#include <opencv2/core/types.hpp>
#include <opencv2/objdetect.hpp>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// Finds faces that look at the camera, to about 25 degrees to a side and 15 of tilt, and 24 pixels wide or more: a
/// cascade of classifiers on local binary patterns, slid over the image at all sizes.
///
/// The trained cascade is the data file "lbpcascades/lbpcascade_frontalface.xml" of the application "zorqa/vision";
/// else that of "opencv4", which is the system's own. It is read once, at most 8 MiB. Thread-safe.
///
/// Sources: P. Viola, M. Jones, "Robust Real-Time Face Detection", IJCV 57(2), 2004; S. Liao, X. Zhu, Z. Lei, L. Zhang,
/// S. Z. Li, "Learning Multi-scale Block Local Binary Patterns for Face Recognition", ICB 2007.
class FaceDetector final
{
public:
  /// Loads the cascade, and logs under the category how that went.
  explicit FaceDetector(const std::string& category);

  [[nodiscard]] bool isLoaded() const noexcept { return !cascade.empty(); }

  /// The boxes of the faces in a part of an image, in pixels of the whole image, from above to below and from left to
  /// right. The image is a ColorImage or a GrayscaleImage, and the part lies within it. Only the part is looked at, so
  /// that the cost is in proportion to its area. It is looked at `enlargement` times as large as it is: faces below 40
  /// pixels are hardly found otherwise. No faces when the cascade is not loaded.
  [[nodiscard]] std::vector<cv::Rect> detect(const Data& image, const cv::Rect& part, float enlargement = 1.0F) const;

private:
  using Classifier = std::unique_ptr<cv::CascadeClassifier>;

  [[nodiscard]] cv::Mat toGray(const Data& image, const cv::Rect& part) const;
  [[nodiscard]] Classifier take() const;

  std::string cascade;  // the text of the file, which may change; empty when there is none that can be read
  const FilterPtr luminance;
  const ProcessKey key;  // what the stateless luminance is applied under

  // A classifier serves one search at a time, so there is one for each search that goes on, and they are used again.
  // Two workers on two processors then search 87 images of 320x240 a second, and 60 with one behind a lock.
  mutable std::mutex mutex;
  mutable std::vector<Classifier> idle;  // guarded by the mutex
};
}  // namespace ZR::Filtrix::Filters
