#include "platform/sim/actormotion.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace ZR::Sim
{
namespace
{
constexpr float pi = std::numbers::pi_v<float>;

// Seconds that it takes to turn, to sit down, to raise an arm.
constexpr double turnTime = 0.6;
constexpr double lookTime = 0.5;
constexpr double sitTime = 1.2;
constexpr double raiseTime = 0.4;
constexpr double startTime = 0.3;

/// How far a neck turns.
constexpr float neckLimit = 1.3F;

/// Both ways, a hand goes this often a second.
constexpr double wavesPerSecond = 1.4;

float wrap(float angle)
{
  return std::remainder(angle, 2.0F * pi);
}

// From 0 at 0 to 1 at 1, without a jerk.
float smooth(double share)
{
  const auto s = static_cast<float>(std::clamp(share, 0.0, 1.0));
  return s * s * (3.0F - 2.0F * s);
}

// The last that has begun; null when none has.
template <typename Event>
const Event* lastOf(const std::vector<Event>& events, double time)
{
  const auto after =
      std::upper_bound(events.begin(), events.end(), time, [](double t, const Event& event) { return t < event.time; });
  return after == events.begin() ? nullptr : &*std::prev(after);
}

// 0 for off, 1 for on, in between while it changes.
template <typename Switch>
float level(const std::vector<Switch>& switches, double time, double changeTime)
{
  float result = 0.0F;
  for (const Switch& change : switches)
  {
    if (change.time > time)
      break;
    const float target = change.isOn ? 1.0F : 0.0F;
    result += (target - result) * smooth((time - change.time) / changeTime);
  }
  return result;
}

// The angle that the last turn leads to, on the way from the one before.
template <typename Turn, typename AngleOf>
float turnedTo(const std::vector<Turn>& turns, double time, double changeTime, const AngleOf& angleOf)
{
  const Turn* const turn = lastOf(turns, time);
  if (turn == nullptr)
    return angleOf(Turn{});
  const float goal = angleOf(*turn);
  const float before = angleOf(turn == turns.data() ? Turn{} : *(turn - 1));
  return before + wrap(goal - before) * smooth((time - turn->time) / changeTime);
}
}  // namespace

cv::Vec2f ActorMotion::Leg::place(double time) const
{
  if (time >= end)
    return to;
  return from + (to - from) * static_cast<float>((time - start) / (end - start));
}

float ActorMotion::Leg::walked(double time) const
{
  return walkedBefore + static_cast<float>(cv::norm(place(time) - from));
}

ActorMotion::ActorMotion(const Actor& actor) : pace(0.83F * actor.height)
{
  for (const Action& action : actor.actions)
    _add(action);
  // An end of waving may come after the next action of another kind.
  for (auto* const waves : {&leftWaves, &rightWaves})
    std::ranges::stable_sort(*waves, {}, &Switch::time);
}

void ActorMotion::_add(const Action& action)
{
  using Kind = Action::Kind;
  switch (action.kind)
  {
  case Kind::Place:
    legs.push_back({action.time, action.time, {action.x, action.y}, {action.x, action.y}, true, 0.0F});
    break;
  case Kind::Leave:
    legs.push_back({action.time, action.time, {}, {}, false, 0.0F});
    break;
  case Kind::Walk:
    _walk(action);
    break;
  case Kind::Face:
    bodyTurns.push_back({action.time, action.aim, action.angle});
    break;
  case Kind::Look:
    headTurns.push_back({action.time, action.aim, action.angle});
    break;
  case Kind::Sit:
  case Kind::Stand:
    sits.push_back({action.time, action.kind == Kind::Sit});
    break;
  case Kind::Wave:
    for (const auto& [waves, isOn] : {std::pair(&leftWaves, action.leftArm), std::pair(&rightWaves, action.rightArm)})
    {
      waves->push_back({action.time, isOn});
      if (isOn && action.seconds > 0.0)
        waves->push_back({action.time + action.seconds, false});
    }
    break;
  }
}

void ActorMotion::_walk(const Action& action)
{
  const Leg& before = legs.back();
  Leg leg;
  leg.start = action.time;
  leg.from = before.place(action.time);
  leg.to = {action.x, action.y};
  leg.end = leg.start + cv::norm(leg.to - leg.from) / static_cast<double>(action.speed);
  leg.isPresent = before.isPresent;
  leg.walkedBefore = before.walked(action.time);
  legs.push_back(leg);
}

const ActorMotion::Leg* ActorMotion::_legAt(double time) const
{
  const auto after =
      std::upper_bound(legs.begin(), legs.end(), time, [](double t, const Leg& leg) { return t < leg.start; });
  return after == legs.begin() ? nullptr : &*std::prev(after);
}

// Who walks turns where he goes; who has arrived goes on facing there until told otherwise.
float ActorMotion::_bodyAngle(const Turn& turn, double time) const
{
  const Leg& leg = *_legAt(time);
  const cv::Vec2f place = leg.place(time);
  const float toRobot = std::atan2(-place[1], -place[0]);
  switch (turn.aim)
  {
  case Action::Aim::Robot:
    return toRobot;
  case Action::Aim::Away:
    return toRobot + pi;
  case Action::Aim::Angle:
    return turn.angle;
  case Action::Aim::Ahead:
    break;
  }
  const cv::Vec2f way = leg.to - leg.from;
  return way[0] == 0.0F && way[1] == 0.0F ? toRobot : std::atan2(way[1], way[0]);
}

float ActorMotion::_bodyYaw(double time) const
{
  const float facing = turnedTo(bodyTurns, time, turnTime, [&](const Turn& turn) { return _bodyAngle(turn, time); });
  const Leg& leg = *_legAt(time);
  if (leg.end <= leg.start)
    return facing;
  // The way rules while he walks, from a moment after he sets out until a moment after he has arrived.
  const float along = _bodyAngle({0.0, Action::Aim::Ahead, 0.0F}, time);
  const float share = smooth((time - leg.start) / startTime) * (1.0F - smooth((time - leg.end) / turnTime));
  return facing + wrap(along - facing) * share;
}

float ActorMotion::_headAngle(const Turn& turn, double time, float bodyYaw) const
{
  if (turn.aim == Action::Aim::Ahead)
    return bodyYaw;
  return bodyYaw + std::clamp(wrap(_bodyAngle(turn, time) - bodyYaw), -neckLimit, neckLimit);
}

ActorState ActorMotion::at(double time) const
{
  ActorState state;
  const Leg* const leg = _legAt(time);
  if (leg == nullptr || !leg->isPresent)
    return state;
  state.isPresent = true;
  const cv::Vec2f place = leg->place(time);
  state.x = place[0];
  state.y = place[1];
  state.bodyYaw = wrap(_bodyYaw(time));
  const float headYaw =
      turnedTo(headTurns, time, lookTime, [&](const Turn& turn) { return _headAngle(turn, time, state.bodyYaw); });
  state.headYaw = wrap(headYaw);
  state.sitting = level(sits, time, sitTime);
  if (leg->end > leg->start)
    state.walking = smooth((time - leg->start) / startTime) * (1.0F - smooth((time - leg->end) / startTime));
  state.stride = std::fmod(2.0F * pi * leg->walked(time) / pace, 2.0F * pi);
  state.leftArmUp = level(leftWaves, time, raiseTime);
  state.rightArmUp = level(rightWaves, time, raiseTime);
  state.wavePhase =
      static_cast<float>(std::fmod(2.0 * std::numbers::pi * wavesPerSecond * time, 2.0 * std::numbers::pi));
  return state;
}
}  // namespace ZR::Sim
