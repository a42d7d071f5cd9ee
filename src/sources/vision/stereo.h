#pragma once

#include "sources/vision/calibration.h"

#include <opencv2/core/mat.hpp>

#include <map>
#include <utility>

namespace vision
{
/// Turns the two pictures of a stereo head into disparity and depth. The calibrations tell how the cameras see; they
/// are scaled to whatever size the pictures have, whose aspect ratio must be theirs.
///
/// Matchers: K. Konolige, "Small Vision Systems: Hardware and Implementation", 1997 (block matcher), and H.
/// Hirschmüller, "Stereo Processing by Semiglobal Matching and Mutual Information", IEEE Trans. PAMI 30(2), 2008, both
/// OpenCV's.
///
/// Setters throw std::invalid_argument outside the range that they name, and log it. The other operations throw
/// std::invalid_argument for pictures that do not fit, std::runtime_error for calibrations that do not serve, and
/// cv::Exception where OpenCV refuses the parameters. Log category "vision.stereo".
class Stereo final
{
public:
  enum class Algorithm
  {
    BlockMatcher = 0,
    SemiGlobal = 1
  };

  /// Both for the same size. What was computed from earlier ones is forgotten.
  void setCalibrations(const Calibration& left_, const Calibration& right_);

  [[nodiscard]] bool hasCalibrations() const noexcept { return left.width > 0; }

  /// Points that lie farther away count as not measured. Above 0, in metres.
  void setMaxDepth(float metres);

  void setAlgorithm(Algorithm algorithm_) noexcept { algorithm = algorithm_; }

  void setWindowSize(int pixels);         ///< of the calibrated size, as all below: odd, 5 to 255
  void setMinDisparity(int pixels);       ///< from minus to plus the width of the calibration
  void setDisparityNumber(int count);     ///< how many disparities are tried: a multiple of 16, above 0
  void setPreFilterCap(int cap);          ///< 1 to 63
  void setPreFilterSize(int pixels);      ///< odd, 5 to 255
  void setSpeckleRange(int range);        ///< 0 to 31
  void setSpeckleWindowSize(int pixels);  ///< 0 to 1000
  void setTextureThreshold(int sum);      ///< 0 to 10000
  void setUniquenessRatio(int percent);   ///< 0 to 100
  void setP1(int penalty);                ///< of a disparity that differs by one, 0 or more
  void setP2(int penalty);                ///< of a disparity that differs by more, 0 or more

  /// The full, slow form of semi-global matching.
  void setFullDP(bool full) noexcept { fullDP = full; }

  /// The pictures with their rows aligned, of the same size and type as both are.
  [[nodiscard]] std::pair<cv::Mat, cv::Mat> rectifyImages(const cv::Mat& leftImage, const cv::Mat& rightImage);

  /// The left picture alone.
  [[nodiscard]] cv::Mat rectifyLeft(const cv::Mat& leftImage);

  /// For each pixel of the rectified left gray picture (CV_8UC1), how many pixels further left the right one shows it
  /// (CV_32FC1). Below the least disparity there is no match.
  ///
  /// For pictures of half the calibrated size, or less, the parameters in pixels are brought down with it.
  [[nodiscard]] cv::Mat computeDisparity(const cv::Mat& leftImage, const cv::Mat& rightImage) const;

  /// For each disparity the point that it stands for, in the left camera's frame: x right, y down, z forward, metres
  /// (CV_32FC3). (0, 0, 0) where nothing matched, and beyond the greatest depth.
  [[nodiscard]] cv::Mat computeDepth(const cv::Mat& disparity);

private:
  // What calibrations come to at one size of picture.
  struct Transforms
  {
    cv::Size size;
    cv::Mat leftMaps[2];
    cv::Mat rightMaps[2];
    cv::Mat q;  // from (x, y, disparity, 1) to a point; empty when the cameras are at the same place
  };

  [[nodiscard]] const Transforms& _transformsFor(const cv::Size& size);
  [[nodiscard]] int _scaleFor(int imageWidth) const;
  [[nodiscard]] cv::Mat _matchBlocks(const cv::Mat& leftImage, const cv::Mat& rightImage) const;
  [[nodiscard]] cv::Mat _matchSemiGlobally(const cv::Mat& leftImage, const cv::Mat& rightImage) const;

  Calibration left;
  Calibration right;
  float maxDepth = 5.0F;
  Algorithm algorithm = Algorithm::BlockMatcher;
  int windowSize = 21;
  int minDisparity = 1;
  int disparityNumber = 80;
  int preFilterCap = 45;
  int preFilterSize = 25;
  int speckleRange = 10;
  int speckleWindowSize = 400;
  int textureThreshold = 1;
  int uniquenessRatio = 2;
  int p1 = 3528;
  int p2 = 14112;
  bool fullDP = false;
  std::map<int, Transforms> transforms;  // by width
};
}  // namespace vision
