// A system that gives no more threads.

#include "exec/scheduler.h"

#include "filtrix/ku/log.h"
#include "support/testregistry.h"

#include <dlfcn.h>
#include <pthread.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>

namespace
{
// How many more threads the tests' thread may start; negative: any number.
thread_local int grantedThreads = -1;
}  // namespace

// Stands before the library's own.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                              void* argument) noexcept
{
  if (grantedThreads == 0)
    return EAGAIN;
  if (grantedThreads > 0)
    --grantedThreads;
  static const auto create = reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
  return create(thread, attributes, function, argument);
}

namespace ZR::Filtrix::Test
{
namespace
{
std::ptrdiff_t countThreads()
{
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

class ThreadShortageTest : public testing::TestWithParam<int>
{
};

TEST_P(ThreadShortageTest, StartsAllThreadsOrNone)
{
  const ku::log::Capture log;
  TestRegistry registry;
  Scheduler scheduler(registry, 3);
  std::thread([] {}).join();  // a sanitizer starts a thread of its own with the first one
  const std::ptrdiff_t before = countThreads();
  grantedThreads = GetParam();
  const bool isStarted = scheduler.start();
  grantedThreads = -1;
  EXPECT_FALSE(isStarted);
  EXPECT_EQ(countThreads(), before);
  EXPECT_THAT(log.texts(),
              testing::ElementsAre(testing::StartsWith("start(): expected 4 threads, only " +
                                                       std::to_string(GetParam()) + " could be started: ")));

  EXPECT_TRUE(scheduler.start());
  EXPECT_EQ(countThreads(), before + 4);
  EXPECT_TRUE(scheduler.stop());
  EXPECT_EQ(countThreads(), before);
}

INSTANTIATE_TEST_SUITE_P(Threads, ThreadShortageTest, testing::Values(0, 1, 3));
}  // namespace
}  // namespace ZR::Filtrix::Test
