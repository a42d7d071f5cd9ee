#include "bench/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<std::uint64_t> count{0};

void* counted(std::size_t size)
{
  count.fetch_add(1, std::memory_order_relaxed);
  if (void* const memory = std::malloc(size != 0 ? size : 1))  // NOLINT(cppcoreguidelines-no-malloc)
    return memory;
  throw std::bad_alloc();
}
}  // namespace

// The benchmark and its floor both go through these, so the count costs them alike.
// NOLINTBEGIN(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory, misc-new-delete-overloads)
void* operator new(std::size_t size)
{
  return counted(size);
}

void* operator new[](std::size_t size)
{
  return counted(size);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
  count.fetch_add(1, std::memory_order_relaxed);
  const auto step = static_cast<std::size_t>(alignment);
  if (void* const memory = std::aligned_alloc(step, (size + step - 1) / step * step))
    return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
  std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept
{
  std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
  std::free(memory);
}

void operator delete[](void* memory) noexcept
{
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
  std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
  std::free(memory);
}

// NOLINTEND(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory, misc-new-delete-overloads)

std::uint64_t ZR::Filtrix::Bench::allocations() noexcept
{
  return count.load(std::memory_order_relaxed);
}
