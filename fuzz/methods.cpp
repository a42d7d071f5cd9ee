// Calls the module's methods by name, as a host does that means no good: names that exist and others, values of the
// types that a method takes and others. No worker runs, so that the same bytes do the same. A call ends with a result
// or with a std::exception, and the registry can be listed and emptied afterwards.

#include "filtrix/ku/log.h"
#include "filtrix/zrimage.h"
#include "module/entry.h"
#include "module/zrfiltrix.h"
#include "platform/inprocessbroker.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using namespace ZR;

namespace
{
constexpr std::size_t mostCalls = 24;
constexpr std::size_t longestText = 24;

constexpr std::array names{"s",   "t",     "a",         "p",         "q",       "p:out",  "q:out", "p:none",
                           ":",   "p:",    "Threshold", "SnnClass",  "Erosion", "C",      "",      "RobotHeightOffset",
                           "out", "Accum", "Duplicate", "ImageRGB0", "Print",   "Append", "this:s"};
constexpr std::array statements{"source s { 12 }",
                                "source t { \"text\" }",
                                "source t { }",
                                "process p(Identity, 3, infinity) { in <= s; out => out; }",
                                "process q(Threshold, 1, 10.0) { in <= p:out; ceil <= s; out => out; }",
                                "process q(Duplicate) { source own; in <= this:own; out => out; }",
                                "filter C { Erosion e; Dilation d; e -> d; e <= in; d => out; }",
                                "process p(C, 8, 1.0) { in <= t; out => out; }",
                                "event p { s }",
                                "event q { p:out }",
                                "delete source { s }",
                                "delete process { p }",
                                "delete filter { C }"};
constexpr std::array tags{"Integer", "Float",       "Boolean", "String", "Array",   "Object",
                          "Date",    "ColorImage",  "Vector3", "Lambda", "Invalid", "GrayscaleImage",
                          "Human",   "BinaryImage", "Region",  "Null"};

// These start threads, or hand out what the caller must know how to use.
bool isLeftOut(std::string_view method)
{
  return method == "startScheduler" || method == "_startMotionWorker" || method == "getFiltrix";
}

std::string makeText(FuzzedDataProvider& bytes)
{
  switch (bytes.ConsumeIntegralInRange(0, 3))
  {
  case 0:
    return bytes.ConsumeRandomLengthString(longestText);
  case 1:
    return bytes.PickValueInArray(statements);
  default:
    return bytes.PickValueInArray(names);
  }
}

ZRValue makeValue(FuzzedDataProvider& bytes, std::size_t depth = 0)
{
  switch (bytes.ConsumeIntegralInRange(0, depth < 3 ? 9 : 6))
  {
  case 0:
    return bytes.ConsumeBool();
  case 1:
    return bytes.ConsumeIntegral<std::int64_t>();
  case 2:
    return bytes.ConsumeIntegral<std::int8_t>();
  case 3:
    return bytes.ConsumeFloatingPoint<double>();
  case 4:
    return bytes.ConsumeBytes<std::uint8_t>(bytes.ConsumeIntegralInRange<std::size_t>(0, 32));
  case 5:
    return nullptr;
  case 6:
    return makeText(bytes);
  case 7:
    return ZRValue::array(bytes.PickValueInArray(tags), makeValue(bytes, depth + 1));
  default:
  {
    ZRValue::Array items;
    for (int left = bytes.ConsumeIntegralInRange(0, 6); left > 0; --left)
      items.push_back(makeValue(bytes, depth + 1));
    return ZRValue(std::move(items));
  }
  }
}

// Mostly of the type that the method takes, so that the call arrives.
ZRValue makeArgument(FuzzedDataProvider& bytes, const ku::ValueType& type)
{
  if (bytes.ConsumeIntegralInRange(0, 7) == 0)
    return makeValue(bytes);
  if (type == ku::ValueType::String)
    return makeText(bytes);
  if (type == ku::ValueType::Integer)
    return bytes.ConsumeIntegralInRange<std::int64_t>(-4, 12);
  if (type == ku::ValueType::Float || type == ku::ValueType::Double)
    return bytes.ConsumeFloatingPoint<float>();
  return makeValue(bytes);
}

void call(const ZRFiltrix& module, const ku::Method& method, FuzzedDataProvider& bytes)
{
  ku::DynamicObject::Arguments arguments;
  for (const ku::Parameter& parameter : method.parameters)
    arguments.push_back(makeArgument(bytes, parameter.type));
  const std::string text = arguments.size() == 1 && arguments[0].isString() ? arguments[0].asString() : std::string();
  // An import leads to files, whose content is no part of the input.
  if (text.find("import") != std::string::npos)
    return;
  try
  {
    const ZRValue result = module.call(method.name, arguments);
    if (method.name == "getImageLocal")
      std::default_delete<ZRImage>()(reinterpret_cast<ZRImage*>(result.toInteger()));
    static_cast<void>(result.toText());
  }
  catch (const std::exception& error)
  {
    if (std::string_view(error.what()).empty())
      std::abort();
  }
}

// A module as it comes. Making one takes a tenth of a second, so it serves as long as nothing of it is missing: what a
// round has made is deleted after it.
class Bench final
{
public:
  Bench()
  {
    _createModule(host.broker());
    module = std::dynamic_pointer_cast<ZRFiltrix>(host.broker()->find(ZRFiltrix::moduleName));
    methods = module->getMethods();
    std::erase_if(methods, [](const ku::Method& method) { return isLeftOut(method.name); });
    for (List& list : lists)
      list.own = _listed(list.get);
  }

  void round(FuzzedDataProvider& bytes) const
  {
    for (std::size_t calls = 0; calls < mostCalls && bytes.remaining_bytes() > 0; ++calls)
      call(*module, methods[bytes.ConsumeIntegralInRange<std::size_t>(0, methods.size() - 1)], bytes);
  }

  // False when something that came with the module has gone.
  [[nodiscard]] bool tidyUp() const
  {
    bool isWhole = true;
    for (const List& list : lists)
    {
      std::set<std::string> left = _listed(list.get);
      isWhole = isWhole && std::ranges::includes(left, list.own);
      for (const std::string& name : left)
      {
        if (!list.own.contains(name) && !module->call(list.remove, {name}).asBoolean())
          std::abort();
      }
      left = _listed(list.get);
      if (!std::ranges::includes(list.own, left))
        std::abort();
    }
    return isWhole;
  }

private:
  struct List
  {
    const char* get;
    const char* remove;
    std::set<std::string> own;
  };

  [[nodiscard]] std::set<std::string> _listed(const char* get) const
  {
    std::set<std::string> found;
    const ZRValue listed = module->call(get);
    for (const ZRValue& name : listed.asArray())
      found.insert(name.asString());
    return found;
  }

  Host host;
  std::shared_ptr<ZRFiltrix> module;
  std::vector<ku::Method> methods;
  std::array<List, 3> lists{
      {{"getProcesses", "deleteProcess", {}}, {"getSources", "deleteSource", {}}, {"getFilters", "deleteFilter", {}}}};
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  static std::unique_ptr<Bench> bench;
  const ku::log::Capture log(ku::log::Level::Fatal);
  FuzzedDataProvider bytes(data, size);
  if (!bench)
    bench = std::make_unique<Bench>();
  bench->round(bytes);
  if (!bench->tidyUp())
    bench.reset();
  return 0;
}
