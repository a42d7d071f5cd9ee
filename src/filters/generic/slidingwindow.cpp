#include "data/imagepool.h"
#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filtrix/image.h"
#include "graph/filtermemory.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* category = "filtrix.filter.slidingwindow";

// 2^15 values of 16 bits still have a sum of 31.
constexpr int largestWindow = 1 << 15;

// sums[i] = update(sums[i], image[i]) for each element.
template <typename Pixel, typename Update>
void updateSums(cv::Mat& sums, const cv::Mat& image, const Update& update)
{
  for (int y = 0; y < image.rows; ++y)
  {
    const auto* const row = image.ptr<Pixel>(y);
    auto* const sum = sums.ptr<std::int32_t>(y);
    for (int i = 0; i < sums.cols; ++i)
      sum[i] = update(sum[i], std::int32_t{row[i]});
  }
}

template <typename Update>
void updateSums(cv::Mat& sums, const cv::Mat& image, const Update& update)
{
  if (image.depth() == CV_8U)
    updateSums<std::uint8_t>(sums, image, update);
  else
    updateSums<std::uint16_t>(sums, image, update);
}

// Rounded down. The half that is added outweighs every rounding of the product and never reaches the next quotient.
template <typename Pixel>
void divideSums(const cv::Mat& sums, std::size_t count, cv::Mat& mean)
{
  const double share = 1.0 / static_cast<double>(count);
  for (int y = 0; y < sums.rows; ++y)
  {
    const auto* const sum = sums.ptr<std::int32_t>(y);
    auto* const out = mean.ptr<Pixel>(y);
    for (int i = 0; i < sums.cols; ++i)
      out[i] = static_cast<Pixel>(static_cast<std::int32_t>((sum[i] + 0.5) * share));
  }
}

// The last images of one scope and their sum.
class Window final
{
public:
  // The mean of the last `size` images, this one included.
  cv::Mat slide(TypeTag imageType, const cv::Mat& image, std::size_t size)
  {
    const std::lock_guard guard(lock);
    if (imageType != type || images.empty() || image.size() != images.front().size())
      _restart(imageType, image);
    while (images.size() >= size)
    {
      updateSums(sums, images.front(), std::minus<>());
      images.pop_front();
    }
    // Pixels that the image does not own may be gone after this run.
    images.push_back(image.u != nullptr ? image : image.clone());
    updateSums(sums, image, std::plus<>());
    return _mean();
  }

private:
  void _restart(TypeTag imageType, const cv::Mat& image)
  {
    type = imageType;
    images.clear();
    sums = cv::Mat::zeros(image.rows, image.cols * image.channels(), CV_32S);
  }

  [[nodiscard]] cv::Mat _mean() const
  {
    const cv::Mat& image = images.back();
    cv::Mat mean = makePooledMat(image.rows, image.cols, image.type());
    if (image.depth() == CV_8U)
      divideSums<std::uint8_t>(sums, images.size(), mean);
    else
      divideSums<std::uint16_t>(sums, images.size(), mean);
    return mean;
  }

  std::mutex lock;  // two pulls of one node may meet; a leaf lock on all below
  TypeTag type = TypeTag::Invalid;
  std::deque<cv::Mat> images;
  cv::Mat sums;  // per element of a row, channels side by side
};

// The scope's window, made the first time. The value keeps it alive.
DataPtr windowOf(FilterMemory& memory, const ProcessKey& processKey, const ProcessKey& scopeKey)
{
  DataPtr state = memory.getMemory(processKey, scopeKey);
  if (!state)
  {
    state = makeData(std::shared_ptr<void>(std::make_shared<Window>()));
    memory.setMemory(processKey, scopeKey, state);
  }
  return state;
}
}  // namespace

/// The mean of the last images, element by element, rounded down.
///
/// | Port | Types                                | Meaning                                    |
/// |------|--------------------------------------|--------------------------------------------|
/// | in   | ColorImage GrayscaleImage DepthImage | the new image                              |
/// | size | Integer                              | how many images, from 1 to 32768, this too |
/// | out  | as `in`                              | size, source, time and fields as `in`      |
///
/// Until `size` images have come, the mean of those. Depths of 0 count like all others. Keeps the images, as many as
/// asked for, and their running sum per scope, so a run costs the same for every size; an image of another type or size
/// starts afresh.
///
/// A missing input or a size that is no Integer gives no output; another type of image is also logged, on
/// "filtrix.filter.slidingwindow".
class SlidingWindow final : public GenericFilter
{
public:
  SlidingWindow() : GenericFilter("SlidingWindow", "Gives the mean of the last images.")
  {
    input("in", {TypeTag::ColorImage, TypeTag::GrayscaleImage, TypeTag::DepthImage});
    input("size", {TypeTag::Integer});
    output("out");
  }

  [[nodiscard]] bool isStateful() const override { return true; }

  DataList applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                       std::uint64_t) override;
};

DataList SlidingWindow::applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                                    std::uint64_t)
{
  if (inputs.size() != 2 || typeOf(inputs[1]) != TypeTag::Integer)
    return {};
  const TypeTag type = typeOf(inputs[0]);
  if (!isOneOf(type, {TypeTag::ColorImage, TypeTag::GrayscaleImage, TypeTag::DepthImage}))
  {
    logInvalidInput(category, "SlidingWindow");
    return {};
  }

  const auto size = static_cast<std::size_t>(std::clamp(inputs[1]->toInt(), 1, largestWindow));
  const DataPtr state = windowOf(*getMemoryManager(), processKey, scopeKey);
  const cv::Mat mean = static_cast<Window*>(state->rawPointer())->slide(type, Type::toCvMat(*inputs[0]), size);
  return {Type::toData(type, mean, *inputs[0])};
}

FilterPtr makeSlidingWindow()
{
  return std::make_shared<SlidingWindow>();
}
}  // namespace ZR::Filtrix::Filters
