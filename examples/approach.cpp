// Somebody walks up to the robot.
//
//     range ──► Smooth ──► distance ──► Zone ──► zone
//
// A range finder publishes a distance twenty times a second. One filter takes the noise out of it, another names the
// zone that the walker is in. A process runs the two ten times a second and leaves their values at two sinks, and an
// event tells of each new zone.

#include "examples/approachfilters.h"
#include "exec/event.h"
#include "exec/memorymanager.h"
#include "exec/process.h"
#include "exec/scheduler.h"
#include "graph/filteradapter.h"
#include "graph/nodefilter.h"
#include "graph/nodesink.h"
#include "graph/nodesource.h"

#include <fmt/core.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>

using namespace ZR::Filtrix;
using Examples::Smooth;
using Examples::Zone;
using namespace std::chrono_literals;

namespace
{
// The scheduler asks it which processes there are.
class OneProcess final : public ProcessRegistry
{
public:
  explicit OneProcess(ProcessPtr process_) : process(std::move(process_)) {}

  void forEachProcess(const std::function<void(const ProcessPtr&)>& visit) const override { visit(process); }

  [[nodiscard]] bool isRegistered(const std::string& name) const override { return name == process->getName(); }

private:
  const ProcessPtr process;
};

NodeSinkPtr makeSink(const std::string& name, const PortPtr& output)
{
  auto sink = std::make_shared<NodeSink>(name);
  sink->getInput()->addLink(output);
  return sink;
}
}  // namespace

int main()
{
  MemoryManager memory;
  const auto smooth = std::make_shared<FilterAdapter>(std::make_shared<Smooth>());
  smooth->setMemoryManager(&memory);
  const auto zone = std::make_shared<FilterAdapter>(std::make_shared<Zone>());

  const auto range = std::make_shared<NodeSource>("range");
  const auto smoothNode = std::make_shared<NodeFilter>("smooth", smooth);
  const auto zoneNode = std::make_shared<NodeFilter>("zone", zone);
  smoothNode->findInput("range")->addLink(range->getOutput());
  zoneNode->findInput("distance")->addLink(smoothNode->findOutput("distance"));

  const NodeSinkPtr distanceSink = makeSink("distance", smoothNode->findOutput("distance"));
  const NodeSinkPtr zoneSink = makeSink("zone", zoneNode->findOutput("zone"));
  std::atomic<int> lastZone{0};
  zoneSink->addEvent(std::make_shared<Event>(
      [&](const DataPtr& value)
      {
        const int now = value->toInt();
        if (lastZone.exchange(now) != now)
          fmt::print("        the walker is in zone {}\n", now);
      }));

  const auto process = std::make_shared<Process>("approach", 3, 10.0F, Duration(0));
  process->addSource(range);
  process->addNode(smoothNode);
  process->addNode(zoneNode);
  process->addSink(distanceSink);
  process->addSink(zoneSink);
  const OneProcess registry(process);
  Scheduler scheduler(registry, 2);
  scheduler.rebuildJobs();
  scheduler.start();

  fmt::print("time s  measured m  smoothed m  zone\n");
  std::mt19937 random(1);
  std::normal_distribution<float> noise(0.0F, 0.05F);
  for (int step = 0; step <= 80; ++step)
  {
    const float measured = 4.0F - 0.04F * static_cast<float>(step) + noise(random);
    range->setData(makeData(measured));
    std::this_thread::sleep_for(50ms);
    const DataPtr distance = distanceSink->getLastData();
    if (step % 10 == 0 && distance)
      fmt::print("{:6.1f}  {:10.2f}  {:10.2f}  {:4}\n", step * 0.05, measured, distance->toFloat(),
                 zoneSink->getLastData()->toInt());
  }
  scheduler.stop();
  return lastZone == 1 ? 0 : 1;
}
