#include "filters/generic/knnclassification.h"

#include "filters/generic/inputas.h"
#include "filters/generic/xmltext.h"
#include "filtrix/ku/log.h"

#include <boost/container/small_vector.hpp>
#include <fmt/format.h>

#include <optional>
#include <stdexcept>
#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* category = "filtrix.filter.knnclassification";

// Room for what descriptors commonly have.
using Descriptor = boost::container::small_vector<float, 128>;

Descriptor toDescriptor(const DataArray& elements)
{
  Descriptor descriptor;
  descriptor.reserve(elements.size());
  for (const DataPtr& element : elements)
    descriptor.push_back(element ? element->toFloat() : 0.0F);
  return descriptor;
}
}  // namespace

KNNClassification::KNNClassification(std::string filterName)
    : GenericFilter(std::move(filterName), "Tells the class of a descriptor by its nearest neighbours in a table.")
{
  input("in", {TypeTag::Array});
  optionalInput("k", {TypeTag::Integer});
  output("out");
}

void KNNClassification::load(const std::filesystem::path& path)
{
  std::string type;
  std::optional<KnnTable> loaded;
  try
  {
    loaded = parseKnnTable(readSmallFile(path), &type);
  }
  catch (const std::exception& error)
  {
    throw std::runtime_error(fmt::format("{}: {}", path.string(), error.what()));
  }
  if (!loaded)
    ku::log::warning(category, "{}: expected the type \"knn\", got \"{:.40}\": the filter stays empty", path.string(),
                     type);
  table = loaded ? std::move(*loaded) : KnnTable();
}

DataList KNNClassification::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const auto* const elements = inputAs<DataArray>(inputs, 0);
  if (elements == nullptr || elements->size() != table.getSize())
    return {};

  const Descriptor descriptor = toDescriptor(*elements);
  const auto* const k = inputs.size() == 2 ? inputAs<std::int32_t>(inputs, 1) : nullptr;
  if (k == nullptr || *k < 2)
    return {makeData(table.nearest(descriptor.data()))};
  return {makeData(table.vote(descriptor.data(), static_cast<std::size_t>(*k)))};
}
}  // namespace ZR::Filtrix::Filters
