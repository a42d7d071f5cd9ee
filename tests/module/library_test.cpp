// What stands on the shelf when the module has started: both libraries, and the start-up programs.

#include "module/modulekit.h"

#include "filters/generic/genericfilters.h"
#include "filters/perception/catalogue.h"
#include "module/library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using ::testing::Contains;
using ::testing::IsEmpty;

TEST(Library, HoldsEveryFilterAndLoadsTheStartUpProgramsWithoutAWord)
{
  FiltrixPrivate registry;
  const ku::log::Capture log(ku::log::Level::Warning);
  addGenericLibrary(registry);
  addPerceptionLibrary(registry);
  EXPECT_THAT(log.texts(), IsEmpty());
  const std::vector<std::string> names = registry.getFilters();
  EXPECT_EQ(Filters::makeGenericFilters().size(), 40U);
  EXPECT_EQ(Filters::perceptionCatalogue().size(), 71U);
  for (const Filters::CatalogueEntry& filter : Filters::perceptionCatalogue())
  {
    EXPECT_THAT(names, Contains(filter.name));
    EXPECT_EQ(registry.getFilterDescription(filter.name), filter.description);
    EXPECT_EQ(registry.getFilterInputs(filter.name).size(), filter.inputs.size()) << filter.name;
    EXPECT_EQ(registry.getFilterOutputs(filter.name).size(), filter.outputs.size()) << filter.name;
    EXPECT_EQ(registry.isFilterStateful(filter.name), filter.state == Filters::State::kept) << filter.name;
  }
  for (const char* composite : {"Segmentation3D", "ComputeClosePixelsMask", "TopOfNearestBlob", "MovementDetection",
                                "PeopleDetection2D", "GazeAnalysis", "WavingDetection", "FindPersonHead"})
    EXPECT_THAT(names, Contains(composite));
}

// Graphviz reads several graphs from one text.
TEST(Library, DrawsEveryFilterForGraphviz)
{
  ModuleBench bench;
  std::FILE* const dot = ::popen("dot -Tsvg > /dev/null", "w");
  ASSERT_NE(dot, nullptr);
  for (const std::string& name : bench.registry().getFilters())
  {
    for (const int level : {0, -1})
    {
      const std::string text = bench.registry().getDotGraph(name, level);
      EXPECT_FALSE(text.empty()) << name;
      std::fwrite(text.data(), 1, text.size(), dot);
    }
  }
  EXPECT_EQ(::pclose(dot), 0);
}

TEST(Library, MakesClassifiersOfFiles)
{
  ModuleBench bench;
  EXPECT_FALSE(bench.registry().createClassificationFilter("C", "knn", "missing.xml"));
  EXPECT_FALSE(bench.registry().createClassificationFilter("Add", "knn", "people.fxs"));
  EXPECT_FALSE(bench.registry().createClassificationFilter("C", "tree", "people.fxs"));
  EXPECT_FALSE(bench.registry().createClassificationFilter("C", "knn", "people.fxs"));
  const auto texts = bench.log.texts("filtrix.private");
  ASSERT_EQ(texts.size(), 4U);
  EXPECT_EQ(texts[0], "createClassificationFilter(\"C\", type, \"missing.xml\"):File not found.");
  EXPECT_EQ(texts[1],
            "createClassificationFilter(\"Add\", type, \"people.fxs\"):A filter with the name \"Add\" already "
            "exists.");
  EXPECT_EQ(texts[2], "createClassificationFilter(\"C\", type, \"people.fxs\"):Invalid classification type.");
}
}  // namespace
}  // namespace ZR::Filtrix::Test
