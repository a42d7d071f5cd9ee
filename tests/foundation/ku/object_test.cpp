#include "filtrix/ku/object.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace ku
{
namespace
{
using ZR::ZRValue;
using Arguments = DynamicObject::Arguments;

DynamicObject::Function tells(const char* what)
{
  return [what](const Arguments&) -> ZRValue { return what; };
}

struct FitCase
{
  const char* name;
  ValueType type;
  ZRValue value;
  ValueType::Fit fit;
  ZRValue converted;
};

class ValueTypeTest : public testing::TestWithParam<FitCase>
{
};

TEST_P(ValueTypeTest, TakesWhatFits)
{
  const auto& [name, type, value, fit, converted] = GetParam();
  EXPECT_EQ(type.fit(value), fit);
  if (fit == ValueType::Fit::None)
    EXPECT_THROW((void)type.convert(value), ZR::ZRValueError);
  else
    EXPECT_EQ(type.convert(value), converted);
}

using Fit = ValueType::Fit;
constexpr ValueType floats = ValueType::listOf(ValueType::Float);

INSTANTIATE_TEST_SUITE_P(
    Values, ValueTypeTest,
    testing::Values(FitCase{"IntegerAsItself", ValueType::Integer, 3, Fit::Exact, 3},
                    FitCase{"WholeDoubleAsInteger", ValueType::Integer, 3.0, Fit::Converted, 3},
                    FitCase{"HalfIsNoInteger", ValueType::Integer, 3.5, Fit::None, {}},
                    FitCase{"IntegerAsFloat", ValueType::Float, 3, Fit::Converted, 3.0F},
                    FitCase{"HugeDoubleIsNoFloat", ValueType::Float, 1e300, Fit::None, {}},
                    FitCase{"OneAsBool", ValueType::Boolean, 1, Fit::Converted, true},
                    FitCase{"TwoIsNoBool", ValueType::Boolean, 2, Fit::None, {}},
                    FitCase{"NumberIsNoString", ValueType::String, 2, Fit::None, {}},
                    FitCase{"AnythingAsAny", ValueType::Any, ZRValue::map(), Fit::Any, ZRValue::map()},
                    FitCase{"NullAsNothing", ValueType::Nothing, {}, Fit::Exact, {}},
                    FitCase{"ZeroIsNotNothing", ValueType::Nothing, 0, Fit::None, {}},
                    FitCase{"EmptyList", floats, ZRValue::array(), Fit::Exact, ZRValue::array()},
                    FitCase{"ListOfMixedNumbers", floats, ZRValue::array(1, 2.5F), Fit::Converted,
                            ZRValue::array(1.0F, 2.5F)},
                    FitCase{"ListWithAStranger", floats, ZRValue::array(1.0F, "x"), Fit::None, {}},
                    FitCase{"NumberIsNoList", floats, 1.0F, Fit::None, {}},
                    FitCase{"ListOfLists", ValueType::listOf(floats), ZRValue::array(ZRValue::array(1)), Fit::Converted,
                            ZRValue::array(ZRValue::array(1.0F))},
                    FitCase{"FlatListIsNoListOfLists", ValueType::listOf(floats), ZRValue::array(1.0F), Fit::None, {}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(DynamicObject, HandsTheArgumentsOverInTheDeclaredTypes)
{
  DynamicObject object("ZRFiltrix");
  object.advertise({"setProcessFrequency",
                    {{"name", ValueType::String, "The name of the process."}, {"frequency", ValueType::Float}},
                    ValueType::Any},
                   [](const Arguments& arguments)
                   { return ZRValue::array(arguments.at(0).asString(), arguments.at(1).asFloat()); });
  EXPECT_EQ(object.call("setProcessFrequency", {"people", 15}), ZRValue::array("people", 15.0F));
}

TEST(DynamicObject, CallsTheOverloadThatFitsBest)
{
  DynamicObject object("o");
  const auto offer = [&](std::vector<Parameter> parameters, const char* what) {
    object.advertise({"m", std::move(parameters), ValueType::String}, tells(what));
  };
  offer({}, "none");
  offer({{"x", ValueType::Any}}, "any");
  offer({{"x", ValueType::Float}}, "float");
  offer({{"x", ValueType::Integer}}, "int");
  offer({{"x", ValueType::Float}, {"y", ValueType::Integer}}, "float int");
  offer({{"x", ValueType::Integer}, {"y", ValueType::Float}}, "int float");
  EXPECT_EQ(object.call("m"), "none");
  EXPECT_EQ(object.call("m", {1}), "int");
  EXPECT_EQ(object.call("m", {1.5F}), "float");
  EXPECT_EQ(object.call("m", {1.5}), "float");
  EXPECT_EQ(object.call("m", {"x"}), "any");
  EXPECT_EQ(object.call("m", {1, 1.5F}), "int float");
  EXPECT_EQ(object.call("m", {1, 1}), "float int");  // as good as the other, so the first
}

TEST(DynamicObject, TellsWhatItTakesAndWhatCame)
{
  DynamicObject object("ZRFiltrix");
  const Parameter source{"source", ValueType::String};
  object.advertise({"getSourceData", {source}, ValueType::Any}, tells("one"));
  object.advertise({"getSourceData", {source, {"reader", ValueType::Any}}, ValueType::Any}, tells("two"));
  object.advertise({"getSources", {}, ValueType::listOf(ValueType::String)}, tells("no list"));
  const auto textOf = [&](std::string_view method, const Arguments& arguments)
  {
    try
    {
      return object.call(method, arguments).toText();
    }
    catch (const CallError& error)
    {
      EXPECT_EQ(object.asyncCall(method, arguments).error(), error.what());
      return std::string(error.what());
    }
  };
  EXPECT_EQ(textOf("getSourceData", {4}), "ZRFiltrix: method \"getSourceData\" got (Integer), expected "
                                          "getSourceData(string source) -> any or "
                                          "getSourceData(string source, any reader) -> any");
  EXPECT_EQ(textOf("getSources", {"x", {}}),
            "ZRFiltrix: method \"getSources\" got (String, Null), expected getSources() -> list of string");
  EXPECT_EQ(textOf("getSource", {}), "ZRFiltrix: unknown method \"getSource\". Did you mean \"getSources\"?");
  EXPECT_EQ(textOf("reboot", {}), "ZRFiltrix: unknown method \"reboot\".");
  try
  {
    object.call("getSources");
    FAIL();
  }
  catch (const std::logic_error& error)
  {
    EXPECT_STREQ(error.what(), "ZRFiltrix: method getSources() -> list of string returned String");
  }
}

TEST(DynamicObject, RefusesWhatCannotBeCalled)
{
  DynamicObject object("o");
  object.advertise({"m", {{"x", floats}}}, tells("x"));
  const auto textOf = [&](const Method& method, const DynamicObject::Function& function) -> std::string
  {
    try
    {
      object.advertise(method, function);
      return "accepted";
    }
    catch (const std::invalid_argument& error)
    {
      return error.what();
    }
  };
  EXPECT_EQ(textOf({"m", {{"y", floats}}}, tells("y")),
            "o: method m(list of float y) -> nothing is there already, as m(list of float x) -> nothing");
  EXPECT_EQ(textOf({""}, tells("y")), "o: method \"\" has no name");
  EXPECT_EQ(textOf({"n"}, {}), "o: method \"n\" has no function");
  EXPECT_EQ(object.methods().size(), 1u);
}

TEST(DynamicObject, CallsAsynchronouslyAndOutlivesItself)
{
  const auto caller = std::this_thread::get_id();
  const auto future = [&]
  {
    DynamicObject object("o");
    object.advertise({"where", {}, ValueType::Boolean},
                     [caller](const Arguments&) -> ZRValue { return std::this_thread::get_id() == caller; });
    object.advertise({"fail"}, [](const Arguments&) -> ZRValue { throw std::out_of_range("no such row"); });
    EXPECT_EQ(object.asyncCall("fail").error(), "no such row");
    EXPECT_THROW(object.call("fail"), std::out_of_range);
    return object.asyncCall("where");
  }();
  EXPECT_EQ(future.value(), false);
}

TEST(DynamicObject, ListsItsMethodsInOrder)
{
  DynamicObject object("o");
  object.advertise({.name = "zoom", .description = "Moves closer."}, tells(""));
  object.advertise({.name = "aim", .parameters = {{"yaw", ValueType::Double}}, .example = "aim(0.5)"}, tells(""));
  const auto methods = object.methods();
  ASSERT_EQ(methods.size(), 2u);
  EXPECT_EQ(methods[0].signature(), "zoom() -> nothing");
  EXPECT_EQ(methods[0].description, "Moves closer.");
  EXPECT_EQ(methods[1].signature(), "aim(double yaw) -> nothing");
  EXPECT_EQ(methods[1].example, "aim(0.5)");
}

TEST(DynamicObject, TakesCallsWhileMethodsAreAdded)
{
  DynamicObject object("o");
  object.advertise({"m", {}, ValueType::String}, tells("m"));
  const std::jthread adder(
      [&]
      {
        for (int i = 0; i < 200; ++i)
          object.advertise({"m" + std::to_string(i)}, tells(""));
      });
  for (int i = 0; i < 200; ++i)
    EXPECT_EQ(object.call("m"), "m");
}
}  // namespace
}  // namespace ku
