#include "tools/filterdocs/examples.h"

#include "filtrix/image.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <memory>
#include <stdexcept>

namespace ZR::Filtrix::FilterDocs
{
namespace
{
using Runs = std::vector<DataList>;
using Type::Region2;
using Type::Vector2;

cv::Mat readPhotograph(const std::filesystem::path& path, int flags)
{
  cv::Mat photograph = cv::imread(path.string(), flags);
  if (photograph.empty())
    throw std::runtime_error(path.string() + ": expected a photograph (package opencv-doc)");
  return photograph;
}

template <typename Image>
DataPtr image(const cv::Mat& mat)
{
  return makeData(std::make_shared<Image>(mat, "photograph", Time(1), 1.0F, 0.75F));
}

// The same object moves through the picture, as a camera that turns would see it.
Runs whileMoving(const Photographs& photographs, const DataPtr& setting)
{
  Runs runs;
  for (int pixels = 0; pixels <= 24; pixels += 4)
    runs.push_back({photographs.moved(pixels), setting});
  return runs;
}

Runs onPair(const Photographs& photographs)
{
  return {{photographs.color(), photographs.mirrored()}};
}

DataPtr marks()
{
  return makeData(DataArray{makeData(Region2({68, 53}, {91, 75})), makeData(Vector2(111, 64))});
}

constexpr std::array examples{
    Example{"Accum", "`factor` 0.3, on a picture that moves",
            [](const Photographs& p) { return whileMoving(p, makeData(0.3F)); }},
    Example{"SlidingWindow", "`size` 4, on a picture that moves",
            [](const Photographs& p) { return whileMoving(p, makeData(4)); }},
    Example{"Add", "", &onPair},
    Example{"BoundingBox", "", [](const Photographs& p) { return Runs{{p.labels()}}; }},
    Example{"Density", "`min` 250, `max` 500",
            [](const Photographs& p) {
              return Runs{{p.labels(), makeData(250), makeData(500)}};
            }},
    Example{"Dilation", "`size` 5",
            [](const Photographs& p) {
              return Runs{{p.foreground(), makeData(5)}};
            }},
    Example{"Draw", "`data` a region and a point, `color` \"blue\"",
            [](const Photographs& p) {
              return Runs{{p.color(), marks(), makeData("blue")}};
            }},
    Example{"Erosion", "`size` 5",
            [](const Photographs& p) {
              return Runs{{p.foreground(), makeData(5)}};
            }},
    Example{"Extract", "`region` from (60, 50) to (150, 110)",
            [](const Photographs& p) {
              return Runs{{p.color(), makeData(Region2({60, 50}, {150, 110}))}};
            }},
    Example{"Geodesic", "", [](const Photographs& p) { return Runs{{p.labels()}}; }},
    Example{"Gravity", "", [](const Photographs& p) { return Runs{{p.labels()}}; }},
    Example{"Histogram", "", [](const Photographs& p) { return Runs{{p.pot()}}; }},
    Example{"Hue", "`color` 120",
            [](const Photographs& p) {
              return Runs{{p.color(), makeData(120)}};
            }},
    Example{"Invert", "", [](const Photographs& p) { return Runs{{p.color()}}; }},
    Example{"ImprovedLabelize", "both tolerances 60 mm, `kernel` 3, `min` 0.01, `max` 0.3",
            [](const Photographs& p) {
              return Runs{{p.depth(), makeData(60), makeData(60), makeData(3), makeData(0.01F), makeData(0.3F)}};
            }},
    Example{"Labelize", "`tolerance` 60 mm",
            [](const Photographs& p) {
              return Runs{{p.depth(), makeData(60)}};
            }},
    Example{"Luminance", "", [](const Photographs& p) { return Runs{{p.color()}}; }},
    Example{"Mask", "",
            [](const Photographs& p) {
              return Runs{{p.foreground(), p.color()}};
            }},
    Example{"Max", "", &onPair},
    Example{"Min", "", &onPair},
    Example{"Multiply", "", &onPair},
    Example{"Otsu", "", [](const Photographs& p) { return Runs{{p.gray()}}; }},
    Example{"Ratio", "`min` 1.2, `max` 4",
            [](const Photographs& p) {
              return Runs{{p.labels(), makeData(1.2F), makeData(4.0F)}};
            }},
    Example{"Saturation", "", [](const Photographs& p) { return Runs{{p.color()}}; }},
    Example{"ScaleDown", "`factor` 3",
            [](const Photographs& p) {
              return Runs{{p.color(), makeData(3)}};
            }},
    Example{"SNN", "`size` 7",
            [](const Photographs& p) {
              return Runs{{p.noisy(), makeData(7)}};
            }},
    Example{"Sub", "", &onPair},
    Example{"Threshold", "`ceil` 150",
            [](const Photographs& p) {
              return Runs{{p.color(), makeData(150)}};
            }},
    Example{"ToColorImage", "", [](const Photographs& p) { return Runs{{p.depth()}}; }}};
}  // namespace

Photographs::Photographs(const std::filesystem::path& folder)
{
  // Without the white strip at the top, in the proportions of a panel.
  const cv::Mat table = readPhotograph(folder / "smarties.png", cv::IMREAD_COLOR)(cv::Rect(0, 46, 413, 310));
  cv::resize(table, sweets, panelSize, 0, 0, cv::INTER_AREA);
  cv::cvtColor(sweets, sweets, cv::COLOR_BGR2RGB);

  const cv::Rect part(0, 100, 1282, 962);
  cv::resize(readPhotograph(folder / "aloeL.jpg", cv::IMREAD_COLOR)(part), plant, panelSize, 0, 0, cv::INTER_AREA);
  cv::cvtColor(plant, plant, cv::COLOR_BGR2RGB);
  cv::resize(readPhotograph(folder / "aloeGT.png", cv::IMREAD_GRAYSCALE)(part), disparities, panelSize, 0, 0,
             cv::INTER_NEAREST);
}

DataPtr Photographs::color() const
{
  return image<Type::ColorImage>(sweets);
}

DataPtr Photographs::gray() const
{
  cv::Mat gray;
  cv::cvtColor(sweets, gray, cv::COLOR_RGB2GRAY);
  return image<Type::GrayscaleImage>(gray);
}

DataPtr Photographs::noisy() const
{
  cv::Mat noisy(panelSize, CV_16SC1);
  cv::RNG(1).fill(noisy, cv::RNG::NORMAL, 0.0, 20.0);
  cv::add(noisy, gray()->get<Type::GrayscaleImage>()->cvMat(), noisy, cv::noArray(), CV_8U);
  return image<Type::GrayscaleImage>(noisy);
}

DataPtr Photographs::foreground() const
{
  cv::Mat least;
  cv::reduce(sweets.reshape(1, sweets.rows * sweets.cols), least, 1, cv::REDUCE_MIN);
  return image<Type::BinaryImage>(least.reshape(1, sweets.rows) < 150);
}

DataPtr Photographs::labels() const
{
  cv::Mat labels;
  cv::connectedComponents(foreground()->get<Type::BinaryImage>()->cvMat(), labels, 4, CV_32S);
  return image<Type::LabelImage>(labels);
}

DataPtr Photographs::pot() const
{
  return image<Type::ColorImage>(plant);
}

DataPtr Photographs::depth() const
{
  constexpr double scale = 160'000.0;  // what brings the scene to the distances of a room
  cv::Mat millimetres = cv::Mat::zeros(panelSize, CV_16UC1);
  for (int y = 0; y < disparities.rows; ++y)
    for (int x = 0; x < disparities.cols; ++x)
      if (const int disparity = disparities.at<unsigned char>(y, x); disparity > 0)
        millimetres.at<unsigned short>(y, x) = cv::saturate_cast<unsigned short>(scale / disparity);
  return image<Type::DepthImage>(millimetres);
}

DataPtr Photographs::mirrored() const
{
  cv::Mat mirrored;
  cv::flip(sweets, mirrored, 1);
  return image<Type::ColorImage>(mirrored);
}

DataPtr Photographs::moved(int pixels) const
{
  cv::Mat moved;
  const cv::Mat shift = (cv::Mat_<double>(2, 3) << 1, 0, -pixels, 0, 1, 0);
  cv::warpAffine(sweets, moved, shift, sweets.size(), cv::INTER_NEAREST, cv::BORDER_REPLICATE);
  return image<Type::ColorImage>(moved);
}

const Example* findExample(std::string_view filter)
{
  const auto* const found = std::ranges::find(examples, filter, &Example::filter);
  return found != examples.end() ? found : nullptr;
}

std::string pictureName(std::string_view filter)
{
  std::string name(filter);
  std::ranges::transform(name, name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return name + ".png";
}
}  // namespace ZR::Filtrix::FilterDocs
