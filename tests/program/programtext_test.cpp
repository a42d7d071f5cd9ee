#include "program/programtext.h"

#include <gtest/gtest.h>

#include <random>

namespace ZR::Filtrix
{
namespace
{
std::string placeOf(const ProgramText& program, std::string_view piece)
{
  const auto origin = program.locate(piece);
  return origin ? toString(*origin) : "nowhere";
}

std::string_view find(const ProgramText& program, std::string_view word)
{
  return program.getText().substr(program.getText().find(word), word.size());
}

TEST(ProgramText, TellsFileLineColumnAndStatement)
{
  const ProgramText program("people.fxs", "# a\n  source # b { c\n x\r\n{ }\r y");
  EXPECT_EQ(program.getText(), "  source  x\r\n{ }\r y");
  EXPECT_EQ(placeOf(program, find(program, "source")), "people.fxs:2:3: source");
  EXPECT_EQ(placeOf(program, find(program, "source  x")), "people.fxs:2:3: source x");
  EXPECT_EQ(placeOf(program, find(program, "x")), "people.fxs:3:2: x");
  EXPECT_EQ(placeOf(program, find(program, "{ }")), "people.fxs:4:1: { }");
  EXPECT_EQ(placeOf(program, find(program, "y")), "people.fxs:5:2: y");
  EXPECT_EQ(placeOf(ProgramText("", "a"), "a"), "nowhere");
  EXPECT_EQ(placeOf(ProgramText("", ""), "a"), "nowhere");
}

TEST(ProgramText, CutsALongStatement)
{
  const ProgramText program("", std::string(5000, 'x'));
  EXPECT_EQ(program.locate(program.getText())->statement, std::string(117, 'x') + "...");
}

// The line and column of what is left lead back to the same character of the original, wherever comments stood.
TEST(ProgramText, FindsEveryCharacterOfRandomTexts)
{
  std::mt19937 random(5);
  for (int round = 0; round < 300; ++round)
  {
    std::string original;
    for (auto size = random() % 60; size > 0; --size)
      original += "##\n\n\rab"[random() % 7];
    std::vector<std::string> lines(1);
    for (std::size_t at = 0; at < original.size(); ++at)
    {
      lines.back() += original[at];
      const bool isCrLf = original.substr(at, 2) == "\r\n";
      if (original[at] == '\n' || (original[at] == '\r' && !isCrLf))
        lines.emplace_back();
    }

    const ProgramText program("", original);
    std::pair<std::uint32_t, std::uint32_t> last{0, 0};
    for (std::size_t at = 0; at < program.getText().size(); ++at)
    {
      const auto origin = program.locate(program.getText().substr(at, 1));
      ASSERT_LE(origin->line, lines.size());
      ASSERT_LE(origin->column, lines[origin->line - 1].size());
      EXPECT_EQ(lines[origin->line - 1][origin->column - 1], program.getText()[at]) << testing::PrintToString(original);
      const std::pair place{origin->line, origin->column};
      EXPECT_GT(place, last) << testing::PrintToString(original);
      last = place;
    }
  }
}
}  // namespace
}  // namespace ZR::Filtrix
