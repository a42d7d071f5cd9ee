#include "platform/sim/truth.h"

#include "platform/sim/robotbody.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ZR::Sim
{
namespace
{
constexpr float degreesPerRadian = 180.0F / std::numbers::pi_v<float>;
constexpr float visibleFaceAngle = 45.0F;  // degrees
constexpr float lookingAngle = 20.0F;      // degrees

// The pictures that are counted in; larger ones would tell the same.
constexpr int countedWidth = 160;
constexpr int countedHeight = 120;

int zoneOf(float x, float y, const ZoneLimits& limits)
{
  const float distance = std::hypot(x, y);
  const bool isAside = std::abs(std::atan2(y, x)) * degreesPerRadian > limits.degrees;
  if (distance > limits.second)
    return 3;
  if (distance > limits.first)
    return isAside ? 3 : 2;
  return isAside ? 2 : 1;
}

// Three times as wide and as high, so that who is half outside is seen whole.
View widened(View view)
{
  view.width *= 3;
  view.height *= 3;
  view.tanHalfWidth *= 3.0F;
  view.tanHalfHeight *= 3.0F;
  return view;
}

class Observer final
{
public:
  Observer(const Photographer& photographer_, double time)
      : stage(photographer_.stage()), sceneTime(stage.sceneTime(time)), shapes(stage.shapesAt(sceneTime)),
        depthView(photographer_.viewOf(Camera::depth, countedWidth, countedHeight, time)),
        colorView(photographer_.viewOf(Camera::top, countedWidth, countedHeight, time)),
        byDepth(count(depthView, shapes)), byColor(count(colorView, shapes))
  {
  }

  [[nodiscard]] PersonTruth tell(std::size_t actor, const ActorState& state, const ZoneLimits& zones) const
  {
    const Actor& person = stage.scene().actors[actor];
    PersonTruth truth;
    truth.id = static_cast<int>(actor) + 1;
    truth.name = person.name;
    truth.world = {state.x, state.y};
    truth.torso = truth.world;  // the torso stands upright above the world's origin
    truth.distance = std::hypot(state.x, state.y);
    truth.bearing = std::atan2(state.y, state.x);
    truth.height = topOf(person, state);
    truth.isSitting = state.sitting > 0.5F;
    truth.isMoving = state.walking > 0.5F;
    truth.zone = zoneOf(state.x, state.y, zones);
    tellWhatIsSeen(truth, static_cast<std::int16_t>(actor + 1));
    tellGaze(truth, person, state);
    tellWaving(truth, person, state);
    return truth;
  }

private:
  [[nodiscard]] std::vector<PixelCount> count(const View& view, const std::vector<Shape>& seen) const
  {
    return countPixels(cast(seen, view), seen, view, stage.materials(), stage.scene().actors.size() + 1);
  }

  void tellWhatIsSeen(PersonTruth& truth, std::int16_t owner) const
  {
    std::vector<Shape> alone;
    std::ranges::copy_if(shapes, std::back_inserter(alone),
                         [owner](const Shape& shape) { return shape.owner == owner; });
    const auto index = static_cast<std::size_t>(owner);
    const PixelCount whole = count(widened(depthView), alone)[index];
    truth.visible = whole.all > 0 ? static_cast<float>(byDepth[index].all) / static_cast<float>(whole.all) : 0.0F;
    truth.headIsVisible = whole.head > 0 && 2 * byDepth[index].head >= whole.head;
    const PixelCount wholeInColor = count(widened(colorView), alone)[index];
    truth.faceIsVisible = wholeInColor.face > 0 && 20 * byColor[index].face >= 19 * wholeInColor.face;
  }

  void tellGaze(PersonTruth& truth, const Actor& person, const ActorState& state) const
  {
    const cv::Vec3f head = pointsOf(person, state).head;
    const auto& camera = colorView.pose.getTranslation();
    const float toCamera = std::atan2(static_cast<float>(camera.y) - head[1], static_cast<float>(camera.x) - head[0]);
    const float away = std::abs(std::remainder(toCamera - state.headYaw, 2.0F * std::numbers::pi_v<float>));
    truth.isLooking = away * degreesPerRadian < lookingAngle;
    truth.faceIsVisible = truth.faceIsVisible && away * degreesPerRadian < visibleFaceAngle;
  }

  static void tellWaving(PersonTruth& truth, const Actor& person, const ActorState& state)
  {
    const BodyPoints points = pointsOf(person, state);
    const auto wave = [&](float up, const cv::Vec3f& hand)
    {
      if (up < 0.5F)
        return;
      // To the left of the line from the robot to the body.
      const bool isLeft = state.x * hand[1] - state.y * hand[0] > 0.0F;
      (isLeft ? truth.wavesLeft : truth.wavesRight) = true;
    };
    wave(state.leftArmUp, points.leftHand);
    wave(state.rightArmUp, points.rightHand);
  }

  const Stage& stage;
  const double sceneTime;
  const std::vector<Shape> shapes;
  const View depthView;
  const View colorView;
  const std::vector<PixelCount> byDepth;
  const std::vector<PixelCount> byColor;
};

nlohmann::json toJson(const GroundPlace& place)
{
  return {place.x, place.y};
}

nlohmann::json toJson(const PersonTruth& person)
{
  return {{"id", person.id},
          {"name", person.name},
          {"world", toJson(person.world)},
          {"torso", toJson(person.torso)},
          {"distance", person.distance},
          {"bearing", person.bearing},
          {"height", person.height},
          {"visible", person.visible},
          {"head_visible", person.headIsVisible},
          {"face_visible", person.faceIsVisible},
          {"looking", person.isLooking},
          {"waves_left", person.wavesLeft},
          {"waves_right", person.wavesRight},
          {"sitting", person.isSitting},
          {"moving", person.isMoving},
          {"zone", person.zone}};
}
}  // namespace

FrameTruth truthAt(const Photographer& photographer, double time, const ZoneLimits& zones)
{
  FrameTruth truth;
  truth.time = time;
  const Stage& stage = photographer.stage();
  const std::vector<ActorState> states = stage.statesAt(stage.sceneTime(time));
  const Observer observer(photographer, time);
  for (std::size_t i = 0; i < states.size(); ++i)
  {
    if (states[i].isPresent && stage.scene().actors[i].kind == Actor::Kind::Person)
      truth.people.push_back(observer.tell(i, states[i], zones));
  }
  return truth;
}

nlohmann::json toJson(const FrameTruth& truth)
{
  nlohmann::json people = nlohmann::json::array();
  for (const PersonTruth& person : truth.people)
    people.push_back(toJson(person));
  return {{"time", truth.time}, {"people", std::move(people)}};
}
}  // namespace ZR::Sim
