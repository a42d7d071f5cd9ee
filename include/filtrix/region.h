#pragma once

#include "filtrix/vectors.h"

namespace ZR::Filtrix::Type
{
/// A pair of corners, in an image or in space.
template <typename Vector>
class Region
{
public:
  Region() = default;

  Region(const Vector& start_, const Vector& end_) : start(start_), end(end_) {}

  Region(const Region&) = default;
  Region& operator=(const Region&) = default;
  virtual ~Region() = default;

  bool operator==(const Region& other) const { return start == other.start && end == other.end; }

  Vector start;
  Vector end;
};

/// A rectangle in an image, in pixels of the image that it belongs to.
class Region2 final : public Region<Vector2>
{
public:
  using Region::Region;
};

/// A box in space, in metres.
class Region3 final : public Region<Vector3>
{
public:
  using Region::Region;
};
}  // namespace ZR::Filtrix::Type
