#include "tools/filterdocs/panels.h"

#include "exec/memorymanager.h"
#include "filters/generic/genericfilters.h"
#include "filtrix/histogram.h"
#include "filtrix/image.h"
#include "graph/processkey.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace ZR::Filtrix::FilterDocs
{
namespace
{
constexpr double farthest = 3500.0;  // millimetres, drawn white

constexpr int gap = 8;  // white pixels between two panels

const ProcessKey& key()
{
  static const ProcessKey process("filterdocs");
  return process;
}

DataPtr first(const FilterPtr& filter, const DataList& inputs)
{
  const DataList outputs = filter->applyFilter(inputs, key(), key(), 0);
  return outputs.empty() ? nullptr : outputs.front();
}

cv::Mat drawGray(const cv::Mat& values, double scale)
{
  cv::Mat gray;
  values.convertTo(gray, CV_8U, scale);
  cv::cvtColor(gray, gray, cv::COLOR_GRAY2RGB);
  return gray;
}

// Foreground of 1 is made visible; some filters give more levels than two.
cv::Mat drawBinary(const cv::Mat& values)
{
  double highest = 0.0;
  cv::minMaxLoc(values, nullptr, &highest);
  return drawGray(values, highest <= 1.0 ? 255.0 : 1.0);
}

// Small ones stay small, so that a crop shows as one; an empty matrix for what is no image.
cv::Mat drawValue(const DataPtr& value, const DataPtr& background)
{
  if (!value)
    return {};
  switch (value->type())
  {
  case TypeTag::Histogram:
    return value->get<Type::Histogram>()->draw(panelSize.height).cvMat();
  case TypeTag::Array:
    return Type::toCvMat(
        *first(Filters::makeDraw(), {first(Filters::makeToColorImage(), {background}), value, makeData("white")}));
  case TypeTag::BinaryImage:
    return drawBinary(Type::toCvMat(*value));
  case TypeTag::DepthImage:
    return drawGray(Type::toCvMat(*value), 255.0 / farthest);
  case TypeTag::ColorImage:
  case TypeTag::GrayscaleImage:
  case TypeTag::LabelImage:
    return Type::toCvMat(*first(Filters::makeToColorImage(), {value}));
  default:
    return {};
  }
}

void addPanel(const cv::Mat& content, std::vector<cv::Mat>* panels)
{
  if (content.empty())
    return;
  cv::Mat fitted = content;
  if (content.cols > panelSize.width || content.rows > panelSize.height)
    cv::resize(content, fitted, panelSize, 0, 0, cv::INTER_AREA);
  cv::Mat panel(panelSize, CV_8UC3, cv::Scalar::all(255));
  fitted.copyTo(panel(cv::Rect({0, 0}, fitted.size())));
  panels->push_back(panel);
}

cv::Mat join(const std::vector<cv::Mat>& panels)
{
  const int count = static_cast<int>(panels.size());
  cv::Mat joined(panelSize.height, count * panelSize.width + (count - 1) * gap, CV_8UC3, cv::Scalar::all(255));
  for (int i = 0; i < count; ++i)
    panels[static_cast<std::size_t>(i)].copyTo(joined(cv::Rect({i * (panelSize.width + gap), 0}, panelSize)));
  return joined;
}

// With fewer and fewer levels of each colour until the file is small enough.
std::vector<unsigned char> encode(const cv::Mat& rgb)
{
  cv::Mat bgr;
  cv::cvtColor(rgb, bgr, cv::COLOR_RGB2BGR);
  std::vector<unsigned char> file;
  for (const int step : {1, 4, 8, 16, 32})
  {
    cv::Mat table(1, 256, CV_8UC1);
    for (int level = 0; level < 256; ++level)
      table.at<unsigned char>(level) = cv::saturate_cast<unsigned char>((level + step / 2) / step * step);
    cv::Mat coarse;
    cv::LUT(bgr, table, coarse);
    cv::imencode(".png", coarse, file, {cv::IMWRITE_PNG_COMPRESSION, 9});
    if (file.size() <= largestPicture)
      return file;
  }
  throw std::runtime_error("the picture does not fit into " + std::to_string(largestPicture) + " bytes");
}
}  // namespace

std::vector<unsigned char> drawExample(Filter& filter, const Example& example, const Photographs& photographs)
{
  MemoryManager memory;
  filter.setMemoryManager(&memory);
  const std::vector<DataList> runs = example.makeRuns(photographs);
  DataList outputs;
  for (const DataList& inputs : runs)
    outputs = filter.applyFilter(inputs, key(), key(), 0);
  filter.setMemoryManager(nullptr);

  const DataList& inputs = runs.back();
  std::vector<cv::Mat> panels;
  for (const DataPtr& input : inputs)
    if (input->type() != TypeTag::Array)
      addPanel(drawValue(input, nullptr), &panels);
  const std::size_t shown = panels.size();
  for (const DataPtr& output : outputs)
    addPanel(drawValue(output, inputs.front()), &panels);
  if (panels.size() == shown)
    throw std::runtime_error("the filter \"" + filter.getName() + "\" gives nothing on its example");
  return encode(join(panels));
}
}  // namespace ZR::Filtrix::FilterDocs
