// Reads arbitrary text as the examples of a classifier. What is accepted must answer for any descriptor.

#include "filters/generic/knntable.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

using ZR::Filtrix::Filters::KnnTable;

namespace
{
void ask(const KnnTable& table)
{
  if (table.getSize() == 0 || table.getCount() == 0 || table.getSize() > KnnTable::mostValues / table.getCount())
    std::abort();
  const std::vector<float> descriptor(table.getSize(), 0.5F);
  // The first neighbour votes alone.
  if (table.nearest(descriptor.data()) != table.vote(descriptor.data(), 1))
    std::abort();
  static_cast<void>(table.vote(descriptor.data(), table.getCount() + 1));
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  std::string type;
  try
  {
    if (const auto table = ZR::Filtrix::Filters::parseKnnTable(std::string(data, data + size), &type))
      ask(*table);
  }
  catch (const std::runtime_error& error)
  {
    if (std::string(error.what()).empty())
      std::abort();
  }
  return 0;
}
