#include "platform/sim/stage.h"

#include <cmath>
#include <utility>

namespace ZR::Sim
{
Stage::Stage(Scene scene_) : theScene(std::move(scene_))
{
  _addMaterial({theScene.walls, nullptr, false});
  _addMaterial({theScene.floor, nullptr, theScene.floorIsShiny});
  _addMaterial({{238.0F, 238.0F, 234.0F}, nullptr, false});
  const cv::Vec3f middle = 0.5F * (theScene.roomStart + theScene.roomEnd);
  fixed.push_back(makeShape(Form::Room, middle, 0.5F * (theScene.roomEnd - theScene.roomStart)));
  for (const auto& [shape, color] : theScene.furniture)
  {
    fixed.push_back(shape);
    fixed.back().material = _addMaterial({color, nullptr, false});
  }
  for (const Actor& actor : theScene.actors)
  {
    motions.emplace_back(actor);
    clothes.push_back(_addMaterialsOf(actor));
  }
}

std::int16_t Stage::_addMaterial(Material material)
{
  theMaterials.push_back(std::move(material));
  return static_cast<std::int16_t>(theMaterials.size() - 1);
}

BodyMaterials Stage::_addMaterialsOf(const Actor& actor)
{
  const bool isPet = actor.kind == Actor::Kind::Pet;
  BodyMaterials result;
  result.skin = _addMaterial({isPet ? actor.hair : actor.skin, nullptr, false});
  if (isPet)
    return result;
  result.head = _addMaterial({actor.skin, std::make_shared<FaceTexture>(actor.skin, actor.hair), false});
  result.shirt = _addMaterial({actor.shirt, nullptr, false});
  result.trousers = _addMaterial({actor.trousers, nullptr, false});
  result.shoes = _addMaterial({{40.0F, 38.0F, 38.0F}, nullptr, false});
  return result;
}

std::vector<ActorState> Stage::statesAt(double time) const
{
  std::vector<ActorState> states;
  states.reserve(motions.size());
  for (const ActorMotion& motion : motions)
    states.push_back(motion.at(time));
  return states;
}

std::vector<Shape> Stage::shapesAt(double time) const
{
  std::vector<Shape> shapes = fixed;
  const std::vector<ActorState> states = statesAt(time);
  for (std::size_t i = 0; i < states.size(); ++i)
    addBody(shapes, theScene.actors[i], states[i], clothes[i], static_cast<std::int16_t>(i + 1));
  return shapes;
}

double Stage::sceneTime(double time) const
{
  const double rest = std::fmod(time, theScene.duration);
  return rest < 0.0 ? rest + theScene.duration : rest;
}
}  // namespace ZR::Sim
