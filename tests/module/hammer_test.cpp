// Everybody calls everything at once: methods by name with names and values good and bad, while the scheduler runs and
// programs come and go. What must hold is that it all ends, and that nothing else breaks.

#include "module/modulekit.h"

#include "filtrix/ku/object.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
constexpr int callers = 8;
constexpr int callsEach = 400;

class Caller
{
public:
  Caller(ZRFiltrix& module_, unsigned seed) : module(module_), random(seed), methods(module.getMethods()) {}

  // A call may fail, but only with an exception of the standard kind.
  void callSomething()
  {
    const ku::Method& method = methods[_below(methods.size())];
    if (method.name == "getImageLocal" || method.name == "getFiltrix")
      return;  // hand out memory and an address
    ku::DynamicObject::Arguments arguments;
    for (const ku::Parameter& parameter : method.parameters)
      arguments.push_back(_argument(parameter));
    if (_below(20) == 0)
      arguments.emplace_back(1);
    try
    {
      module.call(method.name, arguments);
    }
    catch (const std::exception&)
    {
      ++refused;
    }
  }

  std::size_t refused = 0;

private:
  std::size_t _below(std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); }

  std::string _name()
  {
    static const std::vector<std::string> names{"p0",   "p1",     "p2", "s0",       "s1",
                                                "p0:o", "p1:o",   "",   "p0:",      "Own",
                                                "Add",  "nobody", ":",  "\xff\x00", "RobotHeightOffset"};
    return _below(50) == 0 ? std::string(100'000, 'x') : names[_below(names.size())];
  }

  // The filters of the library stay: everybody would soon be left without any.
  std::string _program()
  {
    const std::string n = std::to_string(_below(3));
    switch (_below(6))
    {
    case 0:
      return "process p" + n + "(Add, 1, 500.0) { left <= s0; right <= s1; out => o; }";
    case 1:
      return "filter Own { Add a; a:left <= left; a:right <= right; a:out => out; }";
    case 2:
      return "process p" + n + "(Own, 2, 500.0) { left <= s0; right <= s1; out => o; }";
    case 3:
      return "source s0 { 1 } source s1 { 2 }";
    case 4:
      return "delete process { p" + n + " } delete filter { Own }";
    default:
      return "event p" + n + " { s0 } process x(";
    }
  }

  ZRValue _argument(const ku::Parameter& parameter)
  {
    if (parameter.name == "program")
      return _program();
    switch (_below(8))
    {
    case 0:
      return nullptr;
    case 1:
      return static_cast<std::int64_t>(_below(10)) - 5;
    case 2:
      return ZRValue::array("Integer", static_cast<std::int64_t>(_below(100)));
    case 3:
      return ZRValue::array(ZRValue::array(1, 2), "x", 3);
    default:
      if (parameter.type == ku::ValueType::Any)
        return ZRValue::array("Integer", static_cast<std::int64_t>(_below(100)));
      if (parameter.type == ku::ValueType::String)
        return _name();
      return static_cast<std::int64_t>(_below(10));
    }
  }

  ZRFiltrix& module;
  std::mt19937 random;
  const std::vector<ku::Method> methods;
};

TEST(Module, WithstandsCallersOfEveryMethodAtOnce)
{
  ModuleBench bench;
  bench.call("loadProgram", "source s0 { 1 } source s1 { 2 }"
                            "process p0(Add, 1, 500.0) { left <= s0; right <= s1; out => o; }");
  bench.call("startScheduler");
  std::atomic<std::size_t> refused{0};
  {
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < callers; ++seed)
      threads.emplace_back(
          [&bench, &refused, seed]
          {
            Caller caller(*bench.module, seed);
            for (int i = 0; i < callsEach; ++i)
              caller.callSomething();
            refused += caller.refused;
          });
    for (std::thread& thread : threads)
      thread.join();
  }
  // The calls were mixed: some came through, some did not.
  EXPECT_GT(refused, 0U);
  EXPECT_LT(refused, static_cast<std::size_t>(callers * callsEach));
  // And the system still does what it is for.
  bench.call("stopScheduler");
  bench.call("loadProgram", "source left { 20 } source right { 22 }"
                            "process after(Add, 1, 10.0) { left <= left; right <= right; out => o; }");
  EXPECT_EQ(bench.call("getData", "after:o"), ZRValue::array("Integer", 42));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
