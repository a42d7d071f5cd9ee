#pragma once

#include <memory>

namespace ku
{
/// Holds a value that is never destroyed: for what a program's last destructors and its detached threads still use.
template <typename T>
class Immortal
{
public:
  Immortal() { std::construct_at(std::addressof(value)); }

  // Leaves the value alone: that is the point. Not defaulted, which for a union member would mean deleted.
  ~Immortal() {}  // NOLINT(modernize-use-equals-default)

  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;

  T& operator*() noexcept { return value; }

private:
  union
  {
    T value;
  };
};
}  // namespace ku
