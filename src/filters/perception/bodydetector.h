#pragma once

#include "filtrix/data.h"

#include <opencv2/core/types.hpp>
#include <opencv2/objdetect.hpp>

#include <vector>

namespace ZR::Filtrix::Filters
{
/// Finds upright bodies seen as a whole, from any side, by the histograms of their gradients' directions; the trained
/// weights are OpenCV's own. Thread-safe.
///
/// Source: N. Dalal, B. Triggs, "Histograms of Oriented Gradients for Human Detection", CVPR 2005.
class BodyDetector final
{
public:
  BodyDetector();

  /// The boxes, from crown to sole, of the bodies in a part of a ColorImage or a GrayscaleImage, in pixels of the whole
  /// image; the part is cut at the image's border. Bodies are sought between two thirds and one and a half times
  /// `height`, in pixels: what is smaller than the detector's window is enlarged for it, so that the cost follows from
  /// the part's size in heights, not in pixels. `leastSure` is the distance from the plane that separates
  /// bodies from all else, 0 upwards: at 0 one search in some hundred finds what is none.
  [[nodiscard]] std::vector<cv::Rect2f> detect(const Data& image, const cv::Rect2f& part, float height,
                                               double leastSure) const;

private:
  cv::HOGDescriptor descriptor;
};
}  // namespace ZR::Filtrix::Filters
