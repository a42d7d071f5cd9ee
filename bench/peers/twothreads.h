#pragma once

#include "bench/peers/rounds.h"

#include <barrier>
#include <cstddef>
#include <thread>

namespace ZR::Filtrix::Bench
{
/// A loop on each of two threads, `runs` times each, until both are through.
inline void runOnTwoThreads(const Loop& one, const Loop& other, std::size_t runs)
{
  std::barrier start(2);
  const auto repeat = [&](const Loop& loop)
  {
    start.arrive_and_wait();
    for (std::size_t i = 0; i < runs; ++i)
      loop.run();
  };
  std::thread second([&] { repeat(other); });
  repeat(one);
  second.join();
}

/// The same as a loop of its own, long enough for the start of a thread to weigh nothing; per unit of one thread.
inline Loop loopOnTwoThreads(const Loop& one, const Loop& other)
{
  const std::size_t runs = 8 * repeatsFor(one);
  repeatsFor(other);
  return {[=] { runOnTwoThreads(one, other, runs); }, one.units * static_cast<double>(runs)};
}
}  // namespace ZR::Filtrix::Bench
