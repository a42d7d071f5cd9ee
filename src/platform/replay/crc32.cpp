#include "platform/replay/crc32.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace ZR::Replay
{
namespace
{
constexpr std::uint32_t polynomial = 0xEDB88320U;  // bits reversed
constexpr std::size_t slices = 8;

using Table = std::array<std::uint32_t, 256>;

// Table s tells what a byte does to the check when s more bytes follow it.
constexpr std::array<Table, slices> makeTables()
{
  std::array<Table, slices> tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte)
  {
    std::uint32_t check = byte;
    for (int bit = 0; bit < 8; ++bit)
      check = (check >> 1U) ^ ((check & 1U) != 0 ? polynomial : 0U);
    tables[0][byte] = check;
  }
  for (std::size_t slice = 1; slice < slices; ++slice)
    for (std::size_t byte = 0; byte < 256; ++byte)
      tables[slice][byte] = (tables[slice - 1][byte] >> 8U) ^ tables[0][tables[slice - 1][byte] & 0xFFU];
  return tables;
}

constexpr std::array<Table, slices> tables = makeTables();

std::uint32_t addEight(std::uint32_t state, const std::uint8_t* bytes)
{
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  std::memcpy(&low, bytes, sizeof low);
  std::memcpy(&high, bytes + sizeof low, sizeof high);
  low ^= state;
  return tables[7][low & 0xFFU] ^ tables[6][(low >> 8U) & 0xFFU] ^ tables[5][(low >> 16U) & 0xFFU] ^
         tables[4][low >> 24U] ^ tables[3][high & 0xFFU] ^ tables[2][(high >> 8U) & 0xFFU] ^
         tables[1][(high >> 16U) & 0xFFU] ^ tables[0][high >> 24U];
}
}  // namespace

void Crc32::add(ByteSpan bytes)
{
  for (; bytes.size() >= slices; bytes = bytes.subspan(slices))
    state = addEight(state, bytes.data());
  for (const std::uint8_t byte : bytes)
    state = (state >> 8U) ^ tables[0][(state ^ byte) & 0xFFU];
}

std::uint32_t crc32(ByteSpan bytes)
{
  Crc32 check;
  check.add(bytes);
  return check.value();
}
}  // namespace ZR::Replay
