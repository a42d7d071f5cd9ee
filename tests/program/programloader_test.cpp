#include "program/programloader.h"

#include "filtrix/ku/path.h"
#include "foundation/ku/temporaryfolder.h"
#include "program/programkit.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <functional>
#include <thread>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

class ProgramLoaderTest : public testing::Test
{
protected:
  bool load(const fs::path& name, ImportRange range = ImportRange::Beneath)
  {
    bench.log.clear();
    return bench.registry.loadProgramFromFile((folder.path() / name).string(), range);
  }

  // The line that a file's failure gives.
  std::string failure(const std::string& name, const std::string& text) const
  {
    const std::string file = "\"" + (folder.path() / name).string() + "\"";
    const std::size_t at = text.find("FILE");
    return "2 filtrix.private: loadProgramFromFile(" + file +
           "): " + (at == std::string::npos ? text : text.substr(0, at) + file + text.substr(at + 4));
  }

  ku::TemporaryFolder folder;
  ProgramBench bench;
};

TEST_F(ProgramLoaderTest, RefusesWhatIsNoProgram)
{
  fs::create_directory(folder.path() / "folder.fxs");
  ASSERT_EQ(::mkfifo((folder.path() / "pipe.fxs").c_str(), 0600), 0);
  folder.write("x.dll");
  folder.write("x.xml");
  folder.write("x.Fxs");
  fs::create_symlink("nowhere", folder.path() / "broken.fxs");
  const std::pair<const char*, const char*> cases[] = {
      {"missing.fxs", "FILE not found."},     {"missing.dll", "FILE not found."},
      {"broken.fxs", "FILE not found."},      {"x.xml/a.fxs", "FILE not found."},
      {"folder.fxs", "FILE is a directory."}, {"pipe.fxs", "FILE is not a regular file."},
      {"x.xml", "invalid file format."},      {"x.Fxs", "invalid file format."}};
  for (const auto& [name, text] : cases)
  {
    EXPECT_FALSE(load(name));
    EXPECT_THAT(bench.complaints(), ElementsAre(failure(name, text)));
  }
  EXPECT_FALSE(load("x.dll"));
  EXPECT_THAT(bench.complaints(),
              ElementsAre("2 filtrix.private: loadProgramFromFile(" + (folder.path() / "x.dll").string() +
                          ") dynamic loading is not supported on Windows."));
  EXPECT_FALSE(bench.registry.loadProgramFromFile(std::string_view("a\0b.fxs", 7)));
}

TEST_F(ProgramLoaderTest, ReadsAllFourExtensionsAndSkipsAByteOrderMark)
{
  int count = 0;
  for (const char* name : {"a.fxs", "b.FXS", "c.txt", "d.TXT"})
  {
    folder.write(name, "\xEF\xBB\xBFsource s" + std::to_string(++count) + " { }\r\n");
    EXPECT_TRUE(load(name));
  }
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("s1", "s2", "s3", "s4"));
  EXPECT_THAT(bench.complaints(), IsEmpty());
}

TEST_F(ProgramLoaderTest, FindsBareNamesAmongTheDataFiles)
{
  const ku::path::ScopedDataPath data(folder.path() / "data");
  folder.write("data/zorqa/vision/fxs/smooth.fxs", "source fromData { } import file { inner.fxs }");
  folder.write("data/zorqa/vision/fxs/inner.fxs", "source inner { }");
  folder.write("a/main.fxs", "import file { smooth.fxs }");
  EXPECT_TRUE(load("a/main.fxs"));
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("fromData", "inner"));
  EXPECT_THAT(bench.complaints(), IsEmpty());

  EXPECT_FALSE(bench.registry.loadProgramFromFile("smooth.fxs"));
  EXPECT_EQ(bench.complaints().back(), "2 filtrix.parser: loadProgram: stopped at smooth.fxs:1:1: \"source fromData\"; "
                                       "created before: nothing");
  folder.write("b/smooth.fxs", "source besideTheImporter { }");
  folder.write("b/main.fxs", "import file { smooth.fxs }");
  EXPECT_TRUE(load("b/main.fxs"));
  EXPECT_TRUE(bench.registry.setData("besideTheImporter", nullptr));
}

// A failed import is told, with its place, and the load goes on.
TEST_F(ProgramLoaderTest, GoesOnAfterAFailedImport)
{
  folder.write("main.fxs", "source a { }\n# none of\nimport file { sub/x.fxs }\nimport file { missing.fxs }\n"
                           "source c { } source a { }");
  folder.write("sub/x.fxs", "source b { }\n  filter F # comment\n { G g }");
  EXPECT_FALSE(load("main.fxs"));
  EXPECT_THAT(bench.complaints(),
              ElementsAre("2 filtrix.private: createFilter(\"F\", filters, links): The filter \"g\" is declared as "
                          "\"G\" but \"G\" has never been declared. [sub/x.fxs:3:4: G g]",
                          "2 filtrix.parser: loadProgram: stopped at sub/x.fxs:2:3: \"filter F\"; created before: "
                          "source b",
                          failure("missing.fxs", "FILE not found. [main.fxs:4:15: missing.fxs]"),
                          "2 filtrix.private: createSource(\"a\"): source already exists. [main.fxs:5:14: source a]",
                          "2 filtrix.parser: loadProgram: stopped at main.fxs:5:14: \"source a\"; created before: "
                          "source a, source b, source c"));
}

// A program from elsewhere must not read files that have nothing to do with it.
TEST_F(ProgramLoaderTest, KeepsImportsBeneathTheImporter)
{
  folder.write("secret.txt", "source secret { }");
  folder.write("in/main.fxs", "import file { ../secret.txt } import file { link.txt } import file { sub/../near.txt }");
  folder.write("in/near.txt", "source near { }");
  folder.write("in/absolute.fxs", "import file { " + (folder.path() / "secret.txt").string() + " }");
  fs::create_symlink("../secret.txt", folder.path() / "in/link.txt");
  EXPECT_TRUE(load("in/main.fxs"));
  EXPECT_TRUE(load("in/absolute.fxs"));
  EXPECT_THAT(bench.complaints(),
              ElementsAre(failure("secret.txt", "expected a file beneath \"" + (folder.path() / "in").string() +
                                                    "\" or a data folder: FILE is not there. [absolute.fxs:1:15: " +
                                                    (folder.path() / "secret.txt").string() + "]")));
  EXPECT_THAT(bench.registry.getSources(), ElementsAre());
  fs::create_directory(folder.path() / "in/sub");
  EXPECT_TRUE(load("in/main.fxs"));
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("near"));
  EXPECT_EQ(bench.complaints().size(), 2U);
  EXPECT_TRUE(load("in/absolute.fxs", ImportRange::Everywhere));
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("near", "secret"));
}

TEST_F(ProgramLoaderTest, LetsATextImportWhatItsCallerCouldLoad)
{
  const std::string path = folder.write("a.fxs", "source a { }").string();
  EXPECT_TRUE(bench.load("import file { " + path + " }"));
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("a"));
  EXPECT_TRUE(Parser(bench.registry).loadProgram("import file { " + path + " }", "test", folder.path() / "sub"));
  EXPECT_THAT(bench.complaints().back(), HasSubstr("expected a file beneath"));
}

TEST_F(ProgramLoaderTest, TellsARingOfImportsWhole)
{
  folder.write("a.fxs", "import file { sub/b.fxs } source a { }");
  folder.write("sub/b.fxs", "import file { c.fxs } source b { }");
  fs::create_symlink("../a.fxs", folder.path() / "sub/c.fxs");
  EXPECT_TRUE(load("a.fxs", ImportRange::Everywhere));
  EXPECT_THAT(bench.complaints(),
              ElementsAre(failure("sub/c.fxs", "the programs import one another in a ring: a.fxs -> sub/b.fxs -> "
                                               "sub/c.fxs. [sub/b.fxs:1:15: c.fxs]")));
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("a", "b"));
}

TEST_F(ProgramLoaderTest, HoldsNestingToItsLimit)
{
  for (std::size_t level = 0; level <= Limits::importDepth; ++level)
  {
    const std::string next = "import file { " + std::to_string(level + 1) + ".fxs }";
    folder.write(std::to_string(level) + ".fxs", level < Limits::importDepth ? next : "source last { }");
  }
  EXPECT_TRUE(load("0.fxs"));
  EXPECT_THAT(bench.complaints(), IsEmpty());
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("last"));

  folder.write("16.fxs", "import file { 17.fxs }");
  folder.write("17.fxs", "source tooDeep { }");
  EXPECT_TRUE(load("0.fxs"));
  EXPECT_THAT(bench.complaints(), ElementsAre(failure("17.fxs", "programs import one another more than 16 deep. "
                                                                "[16.fxs:1:15: 17.fxs]")));
}

TEST_F(ProgramLoaderTest, HoldsTheNumberOfFilesToItsLimit)
{
  folder.write("empty.fxs", "");
  std::string program;
  for (std::size_t count = 1; count < Limits::importFiles; ++count)
    program += "import file { empty.fxs }\n";
  folder.write("main.fxs", program);
  EXPECT_TRUE(load("main.fxs"));
  EXPECT_THAT(bench.complaints(), IsEmpty());
  folder.write("main.fxs", program + "import file { empty.fxs }");
  EXPECT_TRUE(load("main.fxs"));
  EXPECT_THAT(bench.complaints(),
              ElementsAre(failure("empty.fxs", "the load reads more than 256 files. [main.fxs:256:15: empty.fxs]")));
}

TEST_F(ProgramLoaderTest, HoldsAllTextTogetherToItsLimit)
{
  const std::string program = "import file { big.fxs }";
  folder.write("main.fxs", program);
  folder.write("big.fxs", "source big { }" + std::string(Limits::importBytes - program.size() - 14, '#'));
  EXPECT_TRUE(load("main.fxs"));
  EXPECT_THAT(bench.complaints(), IsEmpty());
  EXPECT_THAT(bench.registry.getSources(), ElementsAre("big"));

  folder.write("main.fxs", program + " ");
  EXPECT_TRUE(load("main.fxs"));
  EXPECT_THAT(bench.complaints(), ElementsAre(failure("big.fxs", "the programs of the load have more than 16777216 "
                                                                 "bytes together. [main.fxs:1:15: big.fxs]")));
  EXPECT_FALSE(bench.load(std::string(Limits::importBytes + 1, ' ')));
}

// What is asked of a file is asked of the one that was opened, whatever stands at its path by then.
TEST_F(ProgramLoaderTest, AFileIsTheOneThatWasOpened)
{
  const fs::path path = folder.write("a.fxs", "source first { }");
  folder.write("other/b.fxs", "source second { }");
  const std::function<void()> swaps[] = {
      [&] { fs::rename(folder.path() / "other/b.fxs", path); },
      [&] { fs::remove(path), fs::create_symlink("other/b.fxs", path); },
      [&] { fs::remove(path), fs::create_directory(path); },
      [&] { EXPECT_TRUE(fs::remove(path) && ::mkfifo(path.c_str(), 0600) == 0); },
      [&] { fs::remove(path); },
  };
  for (const auto& swap : swaps)
  {
    fs::remove_all(path);
    folder.write("a.fxs", "source first { }");
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    ProgramFile file(path);
    swap();
    EXPECT_EQ(file.getKind(), ProgramFile::Kind::Readable);
    EXPECT_EQ(file.getIdentity(), (ProgramFile::Identity{status.st_dev, status.st_ino}));
    EXPECT_EQ(file.read(100), "source first { }");
    EXPECT_NE(file.getRealPath(), fs::canonical(folder.path() / "other") / "b.fxs");
    folder.write("other/b.fxs", "source second { }");
  }
}

// Somebody swaps the imported file for a link to one that must not be read, as fast as they can.
TEST_F(ProgramLoaderTest, AFileThatIsSwappedDuringAnImportIsReadOrRefused)
{
  folder.write("secret.txt", "source secret { }");
  folder.write("in/main.fxs", "import file { near.txt } delete source { near }");
  folder.write("in/near.txt", "source near { }");
  const std::jthread swapper(
      [&](const std::stop_token& stop)
      {
        const fs::path place = folder.path() / "in/near.txt";
        const fs::path next = folder.path() / "in/next.txt";
        for (bool isLink = true; !stop.stop_requested(); isLink = !isLink)
        {
          if (isLink)
            fs::create_symlink("../secret.txt", next);
          else
            folder.write("in/next.txt", "source near { }");
          fs::rename(next, place);  // in one step: there is always a file
        }
      });
  int read = 0;
  int refused = 0;
  for (int loads = 0; loads < 100'000 && (read < 20 || refused < 20) && !HasFailure(); ++loads)
  {
    EXPECT_TRUE(load("in/main.fxs"));
    EXPECT_THAT(bench.registry.getSources(), IsEmpty());
    const std::vector<std::string> lines = bench.complaints();
    if (lines.empty())
    {
      ++read;
      continue;
    }
    ++refused;
    // Refused, and therefore nothing there to delete. "unable to read" and the like would be faults.
    EXPECT_THAT(lines, ElementsAre(HasSubstr("expected a file beneath"), HasSubstr("Can't delete source \"near\""),
                                   HasSubstr("Can't delete source: near")));
  }
  EXPECT_GE(read, 20);
  EXPECT_GE(refused, 20);
}

TEST_F(ProgramLoaderTest, CatchesExceptions)
{
  folder.write("main.fxs", "process p(Invert, 1, 1, -1) { }");
  EXPECT_FALSE(load("main.fxs"));
  EXPECT_EQ(bench.complaints().back(),
            "2 filtrix.private: loadProgramFromFile(\"" + (folder.path() / "main.fxs").string() +
                "\"):impossible to perform loading. Can't set tolerance for process \"p\":tolerance must be positive.");
}
}  // namespace
}  // namespace ZR::Filtrix::Test
