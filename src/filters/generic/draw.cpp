#include "data/imagepool.h"
#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/inputas.h"
#include "filtrix/image.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

namespace ZR::Filtrix::Filters
{
namespace
{
using Pixel = cv::Vec3b;

struct NamedColor
{
  std::string_view name;
  Pixel color;
};

const NamedColor namedColors[] = {
    {"red", {255, 0, 0}}, {"green", {0, 255, 0}},     {"blue", {0, 0, 255}},
    {"black", {0, 0, 0}}, {"white", {255, 255, 255}},
};

// An unknown name counts as red, which is seen best.
Pixel colorNamed(std::string_view name)
{
  const auto* const found = std::ranges::find(namedColors, name, &NamedColor::name);
  return (found == std::end(namedColors) ? namedColors[0] : *found).color;
}

// Draws on an image; what lies outside is clipped. Coordinates are whole pixels, wide enough to reckon with the ends of
// the int range.
class Pen final
{
public:
  Pen(cv::Mat& image_, const Pixel& color_) : image(image_), color(color_) {}

  // From column `begin` to before `end`.
  void drawRow(std::int64_t begin, std::int64_t end, std::int64_t y) const
  {
    if (y < 0 || y >= image.rows)
      return;
    auto* const row = image.ptr<Pixel>(static_cast<int>(y));
    for (std::int64_t x = std::max<std::int64_t>(begin, 0); x < std::min<std::int64_t>(end, image.cols); ++x)
      row[x] = color;
  }

  // From row `begin` to before `end`.
  void drawColumn(std::int64_t begin, std::int64_t end, std::int64_t x) const
  {
    for (std::int64_t y = std::max<std::int64_t>(begin, 0); y < std::min<std::int64_t>(end, image.rows); ++y)
      drawRow(x, x + 1, y);
  }

  // Its end corner stays open.
  void drawOutline(const Type::Region2& region) const
  {
    const int left = truncateToInt(static_cast<double>(region.start.x));
    const int top = truncateToInt(static_cast<double>(region.start.y));
    const int right = truncateToInt(static_cast<double>(region.end.x));
    const int bottom = truncateToInt(static_cast<double>(region.end.y));
    for (const int y : {top, bottom})
      drawRow(left, right, y);
    for (const int x : {left, right})
      drawColumn(top, bottom, x);
  }

  // Its centre shines red, so that it is seen in every colour.
  void drawCross(const Type::Vector2& centre) const
  {
    constexpr std::int64_t arm = 3;
    const int x = truncateToInt(static_cast<double>(centre.x));
    const int y = truncateToInt(static_cast<double>(centre.y));
    drawRow(x - arm, x + arm + 1, y);
    drawColumn(y - arm, y + arm + 1, x);
    if (x >= 0 && x < image.cols && y >= 0 && y < image.rows)
      image.at<Pixel>(y, x)[0] = 255;
  }

private:
  cv::Mat& image;
  const Pixel color;
};

bool isNumber(const Type::Vector2& vector)
{
  return !std::isnan(vector.x) && !std::isnan(vector.y);
}

void drawMark(cv::Mat& image, const Data& mark, const std::string& color)
{
  const auto colorOr = [&](const char* usual) { return colorNamed(color.empty() ? usual : color); };
  const auto* const region = mark.get<Type::Region2>();
  if (region && isNumber(region->start) && isNumber(region->end))
    Pen(image, colorOr("red")).drawOutline(*region);
  const auto* const point = mark.get<Type::Vector2>();
  if (point && isNumber(*point))
    Pen(image, colorOr("black")).drawCross(*point);
}
}  // namespace

/// Draws rectangles and points on a colour image.
///
/// | Port  | Types            | Meaning                                                                              |
/// |-------|------------------|--------------------------------------------------------------------------------------|
/// | in    | ColorImage       | any size; it stays as it is                                                          |
/// | data  | Array            | a Region2 is an outline, a Vector2 a cross of 7 pixels each way; others are skipped  |
/// | color | String, optional | red, green, blue, black or white; another name counts as red                         |
/// | out   | ColorImage       | a copy with the marks; same source, time and fields of view                          |
///
/// Without a colour outlines are red and crosses black; the centre of a cross has full red always. An outline reaches
/// from its start to its end, whose own pixel is left out. Coordinates are pixels, truncated; what lies outside the
/// image is clipped, and a mark with a coordinate that is no number is left out. Missing inputs or other types give no
/// output. Stateless.
class Draw final : public GenericFilter
{
public:
  Draw() : GenericFilter("Draw", "Draws rectangles and points on a colour image.")
  {
    input("in");
    input("data");
    optionalInput("color");
    output("out");
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList Draw::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const auto* const image = inputAs<Type::ColorImage>(inputs, 0);
  const auto* const marks = inputAs<DataArray>(inputs, 1);
  if (!image || !marks)
    return {};

  cv::Mat drawing = makePooledMat(image->height(), image->width(), Type::ColorImage::matType);
  image->cvMat().copyTo(drawing);
  const auto* const color = inputAs<std::string>(inputs, 2);
  for (const DataPtr& mark : *marks)
  {
    if (mark)
      drawMark(drawing, *mark, color ? *color : std::string());
  }
  return {Type::toData(TypeTag::ColorImage, drawing, *inputs[0])};
}

FilterPtr makeDraw()
{
  return std::make_shared<Draw>();
}
}  // namespace ZR::Filtrix::Filters
