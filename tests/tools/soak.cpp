// soak [frames]: runs the people program for so many frames of a clock of its own, half of the seconds with something
// wrong, and looks at what a robot that runs for weeks depends on: that memory and threads do not grow, and that after
// each fault the person is found again within a second. Ends with 1 when that is not so.

#include "filtrix/ku/log.h"
#include "spoiltpeople.h"

#include <fmt/core.h>
#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

using namespace ZR::Filtrix::Test;

namespace
{
constexpr int framesPerSecond = 15;

// What is held, in bytes: what is free within the heap does not count, since how it lies there is no leak.
std::size_t heldBytes()
{
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

std::size_t residentBytes()
{
  std::ifstream file("/proc/self/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  file >> size >> resident;
  return resident * 4096;
}

std::size_t threads()
{
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
    ++count;
  return count;
}

struct State
{
  std::size_t held;
  std::size_t resident;
  std::size_t threads;
};

State look()
{
  return {heldBytes(), residentBytes(), threads()};
}

double share(std::size_t now, std::size_t before)
{
  return 100.0 * (static_cast<double>(now) / static_cast<double>(before) - 1.0);
}
}  // namespace

int main(int count, char** arguments)
{
  const int frames = count > 1 ? std::atoi(arguments[1]) : 54'000;
  const auto faults = badInputs();
  // A cycle is each fault for a second, and a second without after each.
  const int cycle = static_cast<int>(faults.size()) * 2 * framesPerSecond;
  if (frames < 2 * cycle)
  {
    fmt::print(stderr, "expected {} frames or more, to see each fault twice; got \"{}\"\n", 2 * cycle,
               count > 1 ? arguments[1] : "");
    return EXIT_FAILURE;
  }
  ku::log::setLevel("vision", ku::log::Level::Fatal);  // each bad frame is told of, as it should be
  SpoiltPeople people;
  State first{};
  State last{};
  int recoveries = 0;
  int failures = 0;
  for (int frame = 0; frame < frames; ++frame)
  {
    const int second = frame / framesPerSecond;
    const bool isSpoilt = second % 2 == 1;
    const BadInput& fault = faults[static_cast<std::size_t>(second / 2) % faults.size()];
    const std::size_t seen = people.step(isSpoilt ? fault.spoil : Spoil());
    // The last frame of a good second, after a bad one.
    if (!isSpoilt && second > 0 && frame % framesPerSecond == framesPerSecond - 1)
    {
      ++recoveries;
      if (seen != 1)
      {
        ++failures;
        fmt::print("frame {}: {} people are seen a second after the fault before {}\n", frame, seen, fault.name);
      }
    }
    if ((frame + 1) % cycle != 0)
      continue;
    last = look();
    if (first.held == 0)
      first = last;
    fmt::print("{:6} frames: {:.2f} MB held, {:.1f} MB resident, {} threads\n", frame + 1,
               1.0e-6 * static_cast<double>(last.held), 1.0e-6 * static_cast<double>(last.resident), last.threads);
  }
  fmt::print("since the first cycle: held {:+.2f} %, resident {:+.2f} %, threads {:+}; {} of {} recoveries\n",
             share(last.held, first.held), share(last.resident, first.resident),
             static_cast<int>(last.threads) - static_cast<int>(first.threads), recoveries - failures, recoveries);
  constexpr double mostGrowth = 2.0;  // per cent
  const bool isFlat = share(last.held, first.held) <= mostGrowth && last.threads <= first.threads;
  return isFlat && failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
