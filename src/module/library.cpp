#include "module/library.h"

#include "filters/generic/genericfilters.h"
#include "filters/generic/knnclassification.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/log.h"
#include "filtrix/ku/path.h"
#include "program/filtrixprivate.h"

#include <string>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "vision.zrfiltrix";

FilterPtr loadKnn(const std::string& name, const std::filesystem::path& file)
{
  auto filter = std::make_shared<Filters::KNNClassification>(name);
  filter->load(file);
  return filter;
}

// Missing ones are told of in one line: an installation without any is no reason for a page of errors.
void loadStartUpPrograms(FiltrixPrivate& registry)
{
  std::string missing;
  for (const char* const program : startUpPrograms)
  {
    if (!ku::path::findData(programFolder, program))
      missing += (missing.empty() ? "" : ", ") + std::string(program);
    else
      registry.loadProgramFromFile(program);  // what fails tells so itself
  }
  if (!missing.empty())
    ku::log::warning(category, "start-up programs not found below \"{}\": {}", programFolder, missing);
}
}  // namespace

void addGenericLibrary(FiltrixPrivate& registry)
{
  for (const FilterPtr& filter : Filters::makeGenericFilters())
    registry.addFilter(filter);
  registry.addClassifierType("knn", &loadKnn);
}

void addPerceptionLibrary(FiltrixPrivate& registry)
{
  for (auto& filter : Filters::makePerceptionFilters(registry))
    registry.addFilter(std::move(filter));
  loadStartUpPrograms(registry);
}
}  // namespace ZR::Filtrix
