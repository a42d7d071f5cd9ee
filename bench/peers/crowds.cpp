#include "bench/graphs.h"
#include "bench/peers/measurements.h"
#include "bench/peers/processlist.h"
#include "program/filtrixprivate.h"

#include <fmt/core.h>

#include <sys/resource.h>

#include <cmath>
#include <stdexcept>
#include <thread>

namespace ZR::Filtrix::Bench
{
namespace
{
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

double processorSeconds()
{
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time)
  { return static_cast<double>(time.tv_sec) + 1.0e-6 * static_cast<double>(time.tv_usec); };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The share of one core, in per cent, that the program takes while this thread sleeps.
double loadOver(std::chrono::milliseconds length)
{
  const double before = processorSeconds();
  const auto begin = Clock::now();
  std::this_thread::sleep_for(length);
  return 100.0 * (processorSeconds() - before) / Seconds(Clock::now() - begin).count();
}

std::string nameOf(std::size_t index)
{
  return fmt::format("crowd.{}", index);
}

void create(FiltrixPrivate& registry, std::size_t index, std::uint32_t priority, float frequency)
{
  if (!registry.createProcess(nameOf(index), "Fresh", priority, frequency, Duration(), {{"in0", "source"}},
                              {{"out", "out"}}, {}, {}))
    throw std::runtime_error("process " + nameOf(index) + " could not be created");
}

void prepare(FiltrixPrivate& registry)
{
  if (!registry.addFilter(std::make_shared<Fresh>()) || !registry.createSource("source") ||
      !registry.setData("source", makeData(1)))
    throw std::runtime_error("the filter and the source could not be made");
}

// A waiting crowd: every process has run once and is not due again for a quarter of an hour. One has priority 1 and the
// others 8, so that a cycle is as long as it can be.
void measureWaiting(Report& report, std::size_t count)
{
  FiltrixPrivate registry(2);
  prepare(registry);
  const double creation = nanosecondsOf(
      [&]
      {
        for (std::size_t i = 0; i < count; ++i)
          create(registry, i, i == 0 ? 1 : Process::maxPriority, 0.001F);
      });
  report.add({fmt::format("{} processes: creation of all", count), "", creation * 1.0e-9, "s", Goal{10.0}, {}});
  for (std::size_t i = 0; i < count; ++i)
  {
    if (!registry.getData(nameOf(i) + ":out"))
      throw std::runtime_error("process " + nameOf(i) + " gave no value");
  }
  registry.startScheduler();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  report.add({fmt::format("{} processes: idle, nothing due", count),
              "",
              loadOver(std::chrono::seconds(4)),
              "%",
              Goal{1.0},
              {}});
}

// What a worker takes that finds the queue empty, with a cycle as long as it can be.
void measureRefill(Report& report, std::size_t count)
{
  std::vector<ProcessPtr> processes;
  for (std::size_t i = 0; i < count; ++i)
    processes.push_back(std::make_shared<Process>(nameOf(i), i == 0 ? 1U : Process::maxPriority, 10.0F, Duration()));
  const ProcessList registry(std::move(processes));
  Scheduler scheduler(registry, 2);
  const auto takeJob = [&]() -> std::size_t
  {
    const Job job = scheduler.nextJob();
    if (!job.process)
      return 0;
    scheduler.finishJob(job.process);
    return 1;
  };
  const std::size_t length = (count - 1) * (std::size_t{1} << (Process::maxPriority - 1)) + 1;
  // Up to the first job, whenever it is that the list is really built.
  const double rebuilding = nanosecondsOf(
      [&]
      {
        scheduler.rebuildJobs();
        for (int calls = 0; takeJob() == 0; ++calls)
        {
          if (calls == 10)
            throw std::runtime_error("no job has come from a list built anew");
        }
      });
  const auto takeTheRest = [&](std::size_t given)
  {
    for (std::size_t calls = 0; given < length; ++calls)
    {
      if (calls > length)
        throw std::runtime_error(fmt::format("expected {} jobs in a turn, got {}", length, given));
      given += takeJob();
    }
  };
  takeTheRest(1);
  std::vector<double> refills;
  for (int turn = 0; turn < 7; ++turn)
  {
    // The call that refills may give a job or not; the turn ends when all have been given.
    std::size_t given = 0;
    refills.push_back(nanosecondsOf([&] { given += takeJob(); }));
    takeTheRest(given);
  }
  report.add({fmt::format("{} processes: refill of {} jobs", count, length),
              "",
              quantile(refills, 0.5) * 1.0e-6,
              "ms",
              Goal{20.0},
              {}});
  report.add({fmt::format("{} processes: list built anew", count), "", rebuilding * 1.0e-6, "ms", {}, {}});
}

// When a process has run first and last, and how often since then.
struct Beats
{
  Clock::time_point first;
  Clock::time_point last;
  std::size_t since = 0;

  void add()
  {
    last = Clock::now();
    if (first == Clock::time_point())
      first = last;
    else
      ++since;
  }

  // How far the rate is off, as a share of the one asked for; a process that has not run twice has none.
  [[nodiscard]] double deviation(double asked) const
  {
    return since == 0 ? 1.0 : std::abs(static_cast<double>(since) / Seconds(last - first).count() / asked - 1.0);
  }
};

void measureRates(Report& report)
{
  constexpr std::size_t count = 1000;
  constexpr float rates[] = {5.0F, 10.0F, 15.0F, 20.0F, 30.0F};
  std::vector<Beats> beats(count);
  const auto rateOf = [&](std::size_t i) { return rates[i % std::size(rates)]; };
  FiltrixPrivate registry(2);
  prepare(registry);
  for (std::size_t i = 0; i < count; ++i)
  {
    create(registry, i, static_cast<std::uint32_t>(1 + i % Process::maxPriority), rateOf(i));
    // A process runs on one worker at a time, and the pool has ended before the beats are read.
    if (!registry.createEvent("beat", nameOf(i) + ":out", [&beats, i](const DataPtr&) { beats[i].add(); }))
      throw std::runtime_error("no event could be made for process " + nameOf(i));
  }
  registry.startScheduler();
  const double load = loadOver(std::chrono::seconds(8));
  registry.stopScheduler();

  std::vector<double> deviations;
  for (std::size_t i = 0; i < count; ++i)
    deviations.push_back(100.0 * beats[i].deviation(static_cast<double>(rateOf(i))));
  report.add({"1000 processes at 5 to 30 Hz: rates off by", "worst", quantile(deviations, 1.0), "%", Goal{5.0}, {}});
  report.add({"the same", "median", quantile(deviations, 0.5), "%", {}, {}});
  report.add({"the same: processor time", "one core", load, "%", {}, {}});
}
}  // namespace

void measureCrowds(Report& report, const Settings& settings)
{
  measureRates(report);
  measureRefill(report, settings.processes);
  measureWaiting(report, 1000);
  measureWaiting(report, settings.processes);
}
}  // namespace ZR::Filtrix::Bench
