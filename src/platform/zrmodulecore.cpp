#include "platform/zrmodulecore.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace ZR
{
namespace
{
// What a method's functions get; one that nobody described has a type alone.
ku::Method toMethod(const MethodDescription& description, const std::vector<ku::ValueType>& types,
                    ku::ValueType returns)
{
  ku::Method method;
  method.name = description.name;
  method.description = description.text;
  method.returns = returns;
  for (std::size_t i = 0; i < types.size(); ++i)
  {
    const bool described = i < description.params.size();
    method.parameters.push_back({described ? description.params[i].name : fmt::format("arg{}", i + 1), types[i],
                                 described ? description.params[i].text : ""});
  }
  for (const auto& [language, text] : description.examples)
    method.example += text;
  return method;
}
}  // namespace

ZRModuleCore::ZRModuleCore(std::string name) : moduleName(std::move(name)), methods(moduleName) {}

ZRModuleCore::~ZRModuleCore() = default;

void ZRModuleCore::functionName(std::string method, std::string module, std::string text)
{
  current.emplace(MethodDescription{std::move(method), std::move(module), std::move(text), {}, {}});
}

void ZRModuleCore::addParam(std::string param, std::string text)
{
  static_cast<void>(getCurrentMethodDescription());
  current->params.push_back({std::move(param), std::move(text)});
}

void ZRModuleCore::addMethodExample(std::string language, std::string text)
{
  static_cast<void>(getCurrentMethodDescription());
  current->examples.push_back({std::move(language), std::move(text)});
}

const MethodDescription& ZRModuleCore::getCurrentMethodDescription() const
{
  if (!current)
    throw std::logic_error(moduleName + ": no method is being described, expected functionName before");
  return *current;
}

void ZRModuleCore::_advertise(const std::vector<ku::ValueType>& types, ku::ValueType returns,
                              ku::DynamicObject::Function function)
{
  const MethodDescription& open = getCurrentMethodDescription();
  if (ready)
    throw std::logic_error(fmt::format("{}: method \"{}\" is bound after initModule", moduleName, open.name));
  if (open.params.size() > types.size())
    throw std::logic_error(fmt::format("{}: method \"{}\" has {} parameters, but {} are described", moduleName,
                                       open.name, types.size(), open.params.size()));
  methods.advertise(toMethod(open, types, returns), std::move(function));
  descriptions.push_back(std::move(*current));
  current.reset();
}

void ZRModuleCore::_requireNewName() const
{
  const std::string& method = getCurrentMethodDescription().name;
  if (std::ranges::find(descriptions, method, &MethodDescription::name) != descriptions.end())
    throw std::logic_error(fmt::format("{}: method \"{}\" is bound twice", moduleName, method));
}
}  // namespace ZR
