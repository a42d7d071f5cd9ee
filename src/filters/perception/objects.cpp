#include "filters/perception/objects.h"

#include "filtrix/ku/log.h"

namespace ZR::Filtrix::Filters
{
template <typename T>
std::vector<std::shared_ptr<T>> elementsOf(const DataPtr& array, std::string_view category)
{
  std::vector<std::shared_ptr<T>> elements;
  const auto* const values = array ? array->get<DataArray>() : nullptr;
  if (values == nullptr)
    return elements;
  std::size_t others = 0;
  for (const DataPtr& value : *values)
  {
    if (auto element = value ? value->share<T>() : nullptr)
      elements.push_back(std::move(element));
    else
      ++others;
  }
  if (others != 0)
    ku::log::error(category, "expected {} elements only, passed over {} of {}", Type::typeName(tagOf<T>), others,
                   values->size());
  return elements;
}

template std::vector<std::shared_ptr<Type::Human>> elementsOf(const DataPtr&, std::string_view);
template std::vector<std::shared_ptr<Type::Object2D>> elementsOf(const DataPtr&, std::string_view);
template std::vector<std::shared_ptr<Type::Object3D>> elementsOf(const DataPtr&, std::string_view);
}  // namespace ZR::Filtrix::Filters
