// Reads arbitrary bytes as the text form of a value. What is accepted must survive being written and read again.

#include "filtrix/zrvalue.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

using ZR::ZRValue;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string text(data, data + size);
  ZRValue value;
  try
  {
    value = ZRValue::fromText(text);
  }
  catch (const ZR::ZRValueParseError& error)
  {
    if (error.line() == 0 || error.line() > size + 1 || error.column() == 0 || error.column() > size + 1)
      std::abort();
    return 0;
  }

  const std::string written = value.toText();
  const ZRValue again = ZRValue::fromText(written);
  if (again != value || again.toText() != written || value.dump().empty())
  {
    std::cerr << "not the same after a round trip: " << written << '\n';
    std::abort();
  }
  return 0;
}
