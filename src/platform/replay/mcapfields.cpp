#include "platform/replay/mcapfields.h"

namespace ZR::Replay::Mcap
{
void put(ByteWriter& to, const std::string& text)
{
  to.number(static_cast<std::uint32_t>(text.size()));
  to.raw(bytesOf(text));
}

void put(ByteWriter& to, const Bytes& bytes)
{
  to.number(static_cast<std::uint32_t>(bytes.size()));
  to.raw(bytes);
}

void take(ByteReader& from, std::string& text)
{
  text = from.text(from.number<std::uint32_t>());
}

void take(ByteReader& from, Bytes& bytes)
{
  const ByteSpan data = from.raw(from.number<std::uint32_t>());
  bytes.assign(data.begin(), data.end());
}
}  // namespace ZR::Replay::Mcap
