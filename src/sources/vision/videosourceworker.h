#pragma once

#include "filtrix/data.h"
#include "filtrix/ku/clock.h"
#include "filtrix/zrimage.h"
#include "platform/cameraservice.h"
#include "sources/servicecalls.h"
#include "sources/sourceworkers.h"
#include "sources/vision/stereo.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace ZR::Filtrix
{
class CameraAccess;
class FiltrixPrivate;

/// The camera by the service's numbers, in the resolution and colour space that a source offers.
struct CameraView
{
  int camera = 0;
  int colorSpace = 0;
  int resolution = 0;
};

/// Connects one source to the camera service: subscribes while the source is wanted, itself or the synchronized one
/// beside it, brings each new frame to it, and follows the rate at which it is wanted. A frame is new when its time
/// differs from that of the last one, be it earlier. Its pixels are copied once; it carries its time both in the image
/// and in the value.
///
/// Nothing that the service does ends it: a failure is logged and the round is over; a subscription that failed stays
/// so, and the source is silent from then on. Without a service the source is silent until there is one. A subscription
/// whose fetches have failed for a second counts as lost, as it is when the service has been started anew: the source
/// has no value then, and the worker subscribes again, once a second until it succeeds. A frame that is not of the size
/// and colour space that were asked for is refused before a pixel is read. Frames whose times go back are told of once.
///
/// While it is subscribed, rounds follow one another and the fetch gives the pace; a service that answers at once with
/// nothing new is asked again after a while. While nobody wants the source, the worker looks five times a second
/// whether somebody does, and that is all it costs.
///
/// On camera 3, a stereo head, the frame's left half is rectified with the head's calibration and delivered; as it is
/// when there is none.
///
/// Log category "filtrix.videosourceworker".
class VideoSourceWorkerBase : public SourceWorker
{
public:
  VideoSourceWorkerBase(const std::shared_ptr<FiltrixPrivate>& registry_, std::shared_ptr<CameraAccess> cameras_,
                        std::string sourceName_, const CameraView& view_);

  [[nodiscard]] std::string getName() const override { return "VideoSourceWorker." + sourceName; }

  std::chrono::microseconds step() override;
  void close() override;

  [[nodiscard]] SourceFigures getFigures() const override { return progress.get(); }

  /// The next frame as a value; null when there is none, no new one, or none that can be used.
  [[nodiscard]] virtual DataPtr getImage() = 0;

protected:
  /// Fetches a record, makes an image of it, and gives the record back.
  template <typename Make>
  [[nodiscard]] DataPtr _takeImage(const Make& make);

  /// The record's pixels in a matrix of their own, of a stereo head the rectified left view. Throws what is wrong with
  /// the record.
  [[nodiscard]] cv::Mat _copyPixels(const ZRImage& record, int matType);

  [[nodiscard]] const std::string& _getSourceName() const noexcept { return sourceName; }

private:
  [[nodiscard]] float _demand() const;
  std::chrono::microseconds _subscribe(float demand);
  std::chrono::microseconds _deliver(float demand);
  void _end();
  [[nodiscard]] bool _isLost() const;
  std::chrono::microseconds _giveUp();
  void _unsubscribe(ServiceCalls& with);
  void _updateFrameRate(float demand);
  void _publish(const DataPtr& image);
  [[nodiscard]] int _serviceResolution();
  void _requireSound(const ZRImage& record) const;
  [[nodiscard]] bool _isStereo() const noexcept;
  [[nodiscard]] bool _isClosed() const;

  const std::weak_ptr<FiltrixPrivate> registry;
  const std::shared_ptr<CameraAccess> cameras;
  const std::string sourceName;
  const std::string synchronizedName;
  const CameraView view;
  SourceProgress progress;

  // For the thread of the round alone.
  ServiceCalls calls;
  std::string subscriptionId;                         // empty: not subscribed
  std::shared_ptr<const CameraProxy> proxy;           // of the subscription; null: it is one without a camera
  bool failed = false;                                // for good
  bool isAnew = false;                                // there was a subscription, and it was lost
  std::optional<ku::Clock::time_point> failingSince;  // fetches have, without a break
  std::int64_t lastTimestamp = 0;                     // microseconds
  bool isBackwardsTold = false;                       // that times go back
  int frameRate = 0;                                  // 0: that of the subscription
  std::chrono::microseconds pause{0};                 // after the last fetch
  vision::Stereo stereo;

  mutable std::mutex mutex;  // guards the two below; a leaf
  std::string openId;        // what there is to be unsubscribed
  bool closed = false;
};

template <typename Image>
class VideoSourceWorker final : public VideoSourceWorkerBase
{
public:
  using VideoSourceWorkerBase::VideoSourceWorkerBase;

  [[nodiscard]] DataPtr getImage() override;
};
}  // namespace ZR::Filtrix
