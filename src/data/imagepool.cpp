#include "data/imagepool.h"

#include <opencv2/core.hpp>
#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace ZR::Filtrix
{
namespace
{
struct FreePixels
{
  void operator()(std::uint8_t* pixels) const { cv::fastFree(pixels); }
};

using Pixels = std::unique_ptr<std::uint8_t, FreePixels>;

// Sizes in four steps per power of two share their buffers: at most a quarter is lost, and images of nearly the same
// size, such as crops, find one another's.
std::size_t classOf(std::size_t bytes)
{
  constexpr std::size_t smallest = 64;
  const std::size_t atLeast = std::max(bytes, smallest);
  const std::size_t step = std::bit_floor(atLeast) / 4;
  return (atLeast + step - 1) / step * step;
}

// The buffers that wait for reuse.
class Shelves final
{
public:
  // Null when there is none of this class.
  Pixels take(std::size_t sizeClass)
  {
    const std::lock_guard lock(mutex);
    const auto found = shelves.find(sizeClass);
    if (found == shelves.end() || found->second.buffers.empty())
      return nullptr;
    Pixels pixels = std::move(found->second.buffers.back());
    found->second.buffers.pop_back();
    found->second.lastUse = ++uses;
    bytes -= sizeClass;
    return pixels;
  }

  // Too little memory to remember a buffer frees it: matrices end in destructors, which must not throw.
  void put(std::size_t sizeClass, Pixels pixels) noexcept
  try
  {
    std::vector<Pixels> evicted;  // freed after the lock is gone
    const std::lock_guard lock(mutex);
    while (bytes + sizeClass > imagePoolLimit && bytes > 0)
      evicted.push_back(_evict());
    if (sizeClass > imagePoolLimit)
      return;
    Shelf& shelf = shelves[sizeClass];
    shelf.buffers.push_back(std::move(pixels));
    shelf.lastUse = ++uses;
    bytes += sizeClass;
  }

  catch (const std::bad_alloc&)
  {
  }

  std::size_t size() const
  {
    const std::lock_guard lock(mutex);
    return bytes;
  }

private:
  struct Shelf
  {
    std::vector<Pixels> buffers;
    std::uint64_t lastUse = 0;
  };

  // A buffer from the shelf that was left alone longest. There is one.
  Pixels _evict()
  {
    const auto age = [](const auto& entry) { return entry.second.buffers.empty() ? UINT64_MAX : entry.second.lastUse; };
    auto& [sizeClass, shelf] = *std::ranges::min_element(shelves, {}, age);
    Pixels pixels = std::move(shelf.buffers.back());
    shelf.buffers.pop_back();
    bytes -= sizeClass;
    return pixels;
  }

  // Guards all below. Innermost: nothing else is locked or called under it but the heap.
  mutable std::mutex mutex;
  std::map<std::size_t, Shelf> shelves;
  std::uint64_t uses = 0;
  std::size_t bytes = 0;
};

// OpenCV's seam for matrix memory. Under the address sanitizer, reading a buffer that waits for reuse, or what its size
// class has beyond the matrix, is found like reading freed memory.
class Pool final : public cv::MatAllocator
{
public:
  cv::UMatData* allocate(int dims, const int* sizes, int type, void* given, std::size_t* steps, cv::AccessFlag flags,
                         cv::UMatUsageFlags usage) const override
  {
    if (given)
      return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, given, steps, flags, usage);
    std::size_t bytes = CV_ELEM_SIZE(type);
    for (int i = dims; i-- > 0;)
    {
      if (steps)
        steps[i] = bytes;
      bytes *= static_cast<std::size_t>(sizes[i]);
    }
    return _allocate(bytes);
  }

  bool allocate(cv::UMatData* data, cv::AccessFlag, cv::UMatUsageFlags) const override { return data != nullptr; }

  void deallocate(cv::UMatData* data) const override
  {
    const std::unique_ptr<cv::UMatData> owned(data);
    if (!owned)
      return;
    Pixels pixels(owned->origdata);
    const std::size_t sizeClass = classOf(owned->size);
    ASAN_POISON_MEMORY_REGION(pixels.get(), sizeClass);
    shelves.put(sizeClass, std::move(pixels));
  }

  std::size_t size() const { return shelves.size(); }

private:
  cv::UMatData* _allocate(std::size_t bytes) const
  {
    const std::size_t sizeClass = classOf(bytes);
    auto data = std::make_unique<cv::UMatData>(this);
    Pixels pixels = shelves.take(sizeClass);
    if (!pixels)
      pixels.reset(static_cast<std::uint8_t*>(cv::fastMalloc(sizeClass)));
    ASAN_UNPOISON_MEMORY_REGION(pixels.get(), bytes);
    ASAN_POISON_MEMORY_REGION(pixels.get() + bytes, sizeClass - bytes);
    data->size = bytes;
    data->data = data->origdata = pixels.release();
    return data.release();
  }

  mutable Shelves shelves;
};

// Never destroyed: an image that outlives `main` still gives its pixels back.
Pool& pool()
{
  static Pool* const instance = std::make_unique<Pool>().release();
  return *instance;
}
}  // namespace

cv::Mat makePooledMat(int rows, int cols, int type)
{
  cv::Mat mat;
  mat.allocator = &pool();
  mat.create(rows, cols, type);
  return mat;
}

std::size_t imagePoolBytes()
{
  return pool().size();
}
}  // namespace ZR::Filtrix
