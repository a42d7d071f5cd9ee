#include "graph/origin.h"

#include <fmt/core.h>

namespace ZR::Filtrix
{
std::string toString(const Origin& origin)
{
  const std::string& file = origin.file.empty() ? std::string("program") : origin.file;
  return fmt::format("{}:{}:{}: {}", file, origin.line, origin.column, origin.statement);
}

std::string Located::originText() const
{
  return origin ? " [" + toString(*origin) + "]" : std::string();
}
}  // namespace ZR::Filtrix
