#pragma once

#include <memory>
#include <utility>

namespace ku
{
/// Holds a value that is never destroyed: for what a program's last destructors and its detached threads still use.
template <typename T>
class Immortal
{
public:
  template <typename... Args>
  explicit Immortal(Args&&... args)
  {
    std::construct_at(std::addressof(value), std::forward<Args>(args)...);
  }

  // Leaves the value alone: that is the point. Not defaulted, which for a union member would mean deleted.
  ~Immortal() {}  // NOLINT(modernize-use-equals-default)

  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;

  T& operator*() noexcept { return value; }

  const T& operator*() const noexcept { return value; }

private:
  union
  {
    T value;
  };
};
}  // namespace ku
