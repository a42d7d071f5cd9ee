#pragma once

#include "filtrix/data.h"
#include "filtrix/region.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

namespace ZR::Filtrix::Type
{
/// Values under small numbers. The text form prints them in the table's own order, which the hash table gives: entries
/// stand in one list, bucket by bucket, and a key's bucket is the key modulo their number.
using PropertyTable = std::unordered_map<std::int32_t, DataPtr>;

/// A region with properties. Filters add to it after it was published, so it locks for itself: thread-safe.
class PropertyHolder
{
public:
  PropertyHolder() = default;
  PropertyHolder(const PropertyHolder&) = delete;
  PropertyHolder& operator=(const PropertyHolder&) = delete;

  /// The properties as text: "{ key = value}" for each, in the table's order, with nothing between them.
  [[nodiscard]] virtual std::string toText() const = 0;
  virtual ~PropertyHolder() = default;

  /// True also for a property that holds null.
  [[nodiscard]] bool hasProperty(std::int32_t key) const;

  /// The property; null when there is none.
  [[nodiscard]] DataPtr getProperty(std::int32_t key) const;

  /// Adds the property or replaces it.
  void setProperty(std::int32_t key, DataPtr value);

  /// A key that is not there is logged.
  void removeProperty(std::int32_t key);

  /// A copy of the table; the values are shared.
  [[nodiscard]] PropertyTable getProperties() const;

protected:
  [[nodiscard]] std::string _propertiesToText() const;

  mutable std::mutex lock;  // a leaf lock on the region and the table

private:
  PropertyTable properties;
};

template <typename Region>
class Object : public PropertyHolder
{
public:
  explicit Object(std::shared_ptr<Region> region_ = nullptr) : region(std::move(region_)) {}

  [[nodiscard]] std::shared_ptr<Region> getRegion() const
  {
    const std::lock_guard guard(lock);
    return region;
  }

  void setRegion(std::shared_ptr<Region> newRegion)
  {
    const std::lock_guard guard(lock);
    region.swap(newRegion);
  }

private:
  std::shared_ptr<Region> region;
};

/// Something found in an image.
class Object2D final : public Object<Region2>
{
public:
  using Object::Object;

  [[nodiscard]] std::string toText() const override;
};

/// Something found in space.
class Object3D final : public Object<Region3>
{
public:
  using Object::Object;

  [[nodiscard]] std::string toText() const override;
};
}  // namespace ZR::Filtrix::Type
