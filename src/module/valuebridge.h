#pragma once

#include "filtrix/data.h"
#include "filtrix/zrimage.h"
#include "filtrix/zrvalue.h"

#include <cstddef>
#include <memory>

/// Values across the boundary of the module. A tagged value is an array of a type's name and the value:
/// `["Integer", 43]`. All forms stand in docs/values.md. All thread-safe.
namespace ZR::Filtrix::ValueBridge
{
/// Arrays, people and objects hold one another at most so deep, and so many values in all: one that holds itself would
/// never come to an end.
inline constexpr std::size_t maxLevels = 32;
inline constexpr std::size_t maxValues = 1'000'000;

/// Reads a tagged value. What can be set from outside is "String", "Integer" (32 bits), "Boolean", "Float" and
/// "Double"; a number may come as a number of another kind when nothing is lost but digits. The rest is logged and
/// thrown as a std::runtime_error.
[[nodiscard]] DataPtr toData(const ZRValue& tagged);

/// The tagged value of a value; `["Null", null]` for none. More levels or values than the bounds are logged and thrown
/// as a std::runtime_error. People and objects that filters change meanwhile are read field by field.
[[nodiscard]] ZRValue toZRValue(const DataPtr& value);

/// An image as a record of its own, with its time and, as angles, half the fields of view to either side; the camera is
/// -1, no camera. ColorImage becomes RGB, GrayscaleImage and BinaryImage gray, LabelImage labels, DepthImage depth, all
/// with the pixels as they are. Null for no value, and, logged, for any other value.
[[nodiscard]] std::unique_ptr<ZRImage> toZRImage(const DataPtr& value);

/// The same record in its value form, and a null value for a null record.
[[nodiscard]] ZRValue toRemoteImage(const DataPtr& value);
}  // namespace ZR::Filtrix::ValueBridge
