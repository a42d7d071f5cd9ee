#include "filters/perception/facedetector.h"

#include "filters/generic/genericfilters.h"
#include "filters/generic/xmltext.h"
#include "filters/perception/cascade.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"
#include "filtrix/ku/path.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <exception>
#include <tuple>
#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* cascadeName = "lbpcascades/lbpcascade_frontalface.xml";

/// From one size of the window to the next.
constexpr float scaleFactor = 1.2F;

/// A face is found where so many windows agree.
constexpr int minNeighbors = 3;

std::string findCascade()
{
  auto path = ku::path::findData("zorqa/vision", cascadeName);
  if (!path)
    path = ku::path::findData("opencv4", cascadeName);
  return path ? path->string() : std::string();
}
}  // namespace

FaceDetector::FaceDetector(const std::string& category) : luminance(makeLuminance()), key("faces")
{
  const std::string found = findCascade();
  if (found.empty())
  {
    ku::log::error(category, "Could not find file {}", cascadeName);
    return;
  }
  try
  {
    std::string text = readSmallFile(found);
    idle.push_back(readCascade(text));
    cascade = std::move(text);
  }
  catch (const std::exception& error)
  {
    ku::log::error(category, "Could not load cascade file {}: {}", found, error.what());
    return;
  }
  ku::log::info(category, "Loaded file {}", found);
}

std::vector<cv::Rect> FaceDetector::detect(const Data& image, const cv::Rect& part, float enlargement) const
{
  std::vector<cv::Rect> faces;
  auto classifier = part.empty() ? nullptr : take();
  if (!classifier)
    return faces;
  cv::Mat gray = toGray(image, part);
  if (enlargement > 1.0F)
    cv::resize(gray, gray, {}, static_cast<double>(enlargement), static_cast<double>(enlargement));
  classifier->detectMultiScale(gray, faces, static_cast<double>(scaleFactor), minNeighbors);
  {
    const std::lock_guard guard(mutex);
    idle.push_back(std::move(classifier));
  }
  const auto reduced = [enlargement](int length) { return static_cast<int>(static_cast<float>(length) / enlargement); };
  for (cv::Rect& face : faces)
  {
    if (enlargement > 1.0F)
      face = {reduced(face.x), reduced(face.y), reduced(face.width), reduced(face.height)};
    face += part.tl();
  }
  // The classifier searches with several threads, and gives the faces in the order in which they came to an end.
  std::ranges::sort(faces, {}, [](const cv::Rect& face) { return std::tuple(face.y, face.x, face.width); });
  return faces;
}

cv::Mat FaceDetector::toGray(const Data& image, const cv::Rect& part) const
{
  const cv::Mat pixels = Type::toCvMat(image)(part);
  if (image.type() != TypeTag::ColorImage)
    return pixels;
  const DataPtr colour = Type::toData(TypeTag::ColorImage, pixels, image);
  return Type::toCvMat(*luminance->applyFilter({colour}, key, key, 0).front());
}

FaceDetector::Classifier FaceDetector::take() const
{
  if (!isLoaded())
    return nullptr;
  {
    const std::lock_guard guard(mutex);
    if (!idle.empty())
    {
      auto classifier = std::move(idle.back());
      idle.pop_back();
      return classifier;
    }
  }
  return readCascade(cascade);
}
}  // namespace ZR::Filtrix::Filters
