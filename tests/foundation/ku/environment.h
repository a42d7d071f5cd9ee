#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace ku
{
/// Sets an environment variable, or unsets it, for as long as it lives. For tests that run no second thread.
class ScopedVariable
{
public:
  ScopedVariable(std::string name_, const std::optional<std::string>& value) : name(std::move(name_))
  {
    if (const char* old = std::getenv(name.c_str()))
      previous = old;
    _set(value);
  }

  ~ScopedVariable() { _set(previous); }

  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
  void _set(const std::optional<std::string>& value) const
  {
    if (value)
      ::setenv(name.c_str(), value->c_str(), 1);
    else
      ::unsetenv(name.c_str());
  }

  const std::string name;
  std::optional<std::string> previous;
};
}  // namespace ku
