#include "sources/servicecalls.h"

#include "filtrix/ku/log.h"

namespace ZR::Filtrix
{
void ServiceCalls::tell(const char* operation, std::string_view cause)
{
  if (const auto text = failures[operation].tell(cause))
    ku::log::error(category, "{}{}", operation, *text);
}
}  // namespace ZR::Filtrix
