#pragma once

#include "platform/sim/actormotion.h"
#include "platform/sim/body.h"
#include "platform/sim/facetexture.h"
#include "platform/sim/scene.h"
#include "platform/sim/shape.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ZR::Sim
{
/// What a surface looks like.
struct Material
{
  Color color;
  std::shared_ptr<const FaceTexture> face;  ///< of heads
  bool isShiny = false;                     ///< gives the depth camera nothing back
};

/// A scene ready to be looked at, at any time. Thread-safe once made.
class Stage final
{
public:
  /// The room's shape is the first of all; these are its materials, by what of it is seen.
  static constexpr std::int16_t wallMaterial = 0;
  static constexpr std::int16_t floorMaterial = 1;
  static constexpr std::int16_t ceilingMaterial = 2;

  explicit Stage(Scene scene_);

  [[nodiscard]] const Scene& scene() const noexcept { return theScene; }

  [[nodiscard]] const std::vector<Material>& materials() const noexcept { return theMaterials; }

  /// Owner n is actor n - 1. Times are in the scene: from 0 to its duration.
  [[nodiscard]] std::vector<Shape> shapesAt(double time) const;

  [[nodiscard]] std::vector<ActorState> statesAt(double time) const;

  /// The moment of the scene, which begins again at its end, at a time since the robot's start.
  [[nodiscard]] double sceneTime(double time) const;

private:
  std::int16_t _addMaterial(Material material);
  BodyMaterials _addMaterialsOf(const Actor& actor);

  const Scene theScene;
  std::vector<Material> theMaterials;
  std::vector<Shape> fixed;  // the room and its furniture
  std::vector<ActorMotion> motions;
  std::vector<BodyMaterials> clothes;  // of the actors
};
}  // namespace ZR::Sim
