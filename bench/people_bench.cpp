#include "filters/perception/perceptionfilters.h"
#include "tests/filters/filterkit.h"
#include "tests/filters/perception/peoplekit.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <vector>

// The filters on people, with as many as the argument says. A run of the tracker is to stay under 200 microseconds with
// 20 people and 20 tracks; a score under 20 microseconds a person plus the pass over its mask.
namespace ZR::Filtrix::Bench
{
namespace
{
using Test::HumanPtr;

std::vector<HumanPtr> makePeople(std::int64_t count, Time time)
{
  std::vector<HumanPtr> people;
  for (std::int64_t i = 0; i < count; ++i)
  {
    auto human = Test::makeBelievableHuman();
    human->setProperty(HumanProperty::Timestamp, makeData(time));
    human->setProperty(HumanProperty::GroundPositionInWorldFrame, makeData(static_cast<float>(i), 0.0F));
    human->setProperty(HumanProperty::GroundPositionInRobotFrame, makeData(static_cast<float>(i), 0.0F));
    human->setProperty(HumanProperty::AngularPosition, makeData(0.0F, 0.0F));
    human->setProperty(HumanProperty::MaxHeight, makeData(1.75F));
    people.push_back(human);
  }
  return people;
}

// The first half of the people comes and goes, so that tracks are continued, lost sight of and found again. Making the
// observations is not timed.
void track(benchmark::State& state)
{
  Test::FilterBench tracker(Filters::makeHumanTracker());
  std::int64_t step = 0;
  for (auto _ : state)
  {
    auto people = makePeople(state.range(0), Time::now());
    if (++step % 5 == 0)
      people.resize(people.size() / 2);
    const DataList inputs{Test::population(people), makeData(2.0e6F), makeData(10.0F),
                          makeData(10.0F),          makeData(0.5F),   makeData(0.0F, 0.0F, 1.1F, 0.0F, 0.0F, 0.0F)};
    const auto begin = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(tracker(inputs));
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
  }
  state.SetItemsProcessed(state.range(0) * state.iterations());
}

// Bounds for the scores that take some.
void score(benchmark::State& state, std::shared_ptr<UserFilter> (*make)(), const DataList& bounds)
{
  const auto filter = make();
  DataList inputs{Test::population(makePeople(state.range(0), Time(1)))};
  inputs.insert(inputs.end(), bounds.begin(), bounds.end());
  for (auto _ : state)
    benchmark::DoNotOptimize(filter->run(inputs));
  state.SetItemsProcessed(state.range(0) * state.iterations());
}

BENCHMARK(track)->Arg(1)->Arg(5)->Arg(20)->UseManualTime();
BENCHMARK_CAPTURE(score, bodySize, Filters::makeScoreBodySize,
                  {makeData(1.0F), makeData(2.0F), makeData(0.25F), makeData(1.0F)})
    ->Arg(20);
BENCHMARK_CAPTURE(score, visibleSize, Filters::makeScoreVisibleSize, {})->Arg(20);
BENCHMARK_CAPTURE(score, bodyDensity, Filters::makeScoreBodyDensity, {})->Arg(20);
BENCHMARK_CAPTURE(score, shapeIsVertical, Filters::makeScoreShapeIsVertical, {})->Arg(20);
BENCHMARK_CAPTURE(score, forNewTrack, Filters::makeScoreForNewTrack, {})->Arg(20);
}  // namespace
}  // namespace ZR::Filtrix::Bench
