#include "foundation/text/split.h"

#include <gtest/gtest.h>

namespace ZR::Filtrix
{
namespace
{
using Strings = std::vector<std::string_view>;

TEST(RemoveComments, JoinsTheLineToTheNextOneAndKnowsNothingOfQuotes)
{
  EXPECT_EQ(removeComments("a # b\nc", '#'), "a c");
  EXPECT_EQ(removeComments("a # b\r\nc", '#'), "a \nc");
  EXPECT_EQ(removeComments("\"x # y\" z\nw", '#'), "\"x w");
  EXPECT_EQ(removeComments("a # to the end", '#'), "a ");
  EXPECT_EQ(removeComments("##\n#\n", '#'), "");
}

struct BlockCase
{
  const char* text;
  Strings pieces;
};

class SplitBlocksTest : public testing::TestWithParam<BlockCase>
{
};

TEST_P(SplitBlocksTest, CutsHeadersAndBlocks)
{
  EXPECT_EQ(splitBlocks(GetParam().text, '{', '}'), GetParam().pieces) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, SplitBlocksTest,
    testing::Values(BlockCase{"a { b } c { }", {"a", "b", "c", ""}}, BlockCase{"", {}}, BlockCase{" only ", {"only"}},
                    BlockCase{"a { b { c } d } e", {"a", "b { c } d", "e"}}, BlockCase{"{x}{y}", {"x", "y"}},
                    BlockCase{"a { \"}\" } b", {"a", "\"}\"", "b"}}, BlockCase{"\"{\" a { b }", {"\"{\" a", "b"}},
                    BlockCase{"a { b", {"a"}}, BlockCase{"a { { b }", {"a"}}, BlockCase{"a } b", {"a } b"}},
                    BlockCase{"a { \"b \\\" } c", {"a"}}, BlockCase{"a \"no end { b }", {"a \"no end { b }"}}));

TEST(SplitList, DropsEmptyItemsAndLetsOnlyQuotesProtect)
{
  EXPECT_EQ(splitList("a;;b;", ';'), (Strings{"a", "b"}));
  EXPECT_EQ(splitList(" a ; \"b;c\" ; (d;e) ", ';'), (Strings{"a", "\"b;c\"", "(d", "e)"}));
  EXPECT_EQ(splitList("\"a\\\";b\";c", ';'), (Strings{"\"a\\\";b\"", "c"}));
  EXPECT_EQ(splitList("\"a;b", ';'), (Strings{"\"a;b"}));
  EXPECT_EQ(splitList(" ; ;", ';'), Strings());
}

TEST(SplitOnce, TrimsBothSidesUnlessThereIsNoSeparator)
{
  EXPECT_EQ(splitOnce(" a -> b -> c ", "->"), std::make_pair(std::string_view("a"), std::string_view("b -> c")));
  EXPECT_EQ(splitOnce(" a ", "->"), std::make_pair(std::string_view(" a "), std::string_view()));
}

TEST(Trim, KnowsFourKindsOfWhiteSpace)
{
  EXPECT_EQ(trim(" \t\r\n a b \n"), "a b");
  EXPECT_EQ(trim("\v a"), "\v a");
  EXPECT_EQ(trim(" \n "), "");
}

TEST(SkipString, FindsTheQuoteThatIsNotEscaped)
{
  EXPECT_EQ(skipString(R"("a\"b" c)", 0), 5U);
  EXPECT_EQ(skipString(R"("a\\" c)", 0), 4U);
  EXPECT_EQ(skipString(R"("no end)", 0), 7U);
  EXPECT_EQ(skipString("\"\\", 0), 2U);
}
}  // namespace
}  // namespace ZR::Filtrix
