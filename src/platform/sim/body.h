#pragma once

#include "platform/sim/actormotion.h"
#include "platform/sim/scene.h"
#include "platform/sim/shape.h"

#include <cstdint>
#include <vector>

namespace ZR::Sim
{
/// The materials of an actor, in this order behind each other.
struct BodyMaterials
{
  std::int16_t head = 0;  ///< skin with a face in front and hair behind and above
  std::int16_t skin = 0;
  std::int16_t shirt = 0;
  std::int16_t trousers = 0;
  std::int16_t shoes = 0;
};

/// An actor's shapes at a moment, in the world; none when he is away. A person's proportions are those of adults, as
/// shares of the height. Source: D. A. Winter, "Biomechanics and Motor Control of Human Movement", 4th ed., 2009.
void addBody(std::vector<Shape>& shapes, const Actor& actor, const ActorState& state, const BodyMaterials& materials,
             std::int16_t owner);

/// Above the ground, in metres, now.
[[nodiscard]] float topOf(const Actor& actor, const ActorState& state);

/// The middle of the head, and of the hands, in the world.
struct BodyPoints
{
  cv::Vec3f head;
  cv::Vec3f leftHand;
  cv::Vec3f rightHand;
};

[[nodiscard]] BodyPoints pointsOf(const Actor& actor, const ActorState& state);
}  // namespace ZR::Sim
