#pragma once

/// The small vectors that travel through the graph: 32-bit floats, all operators member by member, equality exact.
namespace ZR::Filtrix::Type
{
/// Three floats. What they mean is for the filter that makes or reads them to say.
struct Color
{
  float red = 0.0F;
  float green = 0.0F;
  float blue = 0.0F;

  bool operator==(const Color&) const = default;
};

struct Vector2
{
  float x = 0.0F;
  float y = 0.0F;

  constexpr Vector2() = default;

  constexpr Vector2(float x_, float y_) : x(x_), y(y_) {}

  bool operator==(const Vector2&) const = default;

  constexpr Vector2& operator+=(const Vector2& o) { return *this = {x + o.x, y + o.y}; }

  constexpr Vector2& operator-=(const Vector2& o) { return *this = {x - o.x, y - o.y}; }

  constexpr Vector2& operator*=(const Vector2& o) { return *this = {x * o.x, y * o.y}; }

  constexpr Vector2& operator/=(const Vector2& o) { return *this = {x / o.x, y / o.y}; }
};

struct Vector3
{
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;

  constexpr Vector3() = default;

  constexpr Vector3(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}

  bool operator==(const Vector3&) const = default;

  constexpr Vector3& operator+=(const Vector3& o) { return *this = {x + o.x, y + o.y, z + o.z}; }

  constexpr Vector3& operator-=(const Vector3& o) { return *this = {x - o.x, y - o.y, z - o.z}; }

  constexpr Vector3& operator*=(const Vector3& o) { return *this = {x * o.x, y * o.y, z * o.z}; }

  constexpr Vector3& operator/=(const Vector3& o) { return *this = {x / o.x, y / o.y, z / o.z}; }
};

struct Vector4
{
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
  float w = 0.0F;

  constexpr Vector4() = default;

  constexpr Vector4(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}

  bool operator==(const Vector4&) const = default;

  constexpr Vector4& operator+=(const Vector4& o) { return *this = {x + o.x, y + o.y, z + o.z, w + o.w}; }

  constexpr Vector4& operator-=(const Vector4& o) { return *this = {x - o.x, y - o.y, z - o.z, w - o.w}; }

  constexpr Vector4& operator*=(const Vector4& o) { return *this = {x * o.x, y * o.y, z * o.z, w * o.w}; }

  constexpr Vector4& operator/=(const Vector4& o) { return *this = {x / o.x, y / o.y, z / o.z, w / o.w}; }

  [[nodiscard]] constexpr float dot(const Vector4& o) const { return x * o.x + y * o.y + z * o.z + w * o.w; }
};

/// A position in metres and a rotation in radians about x, y and z.
struct Vector6
{
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
  float wx = 0.0F;
  float wy = 0.0F;
  float wz = 0.0F;

  constexpr Vector6() = default;

  constexpr Vector6(float x_, float y_, float z_, float wx_, float wy_, float wz_)
      : x(x_), y(y_), z(z_), wx(wx_), wy(wy_), wz(wz_)
  {
  }

  bool operator==(const Vector6&) const = default;

  constexpr Vector6& operator+=(const Vector6& o)
  {
    return *this = {x + o.x, y + o.y, z + o.z, wx + o.wx, wy + o.wy, wz + o.wz};
  }

  constexpr Vector6& operator-=(const Vector6& o)
  {
    return *this = {x - o.x, y - o.y, z - o.z, wx - o.wx, wy - o.wy, wz - o.wz};
  }

  constexpr Vector6& operator*=(const Vector6& o)
  {
    return *this = {x * o.x, y * o.y, z * o.z, wx * o.wx, wy * o.wy, wz * o.wz};
  }

  constexpr Vector6& operator/=(const Vector6& o)
  {
    return *this = {x / o.x, y / o.y, z / o.z, wx / o.wx, wy / o.wy, wz / o.wz};
  }
};

template <typename Vector>
concept SmallVector = requires(Vector a, const Vector b)
{
  a += b;
  a -= b;
  a *= b;
  a /= b;
};

template <SmallVector Vector>
constexpr Vector operator+(Vector a, const Vector& b)
{
  return a += b;
}

template <SmallVector Vector>
constexpr Vector operator-(Vector a, const Vector& b)
{
  return a -= b;
}

template <SmallVector Vector>
constexpr Vector operator*(Vector a, const Vector& b)
{
  return a *= b;
}

template <SmallVector Vector>
constexpr Vector operator/(Vector a, const Vector& b)
{
  return a /= b;
}
}  // namespace ZR::Filtrix::Type
