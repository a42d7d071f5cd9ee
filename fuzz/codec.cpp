// Any bytes: either an error, or a value that can be told as text and written again.

#include "filtrix/codec.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  using namespace ZR::Filtrix;
  try
  {
    const DataPtr value = Type::decode({reinterpret_cast<const std::byte*>(data), size});
    if (value)
      (void)Type::toText(*value);
    if (Type::encode(Type::decode(Type::encode(value))).size() != Type::encode(value).size())
      __builtin_trap();
  }
  catch (const Type::CodecError&)
  {
    return 0;
  }
  return 0;
}
