#include "platform/replay/cdr.h"

#include <algorithm>
#include <iterator>

namespace ZR::Replay
{
namespace
{
constexpr std::uint8_t littleEndianCdr[] = {0, 1, 0, 0};

std::size_t padding(std::size_t position, std::size_t size)
{
  const std::size_t past = (position - std::size(littleEndianCdr)) % size;
  return past == 0 ? 0 : size - past;
}
}  // namespace

CdrWriter::CdrWriter()
{
  out.raw(littleEndianCdr);
}

void CdrWriter::text(std::string_view value)
{
  number(static_cast<std::uint32_t>(value.size() + 1));
  out.raw(bytesOf(value));
  out.number('\0');
}

void CdrWriter::count(std::size_t items)
{
  number(static_cast<std::uint32_t>(items));
}

void CdrWriter::_align(std::size_t size)
{
  out.bytes.resize(out.bytes.size() + padding(out.bytes.size(), size));
}

CdrReader::CdrReader(ByteSpan message) : in(message)
{
  const ByteSpan head = in.raw(std::size(littleEndianCdr));
  if (!std::ranges::equal(head, littleEndianCdr))
    throw RecordingError(
        fmt::format("expected a message in little-endian CDR (0 1 0 0), came {}", fmt::join(head, " ")));
}

std::string CdrReader::text()
{
  std::string value = in.text(number<std::uint32_t>());
  if (!value.empty())
    value.pop_back();  // the zero at its end
  return value;
}

std::uint32_t CdrReader::count(std::size_t itemSize)
{
  const auto items = number<std::uint32_t>();
  if (items > in.left() / itemSize)
    throw RecordingError(fmt::format("{} items of {} bytes, {} bytes are left", items, itemSize, in.left()));
  return items;
}

void CdrReader::_align(std::size_t size)
{
  static_cast<void>(in.raw(padding(in.position(), size)));
}
}  // namespace ZR::Replay
