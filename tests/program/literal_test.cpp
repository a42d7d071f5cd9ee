#include "program/literal.h"

#include "program/programkit.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace ZR::Filtrix
{
namespace
{
struct KindCase
{
  const char* text;
  const char* kinds;  // of "bifs", those that it counts as
};

class LiteralKindTest : public testing::TestWithParam<KindCase>
{
};

TEST_P(LiteralKindTest, IsRecognised)
{
  const std::string text = GetParam().text;
  const std::string kinds = std::string(isBoolean(text) ? "b" : "") + (isInteger(text) ? "i" : "") +
                            (isFloat(text) ? "f" : "") + (isString(text) ? "s" : "");
  EXPECT_EQ(kinds, GetParam().kinds) << text;
}

INSTANTIATE_TEST_SUITE_P(Texts, LiteralKindTest,
                         testing::Values(KindCase{"true", "b"}, KindCase{"True", ""}, KindCase{"12", "if"},
                                         KindCase{"-12", "if"}, KindCase{"+12", ""}, KindCase{"-", ""},
                                         KindCase{"--1", ""}, KindCase{"12.", "f"}, KindCase{".5", "f"},
                                         KindCase{"-.5", "f"}, KindCase{"1.2.3", ""}, KindCase{"1e3", ""},
                                         KindCase{"infinity", "f"}, KindCase{"-infinity", ""}, KindCase{"", "f"},
                                         KindCase{"0x10", ""}, KindCase{"0xff", ""}, KindCase{"1 2", ""},
                                         KindCase{"\"\"", "s"}, KindCase{" \"a\" ", "s"}, KindCase{"\"", ""},
                                         KindCase{"\"a\" + \"b\"", "s"}, KindCase{"\"a", ""}, KindCase{"null", ""}));

TEST(ToInteger, ReadsBackEveryNumberAndWrapsBeyond)
{
  std::mt19937 random(7);
  for (int count = 0; count < 1000; ++count)
  {
    const auto value = std::bit_cast<std::int32_t>(static_cast<std::uint32_t>(random()));
    EXPECT_EQ(toInteger(std::to_string(value)), value);
    EXPECT_EQ(toLongInteger(std::to_string(std::int64_t{value} * 1'000'003)), std::int64_t{value} * 1'000'003);
  }
  EXPECT_EQ(toInteger("-2147483648"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(toInteger("4294967297"), 1);
  EXPECT_EQ(toInteger("0xFf"), 255);
  EXPECT_EQ(toLongInteger("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
}

// The reader rounds after each digit, so it may be off by a few of the last bits, but by no more.
TEST(ToFloat, ComesCloseToTheNearestNumber)
{
  std::mt19937 random(11);
  for (int count = 0; count < 1000; ++count)
  {
    const std::string text =
        (random() % 2 == 0 ? "" : "-") + std::to_string(random() % 100'000) + "." + std::to_string(random() % 100'000);
    const float nearest = std::stof(text);
    EXPECT_NEAR(toFloat(text), nearest, std::abs(nearest) * 1e-6F) << text;
  }
}

// Single precision, digit by digit: what a program's numbers have always been.
TEST(ToFloat, KeepsItsOwnArithmetic)
{
  EXPECT_EQ(toFloat("0.7"), 0.0F + 7.0F / 10.0F);
  EXPECT_EQ(toFloat("16777217"), 1677721.0F * 10.0F + 7.0F);
  EXPECT_EQ(toFloat("3.14"), (3.0F + 1.0F / 10.0F) + 4.0F / 100.0F);
  EXPECT_EQ(toFloat("infinity"), std::numeric_limits<float>::infinity());
  EXPECT_EQ(toFloat("1x2"), 12.0F);
  EXPECT_TRUE(std::signbit(toFloat("-0.0")));
  EXPECT_EQ(toFloat(""), 0.0F);
  EXPECT_EQ(toFloat("0." + std::string(60, '1')), toFloat("0." + std::string(80, '1')));
}

TEST(ToString, ReadsEscapes)
{
  EXPECT_EQ(toString(R"( "a\nb\rc\td\"e\\f\q" )"), "a\nb\rc\td\"e\\fq");
  EXPECT_EQ(toString(R"("a\0b")"), std::string("a\0b", 3));
  EXPECT_EQ(toString(R"("a\")"), "a");
  EXPECT_EQ(toString("\""), "");
}

struct ValueCase
{
  const char* name;
  std::string text;
  const char* value;
};

class LiteralValueTest : public testing::TestWithParam<ValueCase>
{
};

// Whole numbers beyond 32 bits wrap, and digits without end come to infinity or to nothing more.
TEST_P(LiteralValueTest, IsTheSameInAProgram)
{
  const auto& [name, text, value] = GetParam();
  ASSERT_NE(readLiteral(text), nullptr);
  EXPECT_EQ(Type::toText(*readLiteral(text)), value);
  Filtrix::Test::ProgramBench bench;
  ASSERT_TRUE(bench.load("source s { " + text + " } process p(Dilation) { in <= " + text + "; out => o; }"));
  EXPECT_EQ(Type::toText(*bench.registry.getSourceData("s")), value);
  EXPECT_EQ(Type::toText(*bench.registry.getData("p:o")), value);
  EXPECT_TRUE(bench.complaints().empty());
}

const std::string manyDigits(10'000, '9');

INSTANTIATE_TEST_SUITE_P(
    Numbers, LiteralValueTest,
    testing::Values(ValueCase{"AboveTheLargest", "2147483648", "-2147483648"},
                    ValueCase{"FarAboveTheLargest", "99999999999", "1215752191"},
                    ValueCase{"BelowTheSmallest", "-2147483649", "2147483647"},
                    // 10^10000 - 1, and 2^32 divides 10^10000
                    ValueCase{"IntegerOfTenThousandDigits", manyDigits, "-1"},
                    ValueCase{"FloatOfTenThousandDigits", manyDigits + ".5", "inff"},
                    ValueCase{"NegativeFloatOfTenThousandDigits", "-" + manyDigits + ".5", "-inff"},
                    ValueCase{"FloatOfTenThousandZeros", "0." + std::string(10'000, '0') + "1", "0f"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ReadLiteral, TriesTheKindsInOrder)
{
  EXPECT_EQ(readLiteral("false")->type(), TypeTag::Boolean);
  EXPECT_EQ(readLiteral("12")->type(), TypeTag::Integer);
  EXPECT_EQ(readLiteral("12.")->type(), TypeTag::Float);
  EXPECT_EQ(readLiteral("")->type(), TypeTag::Float);
  EXPECT_EQ(readLiteral("\"12\"")->type(), TypeTag::String);
  EXPECT_EQ(readLiteral("null"), nullptr);
}
}  // namespace
}  // namespace ZR::Filtrix
