#include "sources/motionsourceworker.h"

#include "filtrix/ku/log.h"
#include "filtrix/vectors.h"
#include "program/filtrixprivate.h"
#include "sources/aside.h"

#include <fmt/format.h>

#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
using std::chrono::milliseconds;

constexpr const char* category = "filtrix.motionsourceworker";
constexpr const char* threadName = "MotionSrcWorker";
constexpr std::size_t coordinates = 6;

/// Each costs three sources, and a call of the service whenever one of them is wanted.
constexpr std::size_t mostSensors = 4096;

// How long the worker sleeps at least and at most.
constexpr milliseconds shortestDelay{1};
constexpr milliseconds longestDelay{1000};

/// A coordinate that changes by no more is not set anew: whoever runs on new positions stays at rest.
constexpr float smallestChange = 0.001F;

bool holds(const std::vector<std::string>& names, const std::string& name)
{
  return std::ranges::find(names, name) != names.end();
}

// By what name the service of this robot knows the sensor.
std::string substituteFor(const std::string& sensor, bool noDepthCamera, bool noTopCamera)
{
  if (sensor == "CameraDepth" && noDepthCamera)
    return noTopCamera ? "CameraLeft" : "CameraTop";
  return sensor == "CameraTop" && noTopCamera ? "CameraLeft" : sensor;
}

// What is wrong with a position; empty for nothing.
std::string faultOf(const std::vector<float>& position)
{
  if (position.size() != coordinates)
    return fmt::format("came {}", position.size());
  const auto bad = std::ranges::find_if_not(position, [](float x) { return std::isfinite(x); });
  return bad == position.end() ? std::string() : fmt::format("came {} as number {}", *bad, bad - position.begin() + 1);
}

bool hasChanged(const std::vector<float>& before, const std::vector<float>& now)
{
  if (before.empty())
    return true;
  for (std::size_t i = 0; i < coordinates; ++i)
  {
    if (std::abs(now[i] - before[i]) > smallestChange)
      return true;
  }
  return false;
}

milliseconds delayFor(float frequency)
{
  if (frequency <= 1.0F)
    return longestDelay;
  return std::max(shortestDelay, milliseconds(static_cast<std::int64_t>(1000.0F / frequency)));
}
}  // namespace

MotionSourceWorker::MotionSourceWorker(const std::shared_ptr<FiltrixPrivate>& registry_,
                                       std::shared_ptr<const MotionProxy> proxy_)
    : registry(registry_), proxy(std::move(proxy_)), calls(category)
{
  _findSensors();
  // Here rather than in `run`, so that a program which is loaded next finds them.
  _createSources(*registry_);
}

void MotionSourceWorker::interrupt()
{
  interrupted = true;
  alarm.interrupt();
}

std::vector<SourceFigures> MotionSourceWorker::getFigures() const
{
  std::vector<SourceFigures> figures;
  for (const Sensor& sensor : sensors)
  {
    for (const Position& position : sensor.positions)
      figures.push_back(position.progress->get());
  }
  return figures;
}

void MotionSourceWorker::run()
{
  ::pthread_setname_np(::pthread_self(), threadName);
  while (!interrupted && !registry.expired())
  {
    milliseconds delay = longestDelay;
    for (Sensor& sensor : sensors)
      delay = std::min(delay, _step(sensor));
    alarm.sleepFor(delay);
  }
}

void MotionSourceWorker::_findSensors()
{
  std::vector<std::string> names;
  if (proxy)
    calls.make("Error when calling ZRMotion::getSensorNames:", [&]
               { names = ask("ZRMotion::getSensorNames", [proxy = proxy] { return (*proxy)->getSensorNames(); }); });
  std::set<std::string> different;
  std::erase_if(names, [&](const std::string& name) { return !different.insert(name).second; });
  if (names.size() > mostSensors)
  {
    ku::log::warning(category, "the robot has {} sensors, expected at most {}: the others are left out", names.size(),
                     mostSensors);
    names.resize(mostSensors);
  }
  // A service that lists no sensors is no reason to believe that there is a stereo head.
  if (names.empty())
    return;
  const bool noDepthCamera = !holds(names, "CameraDepth");
  const bool noTopCamera = !holds(names, "CameraTop");
  for (const char* const name : {"CameraTop", "CameraDepth"})
  {
    if (!holds(names, name))
      names.emplace_back(name);
  }
  for (const std::string& name : names)
    sensors.push_back({substituteFor(name, noDepthCamera, noTopCamera),
                       {{{"Motion_" + name + "<TORSO>", MotionFrame::Torso, {}, {}},
                         {"Motion_" + name + "<ROBOT>", MotionFrame::Robot, {}, {}},
                         {"Motion_" + name + "<WORLD>", MotionFrame::World, {}, {}}}}});
}

void MotionSourceWorker::_createSources(FiltrixPrivate& alive) const
{
  const std::vector<std::string> existing = alive.getSources();
  for (const Sensor& sensor : sensors)
  {
    for (const Position& position : sensor.positions)
    {
      if (!holds(existing, position.sourceName))
        alive.createSource(position.sourceName);
    }
  }
}

milliseconds MotionSourceWorker::_step(Sensor& sensor)
{
  milliseconds delay = longestDelay;
  for (Position& position : sensor.positions)
    delay = std::min(delay, _update(sensor.serviceName, position));
  return delay;
}

// Gives the time until the position is wanted again.
milliseconds MotionSourceWorker::_update(const std::string& serviceName, Position& position)
{
  float frequency = 0.0F;
  if (const auto alive = registry.lock())
    frequency = alive->getSourceDemand(position.sourceName);
  const bool isWanted = frequency > 0.0F;
  position.progress->enter(isWanted ? SourceState::Subscribed : SourceState::Unwanted);
  if (!isWanted || interrupted)
    return longestDelay;
  const auto now = _getPosition(serviceName, position.frame);
  if (!now)
  {
    position.progress->fail();
    return delayFor(frequency);
  }
  std::string fault = faultOf(*now);
  if (!fault.empty() && fault != position.fault)
    ku::log::error(category, "{}: expected {} finite coordinates, {}", position.sourceName, coordinates, fault);
  position.fault = std::move(fault);
  if (!position.fault.empty())
    position.progress->refuse();
  if (position.fault.empty() && hasChanged(position.lastSent, *now))
    _publish(position, *now);
  return delayFor(frequency);
}

void MotionSourceWorker::_publish(Position& position, const std::vector<float>& now) const
{
  const auto alive = registry.lock();
  if (!alive || interrupted)
    return;
  const DataPtr value = makeData(Type::Vector6{now[0], now[1], now[2], now[3], now[4], now[5]});
  value->setTimestamp(Time::now());
  alive->setData(position.sourceName, value);
  position.progress->bring();
  position.lastSent = now;
}

// Nothing when the service has failed, which is told.
std::optional<std::vector<float>> MotionSourceWorker::_getPosition(const std::string& serviceName, MotionFrame frame)
{
  if (!proxy)
    return std::vector<float>(coordinates, 0.0F);
  std::optional<std::vector<float>> position;
  calls.make("Error when calling ZRMotion::getPosition:",
             [&] { position = (*proxy)->getPosition(serviceName, frame, true); });
  return position;
}
}  // namespace ZR::Filtrix
