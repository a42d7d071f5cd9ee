#pragma once

#include "filtrix/data.h"

#include <cstddef>
#include <span>
#include <stdexcept>
#include <vector>

/// Values as bytes: for a filter's state, a recording, a message to another host.
///
/// All numbers are little-endian. A text or a list is its count (u32) and then its items.
///
///     encoding = version (u8, 1) value
///     value    = tag (u8; 255 for a null pointer and then nothing more), time stamp (i64, microseconds),
///                1 and the payload, or 0 for a value without one
///
/// | Payload              | Bytes |
/// |----------------------|----------------------------------------------------------------------------------------------|
/// | Boolean              | u8, 0 or 1 | | numbers              | as they are, floats in their IEEE 754 bits | | String
/// | text                                                                                         | | images | width,
/// height (i32), source (text), time (i64), both fields of view (f32), rows without gaps | | Histogram            |
/// channels (u32), list of f32                                                                  | | AudioBuffer |
/// channels (u32), list of i16, time (i64), rate (u32), list of channel names                   | | Color, vectors |
/// f32 each                                                                                     | | Region2, Region3 |
/// start, end                                                                                   | | Array | list of
/// values                                                                               | | Object2D, Object3D   | 1
/// and the region or 0, properties                                                            | | Human | id (u64),
/// name, value, list of (name, score), lists of (name, 1 and the object or 0) in 2D   | |                      | and in
/// 3D, properties                                                                        | | properties           |
/// list of (key (i32), value)                                                                   | | Time, Duration |
/// i64, microseconds                                                                            |
///
/// A Lambda and an opaque pointer mean nothing elsewhere and cannot be written. What several values share is written
/// several times.
namespace ZR::Filtrix::Type
{
/// A value that cannot be written, or bytes that are no value. The text tells where: the path to the value ("[2][0]"),
/// or the byte.
class CodecError final : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// Values nest at most so deep, and an encoding has at most so many bytes.
inline constexpr std::size_t maxCodecDepth = 64;
inline constexpr std::size_t maxEncodedBytes = std::size_t{1} << 30U;

/// Throws CodecError for a Lambda, an opaque pointer, a value that nests too deep (as one that holds itself does) and
/// one that gets too long. A person or an object that other threads change meanwhile is written property by property.
[[nodiscard]] std::vector<std::byte> encode(const DataPtr& value);

/// The value that `bytes` are the encoding of. Throws CodecError for any other bytes; takes no more memory than some
/// multiple of their number, whatever they say.
[[nodiscard]] DataPtr decode(std::span<const std::byte> bytes);
}  // namespace ZR::Filtrix::Type
