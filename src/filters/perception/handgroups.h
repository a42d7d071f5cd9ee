#pragma once

#include "filters/perception/handmovements.h"
#include "filtrix/data.h"
#include "filtrix/human.h"
#include "filtrix/object.h"

#include <opencv2/core/matx.hpp>

#include <array>
#include <string_view>
#include <vector>

/// Which of the movements about a person are hands, and whose: on the left, on the right or in the centre. Left and
/// right are the robot's: what moves to the left of a person whom the robot faces is on the left.
namespace ZR::Filtrix::Filters
{
/// A movement that may be one of a hand.
struct Hand
{
  DataPtr movement;
  cv::Vec3f place;              ///< robot frame
  Type::Vector3 position;       ///< from the top of the body: left, up and away, metres
  Type::Vector2 imagePosition;  ///< in pixels of the camera's frame
};

/// Those on the left, on the right and in the centre, in this order here and below.
using Hands = std::array<std::vector<Hand>, 3>;
using HandPaths = std::array<HandPath, 3>;

/// The hands among a person's movements: what is above the middle of the chest, not below the body's limit and not the
/// head itself.
///
/// How far one is to a side is measured in widths of the shoulders from the body's axis. The shoulder itself is at 0.5:
/// an arm that is raised beside the body moves beyond it, one that is held before the face or the chest stays within
/// 0.4. Between the two a movement belongs to the side if that side's hand was there a moment ago, so that a hand does
/// not change its group, and begin its history anew, with every few centimetres.
///
/// `paths` is where the hands were before. What does not say where it is gets logged under the category.
/// Sources: R. Drillis, R. Contini, "Body Segment Parameters", 1966 (chest); S. Pheasant, C. Haslegrave, "Bodyspace",
/// 3rd ed., 2006 (shoulders).
[[nodiscard]] Hands findHands(const Type::Human& human, const Type::Object3D& body, const HandPaths& paths,
                              std::string_view category);

/// Where the hand of a group is, as (left, up, away) from the top of the body, as the robot sees it, in metres: the
/// waving decision looks at the first two components, a wave goes across and up rather than to and from the robot, and
/// who walks or sits down takes his hands with him. It is the topmost of its movements, and the mean of what is one
/// hand with it. The others are elbows, or somebody behind. The group has at least one.
[[nodiscard]] Type::Vector3 handPosition(const std::vector<Hand>& hands);
}  // namespace ZR::Filtrix::Filters
