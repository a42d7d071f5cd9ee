// The command line as a person meets it: what it prints, where, and with which exit status.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace ZR::Filtrix::Test
{
namespace
{
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

struct Outcome
{
  int status = -1;
  std::string out;
};

// Runs `filtrix` with the rest of a shell's command line; standard error goes where `redirection` says.
Outcome filtrix(const std::string& arguments, const std::string& redirection = "2>&1")
{
  const std::string command = std::string(FILTRIX_COMMAND) + " " + arguments + " " + redirection;
  std::FILE* const pipe = ::popen(command.c_str(), "r");
  Outcome outcome;
  std::array<char, 4096> buffer{};
  for (std::size_t count = 0; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
    outcome.out.append(buffer.data(), count);
  const int status = ::pclose(pipe);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return outcome;
}

class Command : public ::testing::Test
{
protected:
  Command() { std::filesystem::create_directories(folder); }

  ~Command() override { std::filesystem::remove_all(folder); }

  std::string write(const std::string& name, const std::string& text) const
  {
    std::ofstream(folder / name) << text;
    return (folder / name).string();
  }

  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() /
      ("filtrix-command-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
       ::testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST_F(Command, RunsAProgramAndPrintsItsSinks)
{
  const std::string program =
      write("sum.fxs", "source a { 1 }\nsource gain { 0.5 }\n"
                       "process p(Add, 1, 50.0) { left <= a; right <= 2; out => sum; }\n"
                       "process q(Multiply, 1, 50.0) { left <= gain; right <= 3.0; out => o; }");
  const Outcome outcome =
      filtrix("run " + program + " --set a=40 --set gain=2 --print p:sum --print q:o@20 --for 0.5 --stats");
  EXPECT_EQ(outcome.status, 0) << outcome.out;
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("p:sum = 42"), HasSubstr("q:o = 6"), HasSubstr("of 50.0 Hz")));

  const Outcome json = filtrix("run " + program + " --json --print p:sum --for 0.3", "2>/dev/null");
  const auto line = nlohmann::json::parse(json.out.substr(0, json.out.find('\n')));
  EXPECT_EQ(line.at("sink"), "p:sum");
  EXPECT_EQ(line.at("value"), nlohmann::json::array({"Integer", 3}));
}

TEST_F(Command, StopsCleanlyWhenItIsInterrupted)
{
  const std::string program = write("one.fxs", "process p(Identity, 1, 50.0) { in <= 1; out => o; }");
  const Outcome outcome = filtrix("run " + program +
                                      " --print p:o --stats & "
                                      "child=$!; sleep 1; kill -INT $child; wait $child",
                                  "");
  EXPECT_EQ(outcome.status, 0) << outcome.out;
}

TEST_F(Command, ChecksPrograms)
{
  const std::string good = write("good.fxs", "source a { 1 }\nprocess p(Add) { left <= a; right <= a; out => o; }\n"
                                             "event p { a }");
  EXPECT_EQ(filtrix("check " + good).out, good + ": no fault found\n");

  const std::string bad = write("bad.fxs", "# a sum\nsource a { 1 }\n\nfilter F\n{\n  Ad add;\n}\n");
  const Outcome outcome = filtrix("check " + bad, "2>/dev/null");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("bad.fxs:6:3: error:"), HasSubstr("Ad add"), HasSubstr("Did you mean \"Add\"?")));

  const std::string importing = write("importing.fxs", "import file { bad.fxs }\n");
  EXPECT_THAT(filtrix("check " + importing, "2>/dev/null").out, HasSubstr("bad.fxs:6:3: error:"));
  EXPECT_EQ(filtrix("check " + (folder / "missing.fxs").string()).status, 1);
}

TEST_F(Command, TellsAboutFilters)
{
  EXPECT_THAT(filtrix("filters").out, AllOf(HasSubstr("Labelize"), HasSubstr("HumanTracker")));
  EXPECT_THAT(filtrix("filters Accum").out,
              AllOf(StartsWith("Accum\n"), HasSubstr("in   factor [Float]"), HasSubstr("keeps state")));
  const Outcome unknown = filtrix("filters Labelise");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_THAT(unknown.out, HasSubstr("Did you mean \"Labelize\"?"));
}

TEST_F(Command, DrawsFilters)
{
  const std::string program =
      write("twice.fxs", "filter Twice { Add a; Add b; a -> b:left; a:left <= in; b:out => out; }");
  const std::string picture = (folder / "twice.svg").string();
  const Outcome outcome = filtrix("graph Twice -l 1 -o " + picture + " --program " + program);
  EXPECT_EQ(outcome.status, 0) << outcome.out;
  EXPECT_GT(std::filesystem::file_size(picture), 500U);
  EXPECT_THAT(filtrix("graph Twice --program " + program).out, StartsWith("digraph"));
  EXPECT_EQ(filtrix("graph Twice -o picture.gif --program " + program).status, 1);
}

TEST_F(Command, CallsMethods)
{
  EXPECT_EQ(filtrix("call isProcesses nobody", "2>/dev/null").out, "false\n");
  EXPECT_EQ(filtrix("call getSourceData RobotHeightOffset", "2>/dev/null").out, "[\n  \"Float\",\n  0.0\n]\n");
  const Outcome wrong = filtrix("call getProcessPriority");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_THAT(wrong.out, HasSubstr("string name"));
  EXPECT_THAT(filtrix("methods").out, HasSubstr("getDotGraph(string filter, int level) -> string"));
}

TEST_F(Command, RefusesAWrongCommandLine)
{
  for (const char* arguments : {"", "fly", "run", "run x.fxs --for -1", "check", "completion fish"})
    EXPECT_EQ(filtrix(arguments).status, 2) << arguments;
  EXPECT_EQ(filtrix("--help").status, 0);
  const std::string program = write("p.fxs", "source a { 1 }");
  EXPECT_EQ(filtrix("run " + program + " --set nothing=1 --for 0.1").status, 1);
  EXPECT_EQ(filtrix("run " + program + " --print p:o --for 0.1").status, 1);
  EXPECT_THAT(filtrix("completion bash | bash -n").out, IsEmpty());
}

TEST_F(Command, RecordsARobotAndReplaysItTheSameEveryTime)
{
  const std::string file = (folder / "walk.mcap").string();
  const Outcome recorded = filtrix("record --record " + file + " --scene onewalking --resolution QQVGA --for 1.5");
  EXPECT_EQ(recorded.status, 0);
  const Outcome info = filtrix("record info " + file);
  EXPECT_THAT(info.out, AllOf(HasSubstr("/camera/2/Depth/160x120"), HasSubstr("/motion/CameraDepth/robot/measured")));
  const std::string program = write("objects.fxs", R"(process objects(Segmentation3D, 3, 100.0) {
    depthImage <= VideoDevice_DepthCamera<QQVGA>; cameraPositionTorso <= Motion_CameraDepth<TORSO>;
    cameraPositionRobot <= Motion_CameraDepth<ROBOT>; cameraPositionWorld <= Motion_CameraDepth<WORLD>;
    heightOffset <= RobotHeightOffset; objects => objects; })");
  const std::string replay = "replay " + file + " " + program + " --json --print objects:objects";
  const Outcome first = filtrix(replay, "2>/dev/null");
  EXPECT_EQ(first.status, 0);
  EXPECT_THAT(first.out, HasSubstr("\"Object3D\""));
  EXPECT_EQ(filtrix(replay, "2>/dev/null").out, first.out);
  const std::string sum = write("sum.fxs", "source a { 1 } process p(Identity, 1, 20.0) { in <= a; out => out; }");
  const std::string values = (folder / "values.mcap").string();
  EXPECT_EQ(filtrix("run " + sum + " --set a=40 --for 0.3 --record " + values).status, 0);
  EXPECT_THAT(filtrix("record info " + values).out, AllOf(HasSubstr("/value/a"), HasSubstr("sum.fxs")));
  EXPECT_EQ(filtrix("record info " + program).status, 1);
  EXPECT_EQ(filtrix("record").status, 2);
}

TEST_F(Command, LooksIntoScenes)
{
  EXPECT_THAT(filtrix("scene").out, AllOf(HasSubstr("crowd"), HasSubstr("6 people")));
  const Outcome truth = filtrix("scene crossing --every 12 --pictures " + (folder / "pictures").string());
  EXPECT_EQ(nlohmann::json::parse(truth.out.substr(0, truth.out.find('\n')))["people"].size(), 2U);
  EXPECT_TRUE(std::filesystem::exists(folder / "pictures" / "crossing-12.00.png"));
  const Outcome broken = filtrix("people --for 1 --scene " + write("broken.scene", "filtrix-scene 1\nrobot blind\n"));
  EXPECT_EQ(broken.status, 1);
  EXPECT_THAT(broken.out, HasSubstr("broken.scene:2: expected \"depth\" or \"stereo\""));
}

TEST_F(Command, FindsPeopleInAScene)
{
  const std::string film = (folder / "film.avi").string();
  const Outcome people = filtrix("people --scene waving --for 2 --json --video " + film, "2>/dev/null");
  EXPECT_EQ(people.status, 0);
  const std::size_t lastLine = people.out.rfind('\n', people.out.size() - 2) + 1;
  EXPECT_EQ(nlohmann::json::parse(people.out.substr(lastLine))["people"].size(), 2U);
  EXPECT_GT(std::filesystem::file_size(film), 1000U);
}

TEST_F(Command, EvaluatesAndComparesWithABaseline)
{
  const std::string scene =
      write("one.scene", "filtrix-scene 1\nduration 3\nperson a\nat 0 place 2 0 face robot look robot\n");
  const std::string json = (folder / "figures.json").string();
  EXPECT_EQ(filtrix("evaluate " + scene + " --json " + json).status, 0);
  std::ifstream stream(json);
  EXPECT_GT(nlohmann::json::parse(stream)["one"]["detection_rate"].get<double>(), 0.9);
  const std::string low = write("low.json", R"({"one": {"mota": {"least": 0.5}}})");
  const std::string high = write("high.json", R"({"one": {"mota": {"least": 1.5}}})");
  EXPECT_EQ(filtrix("evaluate " + scene + " --baseline " + low).status, 0);
  const Outcome worse = filtrix("evaluate " + scene + " --baseline " + high);
  EXPECT_EQ(worse.status, 1);
  EXPECT_THAT(worse.out, HasSubstr("expected at least 1.500"));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
