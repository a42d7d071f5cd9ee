// Every example of the language's page is loaded, so that none of them can be wrong.

#include "foundation/ku/temporaryfolder.h"
#include "program/programkit.h"

#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <sstream>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

// A fenced block of the kind `fxs`, and what the comments right before it say of it:
// `<!-- fails: TEXT -->`, `<!-- tells: TEXT -->` for a load that succeeds all the same, `<!-- file: NAME -->`.
struct Example
{
  std::size_t line = 0;
  std::map<std::string, std::string> notes;
  std::string program;
};

std::vector<Example> readExamples()
{
  std::ifstream page(FILTRIX_LANGUAGE_PAGE);
  std::vector<Example> examples;
  Example next;
  bool isInside = false;
  std::string line;
  for (std::size_t number = 1; std::getline(page, line); ++number)
  {
    if (isInside && line == "```")
    {
      examples.push_back(std::move(next));
      next = Example();
      isInside = false;
    }
    else if (isInside)
    {
      next.program += line + "\n";
    }
    else if (line == "```fxs")
    {
      next.line = number;
      isInside = true;
    }
    else if (line.starts_with("<!-- ") && line.ends_with(" -->"))
    {
      const std::size_t colon = line.find(": ");
      next.notes[line.substr(5, colon - 5)] = line.substr(colon + 2, line.size() - colon - 6);
    }
    else if (!line.empty())
    {
      next.notes.clear();
    }
  }
  EXPECT_FALSE(isInside) << "a block is not closed";
  return examples;
}

TEST(LanguagePage, HasOnlyExamplesThatDoWhatItSays)
{
  const std::vector<Example> examples = readExamples();
  ASSERT_GE(examples.size(), 10U) << "no page, or no examples in " << FILTRIX_LANGUAGE_PAGE;
  const ku::TemporaryFolder folder;
  for (const auto& [line, notes, program] : examples)
  {
    SCOPED_TRACE("line " + std::to_string(line) + " of the page:\n" + program);
    if (const auto file = notes.find("file"); file != notes.end())
      folder.write(file->second, program);
    const auto failure = notes.find("fails");
    const auto complaint = notes.find("tells");

    ProgramBench bench;
    const bool loaded = Parser(bench.registry).loadProgram(program, "page", folder.path());
    EXPECT_EQ(loaded, failure == notes.end());
    if (failure != notes.end())
      EXPECT_THAT(bench.complaints(), Contains(HasSubstr(failure->second)));
    else if (complaint != notes.end())
      EXPECT_THAT(bench.complaints(), Contains(HasSubstr(complaint->second)));
    else
      EXPECT_THAT(bench.complaints(), IsEmpty());
  }
}
}  // namespace
}  // namespace ZR::Filtrix::Test
