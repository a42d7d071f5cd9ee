#include "filtrix/ku/path.h"

#include "filtrix/ku/log.h"
#include "foundation/ku/environment.h"
#include "foundation/ku/prefix.h"
#include "foundation/ku/temporaryfolder.h"

#include <fmt/core.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ku::path
{
namespace
{
namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

// A machine with nothing in its data folders but what the test puts there.
class PathTest : public testing::Test
{
protected:
  const TemporaryFolder folder;
  const ScopedVariable dataPath{"FILTRIX_DATA_PATH",
                                (folder.path() / "first").string() + ":" + (folder.path() / "second").string()};
  const ScopedVariable dataHome{"XDG_DATA_HOME", (folder.path() / "home").string()};
  const ScopedVariable dataFolders{"XDG_DATA_DIRS", (folder.path() / "system").string()};
};

TEST_F(PathTest, FindsTheFirstInTheSearchOrder)
{
  for (const char* place : {"system", "home", "second", "first"})
  {
    const fs::path file = folder.write(fs::path(place) / "zorqa/vision/x.fxs");
    EXPECT_EQ(findData("zorqa/vision", "x.fxs"), file);
  }
  {
    const fs::path outer = folder.write("outer/zorqa/vision/x.fxs");
    const fs::path inner = folder.write("inner/zorqa/vision/x.fxs");
    const ScopedDataPath outerScope(folder.path() / "outer/");
    {
      const ScopedDataPath innerScope(folder.path() / "inner");
      EXPECT_EQ(findData("zorqa/vision", "x.fxs"), inner);
    }
    EXPECT_EQ(findData("zorqa", "vision/x.fxs"), outer);
  }
  EXPECT_EQ(findData("zorqa/vision", "x.fxs"), folder.path() / "first/zorqa/vision/x.fxs");
}

TEST_F(PathTest, PassesOverWhatIsNoFile)
{
  fs::create_directories(folder.path() / "first/app/x.fxs");
  const fs::path file = folder.write("second/app/x.fxs");
  EXPECT_EQ(findData("app", "x.fxs"), file);
  EXPECT_EQ(findData("app", "y.fxs"), std::nullopt);
}

TEST_F(PathTest, ListsWhatFindDataFinds)
{
  folder.write("second/app/b.fxs");
  folder.write("second/app/a.fxs");
  folder.write("first/app/b.fxs");
  folder.write("home/app/c.fxs");
  folder.write("home/app/deeper/d.fxs");
  const std::vector<fs::path> files = listData("app");
  std::vector<std::string> names;
  for (const fs::path& file : files)
  {
    names.push_back(file.filename());
    EXPECT_EQ(findData("app", names.back()), file);
  }
  EXPECT_THAT(names, ElementsAre("a.fxs", "b.fxs", "c.fxs"));
  EXPECT_THAT(listData("nobody"), IsEmpty());
}

TEST_F(PathTest, NamesEachFolderOnceInOrder)
{
  const ScopedVariable twice("XDG_DATA_DIRS",
                             "/usr/share::/usr/share/:/usr/lib/../share:" + folder.path().string() + "/second");
  const std::vector<fs::path> folders = dataSearchPath();
  ASSERT_GE(folders.size(), 4u);
  EXPECT_EQ(folders[0], folder.path() / "first");
  EXPECT_EQ(folders[1], folder.path() / "second");
  EXPECT_EQ(folders[2].filename(), "share") << "the tests run from a build tree, so the source tree comes next";
  EXPECT_EQ(std::ranges::count(folders, folder.path() / "second"), 1);
  EXPECT_EQ(std::ranges::count(folders, "/usr/share"), 1);
  EXPECT_THAT(folders, testing::Each(testing::Property(&fs::path::is_absolute, true)));
}

TEST_F(PathTest, FallsBackToTheUsualFoldersOfUserAndSystem)
{
  const ScopedVariable noHome("XDG_DATA_HOME", "");
  const ScopedVariable noSystem("XDG_DATA_DIRS", std::nullopt);
  const ScopedVariable home("HOME", "/home/robot");
  const std::vector<fs::path> folders = dataSearchPath();
  const auto at = std::ranges::find(folders, "/home/robot/.local/share");
  EXPECT_NE(at, folders.end());
  EXPECT_NE(std::ranges::find(folders, "/usr/share"), folders.end());
}

TEST_F(PathTest, RefusesNamesThatLeaveTheirFolder)
{
  const fs::path secret = folder.write("secret");
  folder.write("first/app/x");

  struct Case
  {
    std::string_view name;
    const char* problem;
  };

  using namespace std::string_view_literals;
  const std::string absolute = secret.string();
  const Case cases[] = {{"", "is empty"},
                        {"../../secret", "holds \"..\""},
                        {"a/../../../secret", "holds \"..\""},
                        {absolute, "is absolute"},
                        {"x\0y"sv, "holds a zero byte"}};
  for (const auto& [name, problem] : cases)
  {
    const log::Capture capture;
    EXPECT_EQ(findData("app", name), std::nullopt);
    EXPECT_EQ(findData(name, "x"), std::nullopt);
    EXPECT_THAT(listData(name), IsEmpty());
    const std::string rest =
        fmt::format("\"{}\" {}, expected a relative path that stays within its folder", name, problem);
    EXPECT_THAT(capture.texts("ku.path"), ElementsAre("findData: " + rest, "findData: " + rest, "listData: " + rest));
  }
  EXPECT_EQ(findData("app", "./x"), folder.path() / "first/app/./x");
}

TEST(Prefix, StandsBeforeTheLastFolderOfAKnownName)
{
  EXPECT_EQ(prefixOf("/usr/bin/filtrix"), "/usr");
  EXPECT_EQ(prefixOf("/opt/robot/lib/libfiltrix.so.0.1"), "/opt/robot");
  EXPECT_EQ(prefixOf("/usr/lib/x86_64-linux-gnu/libfiltrix.so"), "/usr");
  EXPECT_EQ(prefixOf("/opt/lib/robot/bin/filtrix"), "/opt/lib/robot");
  EXPECT_EQ(prefixOf("/opt/robot/filtrix"), "/opt");
  EXPECT_EQ(prefixOf("/filtrix"), "/");
}

TEST(Prefix, KnowsItsOwnBinary)
{
  EXPECT_EQ(ownBinary(), fs::canonical("/proc/self/exe"));
}
}  // namespace
}  // namespace ku::path
