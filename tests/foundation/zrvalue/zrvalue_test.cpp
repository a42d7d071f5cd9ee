#include "filtrix/zrvalue.h"

#include "foundation/zrvalue/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <latch>
#include <limits>
#include <thread>

namespace ZR
{
namespace
{
using Kind = ZRValue::Kind;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// What would quietly become a Boolean or an Integer does not compile.
static_assert(!std::is_constructible_v<ZRValue, void*>);
static_assert(!std::is_constructible_v<ZRValue, const int*>);
static_assert(!std::is_constructible_v<ZRValue, char>);
static_assert(!std::is_constructible_v<ZRValue, char32_t>);
static_assert(!std::is_constructible_v<ZRValue, long double>);
static_assert(!std::is_convertible_v<ZRValue::Array, ZRValue>);

struct KindCase
{
  const char* name;
  ZRValue value;
  Kind kind;
};

const std::vector<KindCase> kindCases = {
    {"Null", nullptr, Kind::Null},
    {"Boolean", true, Kind::Boolean},
    {"Integer", 43, Kind::Integer},
    {"IntegerOfASize", sizeof(int), Kind::Integer},
    {"IntegerOfAByte", std::uint8_t{7}, Kind::Integer},
    {"Float", 1.5F, Kind::Float},
    {"Double", 1.5, Kind::Double},
    {"StringOfALiteral", "left hand", Kind::String},
    {"StringOfAView", std::string_view("\0x", 2), Kind::String},
    {"Blob", ZRValue::Blob{1, 2, 3}, Kind::Blob},
    {"Array", ZRValue::array("Integer", 43), Kind::Array},
    {"Map", ZRValue::map({{"width", 320}}), Kind::Map},
};

class ZRValueKindTest : public testing::TestWithParam<KindCase>
{
};

TEST_P(ZRValueKindTest, IsOfOneKindAndReadsAsNoOther)
{
  struct Access
  {
    Kind kind;
    bool (ZRValue::*test)() const noexcept;
    void (*read)(const ZRValue&);
  };

  const std::vector<Access> accesses = {
      {Kind::Boolean, &ZRValue::isBoolean, [](const ZRValue& v) { std::ignore = v.asBoolean(); }},
      {Kind::Integer, &ZRValue::isInteger, [](const ZRValue& v) { std::ignore = v.asInteger(); }},
      {Kind::Float, &ZRValue::isFloat, [](const ZRValue& v) { std::ignore = v.asFloat(); }},
      {Kind::Double, &ZRValue::isDouble, [](const ZRValue& v) { std::ignore = v.asDouble(); }},
      {Kind::String, &ZRValue::isString, [](const ZRValue& v) { std::ignore = v.asString(); }},
      {Kind::Blob, &ZRValue::isBlob, [](const ZRValue& v) { std::ignore = v.asBlob(); }},
      {Kind::Array, &ZRValue::isArray, [](const ZRValue& v) { std::ignore = v.asArray(); }},
      {Kind::Map, &ZRValue::isMap, [](const ZRValue& v) { std::ignore = v.asMap(); }}};
  const ZRValue& value = GetParam().value;
  const Kind kind = GetParam().kind;
  EXPECT_EQ(value.kind(), kind);
  EXPECT_EQ(value.isNull(), kind == Kind::Null);
  for (const Access& access : accesses)
  {
    const std::string refusal =
        "ZRValue: expected " + std::string(kindName(access.kind)) + ", came " + std::string(kindName(kind));
    EXPECT_EQ((value.*access.test)(), kind == access.kind) << kindName(access.kind);
    EXPECT_EQ(messageOf([&] { access.read(value); }), kind == access.kind ? "no error" : refusal);
  }
}

TEST_P(ZRValueKindTest, EqualsItsCopyAndNoValueOfAnotherKind)
{
  ZRValue source = GetParam().value;
  const ZRValue moved = std::move(source);
  EXPECT_EQ(moved, GetParam().value);
  EXPECT_TRUE(source.isNull());  // NOLINT(bugprone-use-after-move): it is what is promised
  for (const KindCase& other : kindCases)
    EXPECT_TRUE(other.kind == GetParam().kind || other.value != moved) << other.name;
}

INSTANTIATE_TEST_SUITE_P(Kinds, ZRValueKindTest, testing::ValuesIn(kindCases),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(ZRValue, ComparesAsValues)
{
  EXPECT_EQ(ZRValue(nan), ZRValue(-nan));
  EXPECT_EQ(ZRValue::array(nan, 1), ZRValue::array(nan, 1));
  EXPECT_NE(ZRValue(nan), ZRValue(std::numeric_limits<float>::quiet_NaN()));
  EXPECT_EQ(ZRValue(0.0), ZRValue(-0.0));
  EXPECT_NE(ZRValue(1), ZRValue(1.0));
  EXPECT_NE(ZRValue::array(1, 2), ZRValue::array(1));
  EXPECT_NE(ZRValue::map({{"a", 1}}), ZRValue::map({{"b", 1}}));
  EXPECT_NE(ZRValue::map({{"a", 1}}), ZRValue::map({{"a", 2}}));
}

TEST(ZRValue, ConvertsNumbersThatFit)
{
  EXPECT_EQ(ZRValue(-2.0).toInteger(), -2);
  EXPECT_EQ(ZRValue(-0x1p63).toInteger(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(ZRValue(0.1).toFloat(), 0.1F);
  EXPECT_EQ(ZRValue(infinity).toFloat(), std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(ZRValue(nan).toFloat()));
  // 2^60 + 2^36 + 1 lies above the middle of two floats; rounded to a double first, it would fall on it, and then down.
  EXPECT_EQ(ZRValue((std::int64_t{1} << 60) + (std::int64_t{1} << 36) + 1).toFloat(), 0x1p60F + 0x1p37F);
  EXPECT_EQ(ZRValue(0.1F).toDouble(), static_cast<double>(0.1F));
  EXPECT_TRUE(ZRValue(1).toBoolean());
  EXPECT_FALSE(ZRValue(false).toBoolean());
}

TEST(ZRValue, RefusesWhatDoesNotFit)
{
  const char* const nothing = nullptr;
  EXPECT_EQ(messageOf([&] { std::ignore = ZRValue(nothing); }), "ZRValue: expected a string, came a null pointer");
  EXPECT_EQ(messageOf([] { std::ignore = ZRValue(9223372036854775808U); }),
            "ZRValue: expected an Integer of at most 9223372036854775807, came 9223372036854775808");
  for (const double number : {0.5, 0x1p63, -0x1.0000000000001p63, nan, infinity})
    EXPECT_EQ(messageOf([&] { std::ignore = ZRValue(number).toInteger(); }),
              "ZRValue: expected a whole number of 64 bits, came Double " + ZRValue(number).toText());
  EXPECT_EQ(messageOf([] { std::ignore = ZRValue(-1e39).toFloat(); }),
            "ZRValue: expected a number in the range of Float, came Double -1e+39");
  EXPECT_EQ(messageOf([] { std::ignore = ZRValue(2).toBoolean(); }),
            "ZRValue: expected Boolean or Integer 0 or 1, came Integer 2");
  EXPECT_EQ(messageOf([] { std::ignore = ZRValue("1").toDouble(); }),
            "ZRValue: expected Integer, Float or Double, came String");
}

TEST(ZRValue, FindsItemsAndNamesWhatIsNotThere)
{
  const ZRValue items = ZRValue::array("Integer", 43);
  EXPECT_EQ(items.at(1), 43);
  EXPECT_EQ(messageOf([&] { std::ignore = items.at(2); }), "ZRValue: index 2 in an Array of 2");
  EXPECT_EQ(messageOf([&] { std::ignore = items.at("a"); }), "ZRValue: expected Map, came Array");

  const ZRValue entries = ZRValue::map({{"b", 2}, {"a", 1}});
  EXPECT_EQ(entries.at("a"), 1);
  EXPECT_EQ(entries.asMap().begin()->first, "a");
  EXPECT_EQ(entries.find("c"), nullptr);
  EXPECT_EQ(messageOf([&] { std::ignore = entries.at("c"); }), "ZRValue: no key \"c\" in a Map of 2");
  EXPECT_EQ(messageOf(
                [] {
                  std::ignore = ZRValue::map({{"a", 1}, {"a", 2}});
                }),
            "ZRValue: expected different keys in a Map, came \"a\" twice");
  EXPECT_EQ(messageOf([] { std::ignore = ZRValue("ab").size(); }), "ZRValue: expected Array or Map, came String");
}

TEST(ZRValue, ChangingACopyLeavesTheOriginal)
{
  const ZRValue items = ZRValue::array(1);
  ZRValue grown = items;
  grown.push_back(2);
  EXPECT_EQ(items, ZRValue::array(1));
  EXPECT_EQ(grown, ZRValue::array(1, 2));

  const ZRValue entries = ZRValue::map({{"a", 1}});
  ZRValue more = entries;
  EXPECT_TRUE(more.insert("b", 2));
  EXPECT_FALSE(more.insert("a", 3));
  EXPECT_EQ(entries, ZRValue::map({{"a", 1}}));
  EXPECT_EQ(more, ZRValue::map({{"a", 1}, {"b", 2}}));
}

TEST(ZRValue, MayBeGivenToItself)
{
  ZRValue value = ZRValue::array(ZRValue::array("inner"), 2);
  value.push_back(value);
  EXPECT_EQ(value.toText(), R"([["inner"],2,[["inner"],2]])");
  value = value.at(0);  // its owner dies in the middle of the assignment
  EXPECT_EQ(value, ZRValue::array("inner"));
  value = value.at(0);
  EXPECT_EQ(value, "inner");
  ZRValue number = ZRValue::array(43);
  number = number.at(0);
  EXPECT_EQ(number, 43);
  ZRValue& alias = value;
  value = std::move(alias);
  EXPECT_EQ(value, "inner");
}

TEST(ZRValue, NestsToTheLimitByEveryWayAndNoDeeper)
{
  ZRValue deepest = nested(ZRValue::maxDepth);
  EXPECT_EQ(deepest.depth(), 256U);
  EXPECT_EQ(deepest, nested(ZRValue::maxDepth));

  const std::string refusal = "ZRValue: nested 257 deep, expected at most 256";
  EXPECT_EQ(messageOf([&] { std::ignore = ZRValue::array(1, deepest); }), refusal);
  EXPECT_EQ(messageOf([&] { std::ignore = ZRValue::map({{"a", deepest}}); }), refusal);
  EXPECT_EQ(messageOf([&] { deepest.push_back(deepest); }), refusal);
  ZRValue entries = ZRValue::map();
  EXPECT_EQ(messageOf([&] { entries.insert("a", deepest); }), refusal);
  EXPECT_EQ(entries, ZRValue::map());

  // What grows by one item at a time knows its new depth.
  ZRValue grown = ZRValue::array(1);
  grown.push_back(nested(254));
  EXPECT_TRUE(entries.insert("a", grown));
  EXPECT_EQ(entries.depth(), 256U);
}

TEST(ZRValue, CopiesMayBeChangedOnManyThreads)
{
  constexpr int threads = 4;
  constexpr int rounds = 2000;
  std::vector<ZRValue> copies(threads, ZRValue::array(ZRValue::array("shared"), 0));
  std::latch start(threads);
  {
    std::vector<std::jthread> workers;
    workers.reserve(threads);
    for (ZRValue& copy : copies)
      workers.emplace_back(
          [&start, &copy]
          {
            start.arrive_and_wait();
            for (int i = 1; i <= rounds; ++i)
            {
              const ZRValue seen = copy;
              copy.push_back(seen.size());
            }
          });
  }
  for (const ZRValue& copy : copies)
  {
    ASSERT_EQ(copy.size(), rounds + 2U);
    EXPECT_EQ(copy.at(rounds + 1), rounds + 1);
  }
}
}  // namespace
}  // namespace ZR
