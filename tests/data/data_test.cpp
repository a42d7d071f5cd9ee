#include "filtrix/data.h"

#include "filtrix/audiobuffer.h"
#include "filtrix/histogram.h"
#include "filtrix/human.h"
#include "filtrix/image.h"
#include "filtrix/ku/clock.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <stdexcept>

namespace ZR::Filtrix
{
namespace
{
using Type::toText;

TEST(TypeTag, NamesAndTagsLeadToOneAnother)
{
  for (std::uint32_t i = 0; i < typeTagCount; ++i)
    EXPECT_EQ(Type::typeFromName(Type::typeName(static_cast<TypeTag>(i))), static_cast<TypeTag>(i));
  EXPECT_EQ(typeTagCount, 31U);
  EXPECT_EQ(Type::typeFromName("Lambda"), static_cast<TypeTag>(30));
  EXPECT_EQ(Type::typeFromName("DepthImage"), static_cast<TypeTag>(11));
  EXPECT_EQ(Type::typeFromName("Time"), static_cast<TypeTag>(27));
  EXPECT_EQ(Type::typeFromName("float"), TypeTag::Invalid) << "names are compared exactly";
  EXPECT_EQ(Type::typeName(static_cast<TypeTag>(31)), "Invalid");
}

TEST(Data, ADefaultValueIsEmpty)
{
  const Data data;
  EXPECT_EQ(data.type(), TypeTag::Invalid);
  EXPECT_EQ(data.rawPointer(), nullptr);
  EXPECT_FALSE(data.timestamp().isSet());
  EXPECT_EQ(toText(data), "");
}

struct NumberCase
{
  const char* name;
  Data data;
  bool truth;
  std::int32_t integer;
  std::uint32_t natural;
  float single;
  double wide;
};

class NumberTest : public testing::TestWithParam<NumberCase>
{
};

TEST_P(NumberTest, GettersConvertOnlyWhereStated)
{
  const NumberCase& c = GetParam();
  EXPECT_EQ(c.data.toBool(), c.truth);
  EXPECT_EQ(c.data.toInt(), c.integer);
  EXPECT_EQ(c.data.toUnsigned(), c.natural);
  EXPECT_EQ(c.data.toFloat(), c.single);
  EXPECT_EQ(c.data.toDouble(), c.wide);
  EXPECT_EQ(c.data.toString(), "");
  EXPECT_TRUE(c.data.toArray().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, NumberTest,
    testing::Values(NumberCase{"Boolean", Data(true), true, 0, 0, 0.0F, 0.0},
                    NumberCase{"Integer", Data(-3), false, -3, 0, -3.0F, -3.0},
                    NumberCase{"Unsigned", Data(3'000'000'000U), false, 0, 3'000'000'000U, 3e9F, 3e9},
                    NumberCase{"Float", Data(1.5F), false, 0, 0, 1.5F, 1.5},
                    NumberCase{"Double", Data(1.5), false, 0, 0, 0.0F, 1.5},
                    NumberCase{"Vector", Data(1.0F, 2.0F), false, 0, 0, 0.0F, 0.0},
                    NumberCase{"WithoutPayload", Data(std::shared_ptr<Time>()), false, 0, 0, 0.0F, 0.0}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Data, ValuesAreCopiedAndSharedPointersShared)
{
  const auto vector = std::make_shared<Type::Vector3>(1.0F, 2.0F, 3.0F);
  const Data wrapped(vector);
  const Data copied(*vector);
  vector->x = 9.0F;
  EXPECT_EQ(wrapped.get<Type::Vector3>()->x, 9.0F);
  EXPECT_EQ(copied.get<Type::Vector3>()->x, 1.0F);
  EXPECT_TRUE(copied.ownsValue());
  EXPECT_FALSE(wrapped.ownsValue());
  EXPECT_TRUE(Data(std::make_shared<Type::Vector6>()).ownsValue()) << "the one that differs";
  EXPECT_EQ(wrapped.get<Type::Vector2>(), nullptr);
  EXPECT_EQ(wrapped.share<Type::Vector3>(), vector);

  const float bins[] = {1.0F, 2.0F};
  const Type::Histogram histogram(bins, 2, 1);
  EXPECT_NE(Data(histogram).get<Type::Histogram>()->values(), histogram.values());
}

TEST(Data, SwapKeepsTagsWithTheirPayloads)
{
  Data a(1);
  Data b(2.5F);
  a.setTimestamp(Time(7));
  a.swap(b);
  EXPECT_EQ(a.toFloat(), 2.5F);
  EXPECT_EQ(b.toInt(), 1);
  EXPECT_EQ(a.timestamp(), Time(7));
}

// What grows by a level in each run must not grow until its end overflows the stack.
TEST(Data, ArraysNestToALimit)
{
  DataPtr value = makeData(7);
  for (std::uint32_t level = 1; level <= Data::maxNesting; ++level)
  {
    value = makeData(DataArray{nullptr, value, makeData(1)});
    ASSERT_EQ(value->nesting(), level);
  }
  const auto tooDeep = [&] { return makeData(DataArray{value}); };
  EXPECT_THROW(static_cast<void>(tooDeep()), std::length_error);
  Data flat(1);
  flat.swap(*value);
  EXPECT_EQ(tooDeep()->nesting(), 1U) << "what a value has swapped away does not count for it";
}

TEST(Time, ArithmeticTruncatesAndSaturates)
{
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(Time(1'999'999).seconds(), 1);
  EXPECT_EQ(Time(-1'999'999).seconds(), -1);
  EXPECT_EQ(Duration(-1'999).milliseconds(), -1);
  EXPECT_EQ(Time(5) - Time(7), Duration(-2));
  Time time(10);
  time -= Duration(4);
  EXPECT_EQ(time + Duration(1), Time(7));
  EXPECT_EQ(Time(most) + Duration(1), Time(most));
  EXPECT_EQ(Time(-5) - Time(most), Duration(std::numeric_limits<std::int64_t>::min()));
  EXPECT_EQ(Time(-most) - Duration(5), Time(std::numeric_limits<std::int64_t>::min()));
  const ku::ManualClock clock(std::chrono::nanoseconds(1'234'567));
  EXPECT_EQ(Time::now(), Time(1'234)) << "the clock's nanoseconds, truncated";
}

struct TextCase
{
  const char* name;
  Data data;
  const char* text;
};

class TextTest : public testing::TestWithParam<TextCase>
{
};

TEST_P(TextTest, IsAsStated)
{
  EXPECT_EQ(toText(GetParam().data), GetParam().text);
}

DataArray mixedArray()
{
  return {nullptr, makeData(3), makeData(DataArray{makeData("a;b")})};
}

std::shared_ptr<Type::Object2D> objectWithProperty()
{
  auto object = std::make_shared<Type::Object2D>();
  object->setProperty(4, makeData(1.5F));
  return object;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, TextTest,
    testing::Values(TextCase{"True", Data(true), "True"}, TextCase{"False", Data(false), "False"},
                    TextCase{"Integer", Data(-7), "-7"}, TextCase{"Unsigned", Data(4'000'000'000U), "4000000000"},
                    TextCase{"Float", Data(1.5F), "1.5f"}, TextCase{"Double", Data(1.5), "1.5"},
                    TextCase{"SixDigits", Data(1234567.0), "1.23457e+06"},
                    TextCase{"String", Data("a \"b\""), "a \"b\""},
                    TextCase{"NullString", Data(static_cast<const char*>(nullptr)), ""},
                    TextCase{"Vector2", Data(1.0F, 2.5F), "{X=1 Y=2.5}"},
                    TextCase{"Vector3", Data(1.0F, 2.0F, 3.0F), "{X=1 Y=2 Z=3}"},
                    TextCase{"Vector4", Data(1.0F, 2.0F, 3.0F, 4.0F), "{X=1 Y=2 Z=3 W=4}"},
                    TextCase{"Vector6", Data(1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F), "{X=1 Y=2 Z=3 WX=4 WY=5 WZ=6}"},
                    TextCase{"Region2", Data(Type::Region2({1, 2}, {3, 4})), "{Start=[1,2] End=[3,4]}"},
                    TextCase{"Region3", Data(Type::Region3({1, 2, 3}, {4, 5, 6})), "{Start=[1,2,3] End=[4,5,6]}"},
                    TextCase{"Histogram", Data(Type::Histogram(12, 3)), "{Histogram Channels=3 Size=4}"},
                    TextCase{"Human", Data(std::make_shared<Type::Human>(17, "anna")), "{Human Id=17 Name=anna}"},
                    TextCase{"Object2D", Data(objectWithProperty()), "{Object2D { 4 = 1.5f}}"},
                    TextCase{"EmptyObject", Data(std::make_shared<Type::Object3D>()), "{Object3D }"},
                    TextCase{"Time", Data(Time(1'500'000)), "{Time second=1}"},
                    TextCase{"Duration", Data(Duration(1'999)), "{Duration Milliseconds=1}"},
                    TextCase{"Array", Data(mixedArray()), "{NULL;3;{a;b}}"},
                    TextCase{"EmptyArray", Data(DataArray()), "{}"},
                    TextCase{"Color", Data(Type::Color{1, 2, 3}), "{void*}"},
                    TextCase{"Audio", Data(std::make_shared<Type::AudioBuffer>(2)), "{void*}"},
                    TextCase{"Opaque", Data(std::make_shared<int>(1)), "{void*}"},
                    TextCase{"NullPayload", Data(std::shared_ptr<Type::Human>()), ""}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Text, ImagesTellTheirSizeAndAddress)
{
  const auto image = std::make_shared<Type::ColorImage>(4, 2, "s", Time(1), 1.0F, 1.0F);
  std::ostringstream address;
  address << static_cast<const void*>(image->data());
  EXPECT_EQ(toText(Data(image)), "{Image Width=4 Height=2 Data=" + address.str() + "}");
  EXPECT_EQ(toText(Data(std::make_shared<Type::DepthImage>(0, 0, "s", Time(1), 1.0F, 1.0F))),
            "{DepthImage Width=0 Height=0 Data=0}");
}

// An array that holds itself twice has 2^256 elements to tell.
TEST(Text, WhatHoldsItselfComesToAnEnd)
{
  const auto array = makeData(DataArray());
  *array->get<DataArray>() = {array, array};
  EXPECT_NE(toText(*array).find("{...}"), std::string::npos);
  array->get<DataArray>()->clear();

  const auto object = std::make_shared<Type::Object2D>();
  object->setProperty(1, makeData(object));
  EXPECT_NE(toText(*object->getProperty(1)).find("{...}"), std::string::npos);
  object->setProperty(1, nullptr);
}

TEST(Vectors, WorkMemberByMember)
{
  const Type::Vector6 a(1, 2, 3, 4, 5, 6);
  const Type::Vector6 b(2, 2, 2, 2, 2, 2);
  EXPECT_EQ(a + b, Type::Vector6(3, 4, 5, 6, 7, 8));
  EXPECT_EQ(a - b, Type::Vector6(-1, 0, 1, 2, 3, 4));
  EXPECT_EQ(a * b, Type::Vector6(2, 4, 6, 8, 10, 12));
  EXPECT_EQ(a / b, Type::Vector6(0.5F, 1, 1.5F, 2, 2.5F, 3));
  EXPECT_NE(a, b);
  EXPECT_EQ(Type::Vector4(1, 2, 3, 4).dot(Type::Vector4(1, 10, 100, 1000)), 4321.0F);
  EXPECT_EQ(Type::Vector3(6, 6, 6) / Type::Vector3(1, 2, 3), Type::Vector3(6, 3, 2));
  EXPECT_EQ(Type::Vector2(1, 2) * Type::Vector2(3, 4), Type::Vector2(3, 8));
}
}  // namespace
}  // namespace ZR::Filtrix
