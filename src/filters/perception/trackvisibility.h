#pragma once

#include "filtrix/human.h"
#include "filtrix/vectors.h"

#include <string_view>

namespace ZR::Filtrix::Filters
{
/// Tells whether a person who is not seen should be: its last place lies well within the middle of the camera's view.
/// `camera` is the camera's pose in the robot frame, metres and radians. The answer is written to the person's
/// `IsSupposedToBeVisible`. When something that it takes is missing this is logged, the answer is false and nothing is
/// written.
[[nodiscard]] bool isSupposedToBeVisible(Type::Human& human, const Type::Vector6& camera, std::string_view category);
}  // namespace ZR::Filtrix::Filters
