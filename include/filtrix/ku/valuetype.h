#pragma once

#include "filtrix/zrvalue.h"

#include <string>

namespace ku
{
/// What a method takes or returns: a kind of value, any, or a list of these. Tells which values it accepts.
class ValueType
{
public:
  enum class Base
  {
    Nothing,  ///< Null alone
    Any,
    Boolean,  ///< also an Integer 0 or 1
    Integer,  ///< also a Float or Double that is whole
    Float,    ///< also an Integer or Double that a float can hold, rounded
    Double,   ///< any number
    String,
    Blob,
    Map
  };
  using enum Base;

  constexpr ValueType(Base base_) noexcept : base(base_) {}

  [[nodiscard]] static constexpr ValueType listOf(ValueType items) noexcept
  {
    ++items.lists;
    return items;
  }

  /// How well a value fits, the better the higher.
  enum class Fit
  {
    None,
    Any,        ///< because everything does
    Converted,  ///< as something else
    Exact
  };

  [[nodiscard]] Fit fit(const ZR::ZRValue& value) const;

  /// The value in exactly this type. Throws ZR::ZRValueError for one that does not fit.
  [[nodiscard]] ZR::ZRValue convert(const ZR::ZRValue& value) const;

  /// For a person: "int", "list of list of float".
  [[nodiscard]] std::string name() const;

  bool operator==(const ValueType&) const = default;

private:
  [[nodiscard]] Fit _fitBase(const ZR::ZRValue& value) const;

  Base base;
  unsigned lists = 0;  // how many lists are around it
};
}  // namespace ku
