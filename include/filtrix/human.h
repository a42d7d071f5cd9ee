#pragma once

#include "filtrix/object.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace ZR::Filtrix::Type
{
/// A person: an identity with the objects, scores and properties that filters have found for it. Filters add to it
/// after it was published. Thread-safe: every operation locks for its whole length and gives copies.
class Human final
{
public:
  explicit Human(std::uint64_t id = 0, std::string name = {});
  Human(const Human&) = delete;
  Human& operator=(const Human&) = delete;
  ~Human() = default;

  [[nodiscard]] std::uint64_t getId() const;
  void setId(std::uint64_t newId);
  [[nodiscard]] std::string getName() const;
  void setName(std::string newName);

  /// One value attached to the person.
  [[nodiscard]] DataPtr getData() const;
  void setData(DataPtr value);

  // Objects, scores and properties by name or key. Getting what is not there gives null, or NaN for a score; removing
  // it is logged and changes nothing.

  [[nodiscard]] bool hasObject2D(const std::string& objectName) const;
  [[nodiscard]] std::shared_ptr<Object2D> getObject2D(const std::string& objectName) const;
  void setObject2D(const std::string& objectName, std::shared_ptr<Object2D> object);
  void removeObject2D(const std::string& objectName);

  [[nodiscard]] bool hasObject3D(const std::string& objectName) const;
  [[nodiscard]] std::shared_ptr<Object3D> getObject3D(const std::string& objectName) const;
  void setObject3D(const std::string& objectName, std::shared_ptr<Object3D> object);
  void removeObject3D(const std::string& objectName);

  [[nodiscard]] bool hasScore(const std::string& scoreName) const;
  [[nodiscard]] float getScore(const std::string& scoreName) const;
  void setScore(const std::string& scoreName, float score);
  void removeScore(const std::string& scoreName);

  [[nodiscard]] bool hasProperty(std::int32_t key) const;
  [[nodiscard]] DataPtr getProperty(std::int32_t key) const;
  void setProperty(std::int32_t key, DataPtr value);
  void removeProperty(std::int32_t key);

  // Everything at once, as copies.

  [[nodiscard]] std::map<std::string, std::shared_ptr<Object2D>> getObjects2D() const;
  [[nodiscard]] std::map<std::string, std::shared_ptr<Object3D>> getObjects3D() const;
  [[nodiscard]] std::map<std::string, float> getScores() const;
  [[nodiscard]] PropertyTable getProperties() const;

private:
  std::uint64_t id;
  std::string name;
  DataPtr data;
  std::map<std::string, float> scores;
  std::map<std::string, std::shared_ptr<Object2D>> objects2D;
  std::map<std::string, std::shared_ptr<Object3D>> objects3D;
  PropertyTable properties;
  mutable std::mutex lock;  // a leaf lock on all members above
};
}  // namespace ZR::Filtrix::Type
