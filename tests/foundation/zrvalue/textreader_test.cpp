#include "filtrix/zrvalue.h"

#include "foundation/zrvalue/support.h"

#include <gtest/gtest.h>

namespace ZR
{
namespace
{
TEST(ZRValueFromText, TakesSpaceAndOtherSpellings)
{
  EXPECT_EQ(ZRValue::fromText(" \t\r\n[ 1 ,\n2 , [ ] , { } ]\n"),
            ZRValue::array(1, 2, ZRValue::array(), ZRValue::map()));
  EXPECT_EQ(ZRValue::fromText(R"( { "b" : 1 , "a":2 } )"), ZRValue::map({{"a", 2}, {"b", 1}}));
  EXPECT_EQ(ZRValue::fromText("[-0,007,1e2,1e-2,100e-2f]"), ZRValue::array(0, 7, 100.0, 0.01, 1.0F));
  EXPECT_EQ(ZRValue::fromText(R"("\x41\xFF")"), "A\xff");
  EXPECT_EQ(ZRValue::fromText("\"\xff\x80\""), "\xff\x80");
}

struct HostileCase
{
  std::string_view text;
  std::size_t line;
  std::size_t column;
  std::string_view problem;
};

class ZRValueHostileTextTest : public testing::TestWithParam<HostileCase>
{
};

TEST_P(ZRValueHostileTextTest, IsRefusedWhereItGoesWrong)
{
  const auto& [text, line, column, problem] = GetParam();
  try
  {
    const ZRValue value = ZRValue::fromText(text);
    FAIL() << text << " was read as " << value;
  }
  catch (const ZRValueParseError& error)
  {
    EXPECT_EQ(error.line(), line);
    EXPECT_EQ(error.column(), column);
    EXPECT_EQ(std::string(error.what()), "ZRValue text, line " + std::to_string(line) + ", column " +
                                             std::to_string(column) + ": " + std::string(problem));
  }
}

INSTANTIATE_TEST_SUITE_P(Structure, ZRValueHostileTextTest,
                         testing::Values(HostileCase{"", 1, 1, "expected a value, came the end of the text"},
                                         HostileCase{" \n ", 2, 2, "expected a value, came the end of the text"},
                                         HostileCase{"1 2", 1, 3, R"(expected the end of the text, came "2")"},
                                         HostileCase{std::string_view("1\0", 2), 1, 2,
                                                     R"(expected the end of the text, came "\x00")"},
                                         HostileCase{"[1,\n 2,]", 2, 4, R"(expected a value, came "]")"},
                                         HostileCase{"[1 2]", 1, 4, R"(expected "," or "]", came "2")"},
                                         HostileCase{"{1:2}", 1, 2, R"(expected a string, came "1")"},
                                         HostileCase{R"({"a" 1})", 1, 6, R"(expected ":", came "1")"},
                                         HostileCase{R"({"a":1,})", 1, 8, R"(expected a string, came "}")"},
                                         HostileCase{R"({"a":1, "\x61":2})", 1, 9,
                                                     R"(expected a key that is new to its map, came "a" again)"},
                                         HostileCase{"\xef\xbb\xbf"
                                                     "1",
                                                     1, 1, R"(expected a value, came "\xef")"}));

INSTANTIATE_TEST_SUITE_P(
    Words, ZRValueHostileTextTest,
    testing::Values(HostileCase{"nul", 1, 1, R"(expected a value, came "nul")"},
                    HostileCase{"True", 1, 1, R"(expected a value, came "True")"},
                    HostileCase{"-nan", 1, 1, R"(expected a value, came "-nan")"},
                    HostileCase{"+1", 1, 1, R"(expected a value, came "+1")"},
                    HostileCase{"1.", 1, 1, R"(expected a value, came "1.")"},
                    HostileCase{".5", 1, 1, R"(expected a value, came ".5")"},
                    HostileCase{"1e", 1, 1, R"(expected a value, came "1e")"},
                    HostileCase{"1f", 1, 1, R"(expected a value, came "1f")"},
                    HostileCase{"[1,aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", 1, 4,
                                R"(expected a value, came "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"...)"},
                    HostileCase{"9223372036854775808", 1, 1,
                                "expected an integer from -9223372036854775808 to 9223372036854775807, came "
                                R"("9223372036854775808")"},
                    HostileCase{"[1e999]", 1, 2, R"(expected a number in the range of a double, came "1e999")"},
                    HostileCase{"-1e-999", 1, 1, R"(expected a number in the range of a double, came "-1e-999")"},
                    HostileCase{"1e39f", 1, 1, R"(expected a number in the range of a float, came "1e39f")"},
                    HostileCase{"1e-60f", 1, 1, R"(expected a number in the range of a float, came "1e-60f")"}));

INSTANTIATE_TEST_SUITE_P(
    Bytes, ZRValueHostileTextTest,
    testing::Values(HostileCase{R"("abc)", 1, 5, "expected the closing quote of a string, came the end of the text"},
                    HostileCase{"\"a\nb\"", 1, 3, R"(expected control characters as escapes, came "\n")"},
                    HostileCase{R"("a\q")", 1, 4, R"(expected one of \" \\ \n \r \t \xHH, came "q")"},
                    HostileCase{R"("\)", 1, 3, R"(expected one of \" \\ \n \r \t \xHH, came the end of the text)"},
                    HostileCase{R"("\x1g")", 1, 5, R"(expected two hexadecimal digits after \x, came "g")"},
                    HostileCase{R"("\x+1")", 1, 4, R"(expected two hexadecimal digits after \x, came "+")"},
                    HostileCase{R"(b"A")", 1, 4, R"(expected padded base64, came "\"")"},
                    HostileCase{R"(b"A===")", 1, 4, R"(expected padded base64, came "=")"},
                    HostileCase{R"(b"AA")", 1, 5, R"(expected padded base64, came "\"")"},
                    HostileCase{R"(b"AA=A")", 1, 6, R"(expected padded base64, came "A")"},
                    HostileCase{R"(b"AAAA=")", 1, 7, R"(expected padded base64, came "=")"},
                    HostileCase{R"(b"AB==")", 1, 4, R"(expected padded base64, came "B")"},  // bits that no byte takes
                    HostileCase{R"(b"AA AA==")", 1, 5, R"(expected padded base64, came " ")"},
                    HostileCase{R"(b"AAAA)", 1, 7, "expected the closing quote of a blob, came the end of the text"}));

std::string repeat(std::string_view piece, std::size_t count)
{
  std::string text;
  text.reserve(piece.size() * count);
  for (std::size_t i = 0; i < count; ++i)
    text += piece;
  return text;
}

TEST(ZRValueFromText, NestsToTheLimitAndNoDeeper)
{
  const auto brackets = [](std::size_t depth) { return repeat("[", depth) + repeat("]", depth); };
  EXPECT_EQ(ZRValue::fromText(brackets(256)), nested(256));
  const std::string refusal = "ZRValue text, line 1, column 257: expected at most 256 arrays and maps in one another, "
                              "came one more";
  EXPECT_EQ(messageOf([&] { std::ignore = ZRValue::fromText(brackets(257)); }), refusal);
  EXPECT_EQ(messageOf([] { std::ignore = ZRValue::fromText(repeat("[", 4'000'000)); }), refusal);
  EXPECT_NE(messageOf([] { std::ignore = ZRValue::fromText(repeat("{\"a\":", 1'000'000)); }), "no error");
}

// Four megabytes each. Were the time of any of them to grow with the square of the size, this would take hours.
TEST(ZRValueFromText, ReadsLargeTextsOfEveryShapeInLinearTime)
{
  constexpr std::size_t size = 4'000'000;
  EXPECT_EQ(ZRValue::fromText("[" + repeat("[],", size / 3) + "0]").size(), size / 3 + 1);
  EXPECT_EQ(ZRValue::fromText('"' + repeat("\\\"", size / 2) + '"').asString().size(), size / 2);
  EXPECT_EQ(ZRValue::fromText("b\"" + repeat("AAAA", size / 4) + '"').asBlob().size(), size / 4 * 3);
  EXPECT_EQ(ZRValue::fromText("0." + repeat("1", size)), 1.0 / 9.0);
  EXPECT_EQ(ZRValue::fromText(repeat("0", size) + "1"), 1);
  EXPECT_EQ(ZRValue::fromText(repeat(" ", size) + "1"), 1);
  const std::string strange = repeat("\xf0\x9f", size / 2);  // a character cut short, over and over
  EXPECT_EQ(ZRValue::fromText(ZRValue(strange).toText()), strange);
  for (const std::string_view piece : {"\n", "9", "-", "\"", "b\"", "[1,\n", "nan", "\xff"})
    EXPECT_NE(messageOf([&] { std::ignore = ZRValue::fromText(repeat(piece, size / piece.size())); }), "no error");

  std::string keys = "{";
  for (std::size_t i = 0; i < size / 16; ++i)
    keys += '"' + std::to_string(i) + "\":null,";
  EXPECT_EQ(ZRValue::fromText(keys + "\"\":1}").size(), size / 16 + 1);
}
}  // namespace
}  // namespace ZR
