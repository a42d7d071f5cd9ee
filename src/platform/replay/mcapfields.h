#pragma once

#include "platform/replay/mcaprecords.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

/// Reads and writes the records of the container by their lists of fields.
namespace ZR::Replay::Mcap
{
/// One field, as the container writes its type: texts and lists begin with their length in 32-bit bytes.
template <typename Number>
requires std::is_arithmetic_v<Number>

void put(ByteWriter& to, Number value)
{
  to.number(value);
}

void put(ByteWriter& to, const std::string& text);
void put(ByteWriter& to, const Bytes& bytes);

template <typename First, typename Second>
void put(ByteWriter& to, const std::pair<First, Second>& entry)
{
  put(to, entry.first);
  put(to, entry.second);
}

/// Lists and maps: their entries, with the bytes of all before them.
template <typename Entries>

requires(!std::is_arithmetic_v<Entries>) void put(ByteWriter& to, const Entries& entries)
{
  const std::size_t at = to.bytes.size();
  to.number(std::uint32_t{0});
  for (const auto& entry : entries)
    put(to, entry);
  to.overwrite(at, static_cast<std::uint32_t>(to.bytes.size() - at - sizeof(std::uint32_t)));
}

template <typename Number>
requires std::is_arithmetic_v<Number>

void take(ByteReader& from, Number& value)
{
  value = from.number<Number>();
}

void take(ByteReader& from, std::string& text);
void take(ByteReader& from, Bytes& bytes);

template <typename Key, typename Value>
void take(ByteReader& from, std::map<Key, Value>& entries)
{
  const ByteSpan bytes = from.raw(from.number<std::uint32_t>());
  for (ByteReader list(bytes); list.left() > 0;)
  {
    Key key{};
    take(list, key);
    take(list, entries[std::move(key)]);
  }
}

template <typename First, typename Second>
void take(ByteReader& from, std::vector<std::pair<First, Second>>& entries)
{
  const ByteSpan bytes = from.raw(from.number<std::uint32_t>());
  for (ByteReader list(bytes); list.left() > 0;)
  {
    auto& [first, second] = entries.emplace_back();
    take(list, first);
    take(list, second);
  }
}

template <typename Record>
void putFields(ByteWriter& to, const Record& record)
{
  std::apply([&](const auto... field) { (put(to, record.*field), ...); }, Record::fields);
}

/// Appends a whole record; `rest` follows the fields.
template <typename Record>
void putRecord(ByteWriter& to, const Record& record, ByteSpan rest = {})
{
  to.number(static_cast<std::uint8_t>(Record::opcode));
  const std::size_t at = to.bytes.size();
  to.number(std::uint64_t{0});
  putFields(to, record);
  to.raw(rest);
  to.overwrite(at, static_cast<std::uint64_t>(to.bytes.size() - at - sizeof(std::uint64_t)));
}

/// The fields from the content of a record. What follows them is passed over: later versions may add fields.
template <typename Record>
[[nodiscard]] Record takeFields(ByteReader& from)
{
  Record record;
  std::apply([&](const auto... field) { (take(from, record.*field), ...); }, Record::fields);
  return record;
}

template <typename Record>
[[nodiscard]] Record takeFields(ByteSpan content)
{
  ByteReader from(content);
  return takeFields<Record>(from);
}
}  // namespace ZR::Replay::Mcap
