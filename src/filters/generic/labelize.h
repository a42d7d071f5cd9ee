#pragma once

#include <opencv2/core/mat.hpp>

namespace ZR::Filtrix::Filters
{
/// Splits an image into regions of connected pixels and numbers them 1, 2, 3, ... by their first pixel in raster order;
/// 0 is the background, the pixels of value 0. Returns the highest label.
///
/// Two neighbours are connected when neither is background and their values differ by at most the tolerance:
/// `toleranceH` along the row, `toleranceV` along the column, in the units of the values. A negative tolerance connects
/// nothing. Values of an 8-bit image above 127 count as 127.
///
/// Regions of less than `minSize` or more than `maxSize` pixels become background; a `maxSize` below 1 stands for the
/// whole image. Where a region's arms meet only after several other meetings, it may stay apart in several labels: a
/// later meeting overwrites what an earlier one noted. That is the price of a single scan with one entry per label,
/// and what the filters downstream were tuned on.
///
/// `input` is CV_8UC1 or CV_16UC1, of any size, an empty one gives an empty `output`; any other type throws
/// std::invalid_argument. `output` becomes a new CV_32SC1 matrix and may be the same object as `input`.
///
/// One scan, and work in proportion to the labels that it hands out. Source: A. Rosenfeld, J. L. Pfaltz, "Sequential
/// Operations in Digital Picture Processing", Journal of the ACM 13(4), 1966.
int labelize(const cv::Mat& input, cv::Mat& output, int toleranceH, int toleranceV, int minSize, int maxSize);

/// The same tolerance both ways.
int labelize(const cv::Mat& input, cv::Mat& output, int tolerance, int minSize, int maxSize);
}  // namespace ZR::Filtrix::Filters
