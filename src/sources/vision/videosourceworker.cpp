#include "sources/vision/videosourceworker.h"

#include "data/imagepool.h"
#include "filtrix/cameraformats.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"
#include "program/filtrixprivate.h"
#include "sources/synchronizedsource.h"
#include "sources/vision/cameraaccess.h"
#include "sources/vision/robotcalibration.h"
#include "sources/vision/zrimagetocvmat.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
using std::chrono::microseconds;

constexpr const char* category = "filtrix.videosourceworker";

/// The stereo head: frames hold both views side by side.
constexpr int stereoCamera = 3;

// From one round to the next.
constexpr microseconds backToBack{10};
constexpr microseconds afterStaleFrame{2'000};
constexpr microseconds afterNothing{30'000};
constexpr microseconds whileUnwanted{200'000};
constexpr microseconds whileLost{1'000'000};

/// Fetches that have failed for so long will not succeed again under the same subscription.
constexpr std::chrono::seconds lossAfter(1);

// Frames per second.
constexpr float slowest = 1.0F;
constexpr float fastest = 30.0F;
constexpr float mostToAskFor = 1000.0F;

cv::Mat copyToPool(const cv::Mat& pixels)
{
  cv::Mat copy = makePooledMat(pixels.rows, pixels.cols, pixels.type());
  pixels.copyTo(copy);
  return copy;
}
}  // namespace

VideoSourceWorkerBase::VideoSourceWorkerBase(const std::shared_ptr<FiltrixPrivate>& registry_,
                                             std::shared_ptr<CameraAccess> cameras_, std::string sourceName_,
                                             const CameraView& view_)
    : registry(registry_), cameras(std::move(cameras_)), sourceName(std::move(sourceName_)),
      synchronizedName(SynchronizedSource::nameFor(sourceName)), view(view_), progress(sourceName), calls(category)
{
  if (!_isStereo())
    return;
  ku::log::verbose(category, "Stereo camera detected, loading calibration");
  vision::loadRobotCalibrations(sourceName, "calibration_liov4689_left.yml", "calibration_liov4689_right.yml", stereo);
}

microseconds VideoSourceWorkerBase::step()
{
  const float demand = _demand();
  if (demand <= 0.0F)
  {
    if (!subscriptionId.empty())
      _end();
    progress.enter(failed ? SourceState::Failed : SourceState::Unwanted);
    return whileUnwanted;
  }
  return subscriptionId.empty() ? _subscribe(demand) : _deliver(demand);
}

void VideoSourceWorkerBase::close()
{
  {
    const std::lock_guard lock(mutex);
    closed = true;
  }
  ServiceCalls own(category);  // this runs beside a round
  _unsubscribe(own);
}

float VideoSourceWorkerBase::_demand() const
{
  const auto alive = registry.lock();
  return alive ? std::max(alive->getSourceDemand(sourceName), alive->getSourceDemand(synchronizedName)) : 0.0F;
}

microseconds VideoSourceWorkerBase::_subscribe(float demand)
{
  proxy = failed ? nullptr : cameras->obtain();
  if (!proxy)
  {
    subscriptionId = sourceName;  // it counts as subscribed and stays silent
    progress.enter(failed ? SourceState::Failed : SourceState::Waiting);
    return whileUnwanted;
  }
  const int framesPerSecond = static_cast<int>(std::clamp(demand, slowest, mostToAskFor));
  std::string id;
  const bool isCalled = calls.make("Error when calling ZRVideoDevice::subscribeCamera: ",
                                   [&] {
                                     id = (*proxy)->subscribeCamera(sourceName, view.camera, _serviceResolution(),
                                                                    view.colorSpace, framesPerSecond);
                                   });
  if (isCalled && id.empty())
    calls.tell("Error when calling ZRVideoDevice::subscribeCamera.", "");
  if (id.empty())
    progress.fail();
  if (id.empty() && isAnew)
    return whileLost;  // the service may be on its way back
  failed = id.empty();
  progress.enter(failed ? SourceState::Failed : SourceState::Subscribed);
  if (failed)
    return backToBack;
  isAnew = false;
  subscriptionId = id;
  {
    const std::lock_guard lock(mutex);
    openId = id;
  }
  if (_isClosed())
    _unsubscribe(calls);
  return backToBack;
}

// Unwanted from now on.
void VideoSourceWorkerBase::_end()
{
  _publish(nullptr);
  _unsubscribe(calls);
  subscriptionId.clear();
  proxy.reset();
  frameRate = 0;
  failingSince.reset();
}

bool VideoSourceWorkerBase::_isLost() const
{
  return failingSince && ku::Clock::now() - *failingSince >= lossAfter;
}

// What is lost is not shown as if it were what the camera sees.
microseconds VideoSourceWorkerBase::_giveUp()
{
  ku::log::error(category,
                 "{}: fetching frames has failed for {} s; the subscription counts as lost, and is made anew.",
                 sourceName, lossAfter.count());
  isAnew = true;
  _end();
  progress.enter(SourceState::Lost);
  return backToBack;
}

void VideoSourceWorkerBase::_unsubscribe(ServiceCalls& with)
{
  std::string id;
  {
    const std::lock_guard lock(mutex);
    id.swap(openId);
  }
  const auto service = cameras->proxy();
  if (!service || id.empty())
    return;
  if (!with.make("Error when calling ZRVideoDevice::unsubscribe: ", [&] { (*service)->unsubscribe(id); }))
    progress.fail();
}

microseconds VideoSourceWorkerBase::_deliver(float demand)
{
  if (!proxy)
  {
    // A service that has come meanwhile is subscribed to in the next round.
    if (!failed && cameras->obtain())
      subscriptionId.clear();
    return whileUnwanted;
  }
  if (const DataPtr image = getImage())
    _publish(image);
  if (_isLost())
    return _giveUp();
  _updateFrameRate(demand);
  return pause;
}

template <typename Make>
DataPtr VideoSourceWorkerBase::_takeImage(const Make& make)
{
  pause = afterNothing;
  if (!proxy || failed)
    return nullptr;
  std::shared_ptr<const ZRImage> record;
  try
  {
    record = (*proxy)->getImageLocal(subscriptionId);
    failingSince.reset();
  }
  catch (...)
  {
    if (!failingSince)
      failingSince = ku::Clock::now();
    if (!_isClosed())  // else it ended because its subscription did
    {
      progress.fail();
      calls.make("Error when calling ZRVideoDevice::getImageLocal: ", [] { throw; });
    }
  }
  if (!record)
    return nullptr;
  DataPtr image;
  pause = afterStaleFrame;
  if (record->timestamp() != lastTimestamp)
  {
    pause = backToBack;
    if (record->timestamp() < lastTimestamp && !std::exchange(isBackwardsTold, true))
      ku::log::warning(category, "{}: the times of the frames go back, from {} to {} us", sourceName, lastTimestamp,
                       record->timestamp());
    lastTimestamp = record->timestamp();
    if (!calls.make("Can't grab image ! : ", [&] { image = make(*record); }))
      progress.refuse();
  }
  if (!_isClosed() &&
      !calls.make("Error when calling ZRVideoDevice::releaseImage: ", [&] { (*proxy)->releaseImage(subscriptionId); }))
    progress.fail();
  return image;
}

void VideoSourceWorkerBase::_updateFrameRate(float demand)
{
  const int wanted = static_cast<int>(std::clamp(demand, slowest, fastest) + 0.5F);
  if (wanted == frameRate || _isClosed())
    return;
  if (calls.make("Can't adapt the frame rate: ", [&] { (*proxy)->setFrameRate(subscriptionId, wanted); }))
    frameRate = wanted;
  else
    progress.fail();
}

void VideoSourceWorkerBase::_publish(const DataPtr& image)
{
  const auto alive = registry.lock();
  if (!alive || _isClosed())
    return;
  alive->setData(sourceName, image);
  if (image)
    progress.bring();
  else
    alive->setData(synchronizedName, nullptr);  // nor are the frames so far kept any longer
}

// Of a stereo head the pair's.
int VideoSourceWorkerBase::_serviceResolution()
{
  if (!_isStereo())
    return view.resolution;
  if (const auto pair = stereoResolution(view.resolution))
    return *pair;
  ku::log::error(category, "Invalid resolution {} for camera {} (source name: {})", view.resolution, view.camera,
                 sourceName);
  return view.resolution;
}

void VideoSourceWorkerBase::_requireSound(const ZRImage& record) const
{
  const int resolution = _isStereo() ? stereoResolution(view.resolution).value_or(view.resolution) : view.resolution;
  const CameraResolution* const size = findCameraResolution(resolution);
  const bool hasSize = size != nullptr ? record.width() == size->width && record.height() == size->height
                                       : record.width() > 0 && record.height() > 0;
  if (hasSize && record.colorSpace() == view.colorSpace && record.data() != nullptr)
    return;
  throw std::runtime_error(fmt::format("expected {} in colour space {}, came {} x {} in {}",
                                       size != nullptr ? fmt::format("{} x {}", size->width, size->height) : "a frame",
                                       view.colorSpace, record.width(), record.height(), record.colorSpace()));
}

// The only copy of the pixels on their way from the camera to the graph.
cv::Mat VideoSourceWorkerBase::_copyPixels(const ZRImage& record, int matType)
{
  _requireSound(record);
  const cv::Mat frame = vision::zrImageToCvMat(record, matType);
  if (!_isStereo())
    return copyToPool(frame);
  const cv::Mat left = frame.colRange(0, frame.cols / 2);
  return stereo.hasCalibrations() ? stereo.rectifyLeft(left) : copyToPool(left);
}

bool VideoSourceWorkerBase::_isStereo() const noexcept
{
  return view.camera == stereoCamera;
}

bool VideoSourceWorkerBase::_isClosed() const
{
  const std::lock_guard lock(mutex);
  return closed;
}

template <typename Image>
DataPtr VideoSourceWorker<Image>::getImage()
{
  return _takeImage(
      [this](const ZRImage& record)
      {
        const Time time(record.timestamp());
        const cv::Mat pixels = _copyPixels(record, Image::matType);
        // The view is taken as symmetric.
        DataPtr value = makeData(std::make_shared<Image>(pixels, _getSourceName(), time, 2.0F * record.angles().left,
                                                         2.0F * record.angles().top));
        value->setTimestamp(time);
        return value;
      });
}

template class VideoSourceWorker<Type::ColorImage>;
template class VideoSourceWorker<Type::DepthImage>;
}  // namespace ZR::Filtrix
