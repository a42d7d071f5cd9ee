#pragma once

#include <opencv2/objdetect.hpp>

#include <memory>
#include <string>

namespace ZR::Filtrix::Filters
{
/// A classifier from the text of a trained cascade: an XML file of OpenCV's with stages of boosted trees on HAAR or LBP
/// features, of the format of today or of the older one ("opencv-haar-classifier").
///
/// OpenCV believes what stands in the file: elements nested without end would use up its stack, and the numbers of
/// features, branches and leaves are used as indices unlooked-at. So all of them are checked here first. Throws
/// std::exception, what was expected and what came.
[[nodiscard]] std::unique_ptr<cv::CascadeClassifier> readCascade(const std::string& text);
}  // namespace ZR::Filtrix::Filters
