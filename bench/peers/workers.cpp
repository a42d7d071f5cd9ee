#include "bench/graphs.h"
#include "bench/peers/measurements.h"
#include "bench/peers/processlist.h"
#include "exec/event.h"

#include <fmt/core.h>

#include <atomic>
#include <semaphore>
#include <stdexcept>
#include <thread>

namespace ZR::Filtrix::Bench
{
namespace
{
using Clock = std::chrono::steady_clock;

// Long enough for every thread that has nothing to do to have gone to sleep.
constexpr std::chrono::microseconds fallingAsleep(500);

// A filter that calls a function when it runs.
class Calling final : public FilterPrimitive
{
public:
  explicit Calling(std::function<void()> function_) : FilterPrimitive("Calling"), function(std::move(function_))
  {
    addInput("in")->addType(TypeTag::Integer);
    addOutput("out")->addType(TypeTag::Integer);
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override
  {
    function();
    return inputs;
  }

private:
  const std::function<void()> function;
};

// Processes that wait for the events of one source, and the two workers that run them.
class EventPool
{
public:
  EventPool(std::size_t count, const std::function<void()>& work)
      : graphs(makeGraphs(count, work)), registry(processesOf(graphs)),
        scheduler(std::make_shared<Scheduler>(registry, 2))
  {
    for (const Graph& graph : graphs)
      trigger.addEvent(std::make_shared<Event>(scheduler, graph.process));
    scheduler->rebuildJobs();
    scheduler->start();
  }

  EventPool(const EventPool&) = delete;
  EventPool& operator=(const EventPool&) = delete;

  ~EventPool() { scheduler->stop(); }

  void publish() { trigger.setData(makeData(1)); }

  void runOneAfterTheOther()
  {
    for (const Graph& graph : graphs)
      graph.process->run(Time::now());
  }

private:
  // Only their events run them: they are due at any time, and not on the list.
  static std::vector<Graph> makeGraphs(std::size_t count, const std::function<void()>& work)
  {
    std::vector<Graph> graphs;
    for (std::size_t i = 0; i < count; ++i)
    {
      graphs.push_back(makeChain(1, "p" + std::to_string(i), std::make_shared<Calling>(work)));
      graphs.back().process->setFrequency(1.0e6F);
      graphs.back().process->setPriority(0);
    }
    return graphs;
  }

  static std::vector<ProcessPtr> processesOf(const std::vector<Graph>& graphs)
  {
    std::vector<ProcessPtr> processes;
    for (const Graph& graph : graphs)
      processes.push_back(graph.process);
    return processes;
  }

  const std::vector<Graph> graphs;
  const ProcessList registry;
  const std::shared_ptr<Scheduler> scheduler;
  NodeSource trigger{"trigger"};
};

// When whoever was woken last had come to work, and the word that it has.
class Arrival
{
public:
  void note()
  {
    time.store(Clock::now());
    arrived.release();
  }

  // Nanoseconds from `wake` to `note`.
  double after(const std::function<void()>& wake)
  {
    std::this_thread::sleep_for(fallingAsleep);
    const auto begin = Clock::now();
    wake();
    if (!arrived.try_acquire_for(std::chrono::seconds(5)))
      throw std::runtime_error("the thread that was woken has not come within 5 s");
    return std::chrono::duration<double, std::nano>(time.load() - begin).count();
  }

private:
  std::atomic<Clock::time_point> time;
  std::counting_semaphore<> arrived{0};
};

// A thread that sleeps on a word in memory and notes its waking: nothing gets work to another thread sooner.
class FutexSleeper
{
public:
  explicit FutexSleeper(Arrival& arrival) : thread([this, &arrival] { _work(arrival); }) {}

  FutexSleeper(const FutexSleeper&) = delete;
  FutexSleeper& operator=(const FutexSleeper&) = delete;

  ~FutexSleeper()
  {
    ending = true;
    wake();
    thread.join();
  }

  void wake()
  {
    ++word;
    word.notify_one();
  }

private:
  void _work(Arrival& arrival)
  {
    for (std::uint32_t seen = 0;; ++seen)
    {
      word.wait(seen);
      if (ending)
        return;
      arrival.note();
    }
  }

  std::atomic<bool> ending{false};
  std::atomic<std::uint32_t> word{0};
  std::thread thread;
};

void measureWakeUp(Report& report, const Settings& settings)
{
  Arrival arrival;
  EventPool pool(1, [&] { arrival.note(); });
  FutexSleeper sleeper(arrival);
  std::vector<double> ours;
  std::vector<double> theirs;
  for (std::size_t i = 0; i < 40 * settings.rounds; ++i)
  {
    ours.push_back(arrival.after([&] { pool.publish(); }));
    theirs.push_back(arrival.after([&] { sleeper.wake(); }));
  }
  const auto add = [&](const char* what, double part, const Goal& goal)
  {
    const double our = quantile(ours, part);
    const double their = quantile(theirs, part);
    report.add(what, "futex hand-over", {our / their, our, their}, goal);
  };
  add("event to worker started, pool asleep: median", 0.5, {2.0, 1.15});
  add("the same: 99th percentile", 0.99, {3.0, 1.5});
}

// Arithmetic that cannot be shortened: `steps` of a linear congruential generator.
void work(std::uint64_t steps)
{
  thread_local std::atomic<std::uint64_t> state{1};
  std::uint64_t value = state.load(std::memory_order_relaxed);
  for (std::uint64_t i = 0; i < steps; ++i)
    value = value * 6364136223846793005U + 1442695040888963407U;
  state.store(value, std::memory_order_relaxed);
}

std::uint64_t stepsOf(double nanoseconds)
{
  constexpr std::uint64_t sample = 1'000'000;
  std::vector<double> times;
  for (int i = 0; i < 15; ++i)
    times.push_back(nanosecondsOf([] { work(sample); }));
  return static_cast<std::uint64_t>(nanoseconds / quantile(times, 0.5) * static_cast<double>(sample));
}

void measurePieces(Report& report, const Settings& settings)
{
  constexpr int pieces = 8;
  const std::uint64_t steps = stepsOf(100'000.0);
  std::counting_semaphore<> done(0);
  const auto waitForAll = [&]
  {
    for (int i = 0; i < pieces; ++i)
    {
      if (!done.try_acquire_for(std::chrono::seconds(5)))
        throw std::runtime_error(fmt::format("{} of {} pieces were done within 5 s", i, pieces));
    }
  };
  EventPool pool(pieces,
                 [&]
                 {
                   work(steps);
                   done.release();
                 });
  std::vector<double> ratios;
  std::vector<double> ours;
  std::vector<double> theirs;
  for (std::size_t round = 0; round < settings.rounds; ++round)
  {
    // The runs of the round before have to be over: a job for a process that runs is dropped.
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    ours.push_back(nanosecondsOf(
        [&]
        {
          pool.publish();
          waitForAll();
        }));
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    theirs.push_back(nanosecondsOf(
        [&]
        {
          pool.runOneAfterTheOther();
          waitForAll();
        }));
    ratios.push_back(ours.back() / theirs.back());
  }
  report.add("eight pieces of 100 us on two workers", "one after the other",
             {quantile(ratios, 0.5), quantile(ours, 0.5), quantile(theirs, 0.5)}, Goal{0.65, 0.55});
}
}  // namespace

void measureWorkers(Report& report, const Settings& settings)
{
  measureWakeUp(report, settings);
  measurePieces(report, settings);
}
}  // namespace ZR::Filtrix::Bench
