#include "platform/zrmodule.h"

#include "platform/inprocessbroker.h"
#include "platform/robot.h"
#include "platform/zrproxy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace ZR
{
namespace
{
using testing::HasSubstr;

class Example final : public ZRModule
{
public:
  Example(const std::shared_ptr<ZRBroker>& broker, std::string name) : ZRModule(broker, std::move(name))
  {
    setModuleDescription("An example.");

    functionName("scale", getName(), "Multiplies.");
    addParam("factor", "By what.");
    addParam("numbers", "What.");
    addMethodExample("C++", "module->scale(2, {1, 2});\n");
    duringSetUp = getCurrentMethodDescription();
    bindMethod(&Example::scale, this);

    functionName("get", getName(), "Gives what was set.");
    bindMethod([this] { return value; });

    functionName("set", getName(), "Sets.");
    addParam("value", "Anything.");
    bindMethod([this](const ZRValue& newValue) { value = newValue; });

    functionName("get", getName(), "Gives what was set, or something else.");
    addParam("fallback", "Instead of null.");
    bindMethodOverload([this](const std::string& fallback) { return value.isNull() ? ZRValue(fallback) : value; });

    functionName("self", getName(), "Gives an address.");
    bindMethod([this]() -> void* { return this; });

    functionName("small", getName(), "");
    bindMethod([](std::int8_t number) { return number; });
  }

  std::vector<float> scale(float factor, const std::vector<float>& numbers)
  {
    std::vector<float> scaled = numbers;
    for (float& number : scaled)
      number *= factor;
    return scaled;
  }

  void bindLate(const char* name)
  {
    functionName(name, getName(), "");
    bindMethod([] {});
  }

  using ZRModuleCore::addParam;
  using ZRModuleCore::bindMethod;
  using ZRModuleCore::functionName;

  MethodDescription duringSetUp;

private:
  ZRValue value;
};

class ZRModuleTest : public testing::Test
{
protected:
  const Host host{"robot"};
  const std::shared_ptr<Example> module = createModule<Example>(host.broker(), "Example");
  const ZRProxy proxy{host.broker(), "Example"};
};

TEST_F(ZRModuleTest, CallsByNameWithValues)
{
  EXPECT_EQ(proxy.call("scale", {2, ZRValue::array(1, 0.5, 3.0F)}), ZRValue::array(2.0F, 1.0F, 6.0F));
  EXPECT_EQ(proxy.call("scale", {2, ZRValue::array()}), ZRValue::array());
  EXPECT_TRUE(proxy.call("get").isNull());
  EXPECT_EQ(proxy.call("get", {"nothing"}), ZRValue("nothing"));
  EXPECT_TRUE(proxy.call("set", {ZRValue::array(1)}).isNull());
  EXPECT_EQ(proxy.call("get"), ZRValue::array(1));
  EXPECT_EQ(proxy.call("get", {"nothing"}), ZRValue::array(1));
  EXPECT_EQ(proxy.call("self"), ZRValue(reinterpret_cast<std::uintptr_t>(module.get())));
  EXPECT_EQ(proxy.call("small", {-128}), ZRValue(-128));
}

TEST_F(ZRModuleTest, TellsWhatAMethodTakes)
{
  EXPECT_THAT(
      errorOf(
          [&] {
            proxy.call("scale", {"2", ZRValue::array()});
          }),
      AllOf(HasSubstr("Example"), HasSubstr("float factor, list of float numbers"), HasSubstr("String, Array")));
  EXPECT_THAT(errorOf([&] { proxy.call("get", {1}); }), AllOf(HasSubstr("get()"), HasSubstr("get(string fallback)")));
  EXPECT_THAT(errorOf([&] { proxy.call("sclae"); }), HasSubstr("Did you mean \"scale\"?"));
  EXPECT_THAT(errorOf([&] { proxy.call("small", {128}); }), HasSubstr("expected an int of 8 bits, came 128"));
}

TEST_F(ZRModuleTest, DescribesItself)
{
  EXPECT_EQ(module->getModuleDescription(), "An example.");
  const auto& methods = module->getMethodDescriptions();
  ASSERT_EQ(methods.size(), 6U);
  EXPECT_EQ(methods[0], module->duringSetUp);
  EXPECT_EQ(methods[0], (MethodDescription{"scale",
                                           "Example",
                                           "Multiplies.",
                                           {{"factor", "By what."}, {"numbers", "What."}},
                                           {{"C++", "module->scale(2, {1, 2});\n"}}}));
  EXPECT_EQ(module->getMethods()[5].signature(), "small(int arg1) -> int");
}

TEST_F(ZRModuleTest, RefusesASetUpThatMakesNoSense)
{
  EXPECT_EQ(errorOf([&] { module->bindLate("late"); }), "Example: method \"late\" is bound after initModule");
  Example open(host.broker(), "Open");
  EXPECT_EQ(errorOf([&] { open.bindLate("get"); }), "Open: method \"get\" is bound twice");
  open.bindLate("fresh");
  EXPECT_EQ(errorOf([&] { open.addParam("lost", ""); }),
            "Open: no method is being described, expected functionName before");
  open.functionName("none", "Open", "");
  open.addParam("extra", "");
  EXPECT_EQ(errorOf([&] { open.bindMethod([] {}); }), "Open: method \"none\" has 0 parameters, but 1 are described");
  EXPECT_EQ(errorOf([] { Example(nullptr, "Lost"); }), "module \"Lost\": expected a broker, came null");
}
}  // namespace
}  // namespace ZR
