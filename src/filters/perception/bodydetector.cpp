#include "filters/perception/bodydetector.h"

#include "filtrix/image.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace ZR::Filtrix::Filters
{
namespace
{
/// The detector's window is 64 by 128 pixels; the body in it is 96 high, and about 36 wide.
constexpr float bodyInWindow = 96.0F;
constexpr float windowWidth = 64.0F;
constexpr float windowHeight = 128.0F;
constexpr float bodyWidth = 36.0F;

/// The smallest body that is sought, as a share of the expected one, and the steps of size up to the largest.
constexpr float smallest = 0.67F;
constexpr double sizeStep = 1.1;
constexpr int sizes = 9;

/// Windows that overlap by half are of one body.
constexpr float sameBody = 0.5F;

cv::Rect2f bodyOf(const cv::Rect& window)
{
  const auto width = static_cast<float>(window.width);
  const auto height = static_cast<float>(window.height);
  const cv::Size2f body(width * bodyWidth / windowWidth, height * bodyInWindow / windowHeight);
  const cv::Point2f middle(static_cast<float>(window.x) + 0.5F * width, static_cast<float>(window.y) + 0.5F * height);
  return {middle - cv::Point2f(0.5F * body.width, 0.5F * body.height), body};
}

struct Candidate
{
  cv::Rect2f body;
  double sureness;
};

cv::Rect2f meanOf(const std::vector<Candidate>& candidates, const cv::Rect2f& surest)
{
  cv::Rect2f sum;
  float weights = 0.0F;
  for (const Candidate& candidate : candidates)
  {
    const float common = (candidate.body & surest).area();
    if (common < sameBody * (candidate.body.area() + surest.area() - common))
      continue;
    const auto weight = static_cast<float>(candidate.sureness);
    sum.x += weight * candidate.body.x;
    sum.y += weight * candidate.body.y;
    sum.width += weight * candidate.body.width;
    sum.height += weight * candidate.body.height;
    weights += weight;
  }
  return {sum.x / weights, sum.y / weights, sum.width / weights, sum.height / weights};
}

// Where windows overlap the surest stands for all, but its box is the mean of them: one window alone comes in steps of
// eight pixels and a tenth of the size.
std::vector<cv::Rect2f> surestOf(std::vector<Candidate> candidates)
{
  std::ranges::stable_sort(candidates, std::ranges::greater(), &Candidate::sureness);
  std::vector<cv::Rect2f> surest;
  for (const Candidate& candidate : candidates)
  {
    const auto isSame = [&candidate](const cv::Rect2f& body)
    { return (body & candidate.body).area() > sameBody * std::min(body.area(), candidate.body.area()); };
    if (std::ranges::none_of(surest, isSame))
      surest.push_back(candidate.body);
  }
  for (cv::Rect2f& body : surest)
    body = meanOf(candidates, body);
  return surest;
}

struct Margins
{
  int left;
  int right;
  int top;
  int bottom;
};

// A body that reaches to the image's border has less room about it than the window wants: the border's pixels go on
// beyond it. Elsewhere there is room enough; but a crop must not be smaller than the window.
Margins marginsOf(const cv::Rect& crop, const cv::Size& frame, const cv::Size& scaled)
{
  constexpr int atBorder = 40;
  const int leastX = std::max(0, (static_cast<int>(windowWidth) - scaled.width + 1) / 2);
  const int leastY = std::max(0, (static_cast<int>(windowHeight) - scaled.height + 1) / 2);
  const auto margin = [](bool isAtBorder, int least) { return std::max(isAtBorder ? atBorder : 0, least); };
  return {margin(crop.x == 0, leastX), margin(crop.br().x == frame.width, leastX), margin(crop.y == 0, leastY),
          margin(crop.br().y == frame.height, leastY)};
}
}  // namespace

BodyDetector::BodyDetector()
{
  descriptor.setSVMDetector(cv::HOGDescriptor::getDefaultPeopleDetector());
  descriptor.nlevels = sizes;
}

std::vector<cv::Rect2f> BodyDetector::detect(const Data& image, const cv::Rect2f& part, float height,
                                             double leastSure) const
{
  const cv::Mat& pixels = Type::toCvMat(image);
  const cv::Rect2f frame(0.0F, 0.0F, static_cast<float>(pixels.cols), static_cast<float>(pixels.rows));
  const cv::Rect2f inside = part & frame;
  if (!(height >= 1.0F) || inside.area() < 1.0F)
    return {};
  const cv::Rect crop = cv::Rect(inside) & cv::Rect({}, pixels.size());
  if (crop.empty())
    return {};
  const float scale = bodyInWindow / (smallest * height);
  const cv::Size scaled(static_cast<int>(std::lround(static_cast<float>(crop.width) * scale)),
                        static_cast<int>(std::lround(static_cast<float>(crop.height) * scale)));
  cv::Mat window;
  cv::resize(pixels(crop), window, scaled, 0.0, 0.0, scale > 1.0F ? cv::INTER_LINEAR : cv::INTER_AREA);

  const Margins margins = marginsOf(crop, pixels.size(), scaled);
  cv::copyMakeBorder(window, window, margins.top, margins.bottom, margins.left, margins.right, cv::BORDER_REPLICATE);
  std::vector<cv::Rect> windows;
  std::vector<double> sureness;
  descriptor.detectMultiScale(window, windows, sureness, leastSure, cv::Size(8, 8), cv::Size(), sizeStep, 0.0);
  std::vector<Candidate> candidates;
  for (std::size_t i = 0; i < windows.size(); ++i)
  {
    cv::Rect2f body = bodyOf(windows[i] - cv::Point(margins.left, margins.top));
    body = {body.x / scale + static_cast<float>(crop.x), body.y / scale + static_cast<float>(crop.y),
            body.width / scale, body.height / scale};
    candidates.push_back({body, sureness[i]});
  }
  return surestOf(std::move(candidates));
}
}  // namespace ZR::Filtrix::Filters
