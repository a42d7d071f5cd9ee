#pragma once

#include "filters/perception/objectextraction.h"
#include "filtrix/object.h"

#include <memory>
#include <optional>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// Objects put back into the frame that they were cut from: a depth image of their pixels alone.
struct Frame
{
  std::shared_ptr<Type::DepthImage> depth;
  CameraPoses poses;
};

/// The frame of some objects. Nothing when there is none among them that knows its images, sizes and poses; those that
/// do not, or that are of a frame of another size than the first, are left out.
[[nodiscard]] std::optional<Frame> assembleFrame(const std::vector<std::shared_ptr<Type::Object3D>>& objects);
}  // namespace ZR::Filtrix::Filters
