#pragma once

#include "foundation/ku/failurelog.h"

#include <exception>
#include <map>
#include <string_view>

namespace ZR::Filtrix
{
/// Makes a worker's calls to a service, none of which may end it: what they throw is logged, level Error, as the
/// operation's text and the cause. An operation that fails with every frame is logged at the pace of `ku::FailureLog`.
class ServiceCalls final
{
public:
  explicit ServiceCalls(const char* category_) : category(category_) {}

  /// False when `call` threw.
  template <typename Call>
  bool make(const char* operation, const Call& call)
  {
    try
    {
      call();
      return true;
    }
    catch (const std::exception& exception)
    {
      tell(operation, exception.what());
    }
    catch (...)
    {
      tell(operation, "it threw what is no std::exception");
    }
    return false;
  }

  void tell(const char* operation, std::string_view cause);

private:
  const char* const category;
  std::map<std::string_view, ku::FailureLog> failures;  // by operation
};
}  // namespace ZR::Filtrix
