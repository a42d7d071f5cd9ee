#pragma once

#include "filtrix/ku/clock.h"
#include "platform/capture/capturerobot.h"
#include "platform/frames/waiter.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <memory>
#include <optional>

namespace ZR::Capture
{
struct Picture
{
  cv::Mat bgr;  ///< nobody changes it any more
  std::uint64_t number = 0;
  ku::Clock::time_point time;  ///< when it was taken or is to be seen
};

/// Pictures that come one after the other. Thread-safe: subscribers share what has been read.
class PictureInput
{
public:
  PictureInput() = default;
  PictureInput(const PictureInput&) = delete;
  PictureInput& operator=(const PictureInput&) = delete;
  virtual ~PictureInput() = default;

  /// Pictures per second.
  [[nodiscard]] virtual double rate() const = 0;

  /// The newest picture with this number or a higher one. Waits for it; nothing when none comes within a second.
  [[nodiscard]] virtual std::optional<Picture> next(std::uint64_t number, Waiter& waiter) = 0;
};

/// A film, or a camera or a stream, as the source is a file or not. Throws `CaptureError`.
[[nodiscard]] std::unique_ptr<PictureInput> openPictures(const CameraInput& input);
}  // namespace ZR::Capture
