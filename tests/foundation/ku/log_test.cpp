#include "filtrix/ku/log.h"

#include "foundation/ku/environment.h"
#include "foundation/ku/loglevels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <latch>
#include <stdexcept>
#include <thread>

namespace ku::log
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class LogTest : public testing::Test
{
protected:
  void TearDown() override { resetLevels(); }
};

TEST_F(LogTest, GathersTheLinesThatACaptureLetsThrough)
{
  const Capture all;
  {
    const Capture errors(Level::Error);
    error("filtrix.port", "{} -> {}", "a:out", "b:in");
    write(Level::Debug, "filtrix", "two\nlines");
    EXPECT_THAT(errors.texts(), ElementsAre("a:out -> b:in"));
  }
  write(Level::Fatal, "filtrix", "{}");
  EXPECT_THAT(all.entries(),
              ElementsAre(Entry{Level::Error, "filtrix.port", "a:out -> b:in"},
                          Entry{Level::Debug, "filtrix", "two\nlines"}, Entry{Level::Fatal, "filtrix", "{}"}));
  EXPECT_THAT(all.texts("filtrix"), ElementsAre("two\nlines", "{}"));
}

TEST_F(LogTest, ForgetsWhatWasCleared)
{
  Capture capture;
  error("filtrix", "before");
  capture.clear();
  error("filtrix", "after");
  EXPECT_THAT(capture.texts(), ElementsAre("after"));
}

TEST_F(LogTest, TakesTheLevelOfTheNearestCategoryAbove)
{
  setLevel("filtrix", Level::Error);
  setLevel("filtrix.process.run", Level::Debug);
  EXPECT_EQ(getLevel("filtrix.process"), Level::Error);
  EXPECT_EQ(getLevel("filtrix.process.run.inner"), Level::Debug);
  EXPECT_EQ(getLevel("filtrixes"), Level::Warning);
  setLevel("", Level::Info);
  EXPECT_EQ(getLevel("filtrixes"), Level::Info);

  EXPECT_TRUE(isEnabled(Level::Debug, "filtrix.process.run"));
  EXPECT_FALSE(isEnabled(Level::Warning, "filtrix.process"));
  resetLevels();
  EXPECT_TRUE(isEnabled(Level::Warning, "filtrix.process"));
  EXPECT_FALSE(isEnabled(Level::Debug, "filtrix.process.run"));
}

TEST_F(LogTest, IsEnabledWhileACaptureListens)
{
  EXPECT_FALSE(isEnabled(Level::Verbose, "filtrix"));
  {
    const Capture capture(Level::Verbose);
    EXPECT_TRUE(isEnabled(Level::Verbose, "filtrix"));
    EXPECT_FALSE(isEnabled(Level::Debug, "filtrix"));
  }
  EXPECT_FALSE(isEnabled(Level::Verbose, "filtrix"));
}

TEST_F(LogTest, WritesALineWithLevelAndCategoryToStandardError)
{
  testing::internal::CaptureStderr();
  warning("filtrix.port", "shown");
  info("filtrix.port", "below the level");
  {
    const Capture silent(Level::Error);
    error("filtrix.port", "kept");
    warning("filtrix.port", "not gathered, so shown");
  }
  {
    const Capture echoing(Level::Debug, Capture::Echo::Yes);
    error("filtrix.port", "echoed");
    info("filtrix.port", "gathered but below the level");
  }
  setLevel("filtrix", Level::Verbose);
  verbose("filtrix.port", "let through");
  const std::string out = testing::internal::GetCapturedStderr();
  EXPECT_THAT(out, testing::ContainsRegex("^20[0-9-]+ [0-9:.]+ warning filtrix.port: shown\n"));
  EXPECT_THAT(out, HasSubstr("not gathered, so shown\n"));
  EXPECT_THAT(out, HasSubstr("error   filtrix.port: echoed\n"));
  EXPECT_THAT(out, HasSubstr("verbose filtrix.port: let through\n"));
  EXPECT_THAT(out, Not(HasSubstr("below the level")));
  EXPECT_THAT(out, Not(HasSubstr("kept")));
}

TEST_F(LogTest, LosesNothingAmongThreads)
{
  constexpr int lines = 200;
  const Capture capture;
  std::latch start(4);
  const auto writeAll = [&start](int who)
  {
    start.arrive_and_wait();
    for (int i = 0; i < lines; ++i)
      info("filtrix", "{} {}", who, i);
  };
  {
    const std::jthread a(writeAll, 0);
    const std::jthread b(writeAll, 1);
    const std::jthread c(writeAll, 2);
    start.arrive_and_wait();
    // Levels and further captures come and go beneath the writers.
    for (int i = 0; i < lines; ++i)
    {
      setLevel("filtrix", i % 2 == 0 ? Level::Debug : Level::Error);
      const Capture passing(Level::Error);
    }
  }
  std::vector<int> next(3, 0);
  for (const std::string& text : capture.texts())
  {
    const int who = text.front() - '0';
    EXPECT_EQ(text, fmt::format("{} {}", who, next.at(static_cast<std::size_t>(who))++));
  }
  EXPECT_THAT(next, testing::Each(lines));
}

struct LevelsCase
{
  const char* text;
  Level fallback;
  Level process;
  Level most;
};

class LevelsTest : public testing::TestWithParam<LevelsCase>
{
};

TEST_P(LevelsTest, ReadsTheEnvironmentForm)
{
  const auto& [text, fallback, process, most] = GetParam();
  const Levels levels(text);
  EXPECT_EQ(levels.of("vision"), fallback);
  EXPECT_EQ(levels.of("filtrix.process"), process);
  EXPECT_EQ(levels.most(), most);
}

INSTANTIATE_TEST_SUITE_P(Texts, LevelsTest,
                         testing::Values(LevelsCase{"", Level::Warning, Level::Warning, Level::Warning},
                                         LevelsCase{"5", Level::Verbose, Level::Verbose, Level::Verbose},
                                         LevelsCase{"1,filtrix.process=6", Level::Fatal, Level::Debug, Level::Debug},
                                         LevelsCase{" filtrix = 2 , 4,", Level::Info, Level::Error, Level::Info},
                                         LevelsCase{"filtrix=2,filtrix=5", Level::Warning, Level::Verbose,
                                                    Level::Verbose}));

TEST(Levels, RefusesAnyOtherTextAndNamesTheItem)
{
  for (const char* item : {"7", "0", "44", "high", "filtrix=", "filtrix=x", "=3", "filtrix==3", "filtrix=3 4"})
  {
    try
    {
      const Levels levels(fmt::format("3,{}", item));
      ADD_FAILURE() << item << " was accepted";
    }
    catch (const std::invalid_argument& error)
    {
      EXPECT_EQ(error.what(), fmt::format("\"{}\" is neither a level from 1 to 6 nor a category and one, as in "
                                          "\"filtrix.port=5\"",
                                          item));
    }
  }
}

// The variable is read once in a program's life, so each case is a program of its own.
TEST(LogDeathTest, StartsWithTheLevelsOfTheEnvironment)
{
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto tell = []
  {
    verbose("filtrix.port", "of the port");
    error("filtrix", "of all");
    std::_Exit(getLevel("filtrix") == Level::Error ? 0 : 1);
  };
  {
    const ScopedVariable variable("FILTRIX_LOG", "2,filtrix.port=5");
    EXPECT_EXIT(tell(), testing::ExitedWithCode(0), "verbose filtrix.port: of the port\n.*error   filtrix: of all");
  }
  {
    const ScopedVariable variable("FILTRIX_LOG", "loud");
    EXPECT_EXIT(tell(), testing::ExitedWithCode(1),
                "warning ku.log: FILTRIX_LOG is ignored: \"loud\" is neither .*\n.*of all");
  }
}
}  // namespace
}  // namespace ku::log
