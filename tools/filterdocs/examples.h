#pragma once

#include "filtrix/data.h"

#include <opencv2/core/mat.hpp>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix::FilterDocs
{
/// The size of each picture.
inline const cv::Size panelSize(160, 120);

/// What the filters are shown on.
class Photographs final
{
public:
  /// Reads them from a folder of the photographs that come with OpenCV's documentation. Throws std::runtime_error when
  /// one is missing.
  explicit Photographs(const std::filesystem::path& folder);

  [[nodiscard]] DataPtr color() const;
  [[nodiscard]] DataPtr gray() const;

  /// The gray one as a poor camera would give it.
  [[nodiscard]] DataPtr noisy() const;

  /// What is dark or coloured.
  [[nodiscard]] DataPtr foreground() const;

  /// The connected parts of it.
  [[nodiscard]] DataPtr labels() const;

  /// A flower pot, and the same as depth.
  [[nodiscard]] DataPtr pot() const;
  [[nodiscard]] DataPtr depth() const;

  /// The colour photograph, mirrored.
  [[nodiscard]] DataPtr mirrored() const;

  /// The colour photograph, moved to the left by so many pixels.
  [[nodiscard]] DataPtr moved(int pixels) const;

private:
  cv::Mat sweets;
  cv::Mat plant;
  cv::Mat disparities;  // of the plant: the nearer, the greater; 0 where nothing was measured
};

/// How a filter is shown: the inputs of each run in turn; the last run is the one to see.
struct Example
{
  std::string_view filter;
  std::string_view settings;  ///< the inputs that are no images, for the caption
  std::vector<DataList> (*makeRuns)(const Photographs&);
};

/// Null for a filter that is not shown.
[[nodiscard]] const Example* findExample(std::string_view filter);

[[nodiscard]] std::string pictureName(std::string_view filter);
}  // namespace ZR::Filtrix::FilterDocs
