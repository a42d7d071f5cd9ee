#include "graph/processkey.h"

#include "graph/scopetable.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace ZR::Filtrix
{
namespace
{
TEST(ProcessKey, HashesAreFixed)
{
  EXPECT_EQ(ProcessKey("").getHash(), 0U);
  EXPECT_EQ(ProcessKey("a").getHash(), 2654435866U);
  EXPECT_EQ(ProcessKey("people").getHash(), 117112104U);
  EXPECT_EQ(ProcessKey("people__17").getHash(), 4004777802U);
  EXPECT_EQ(ProcessKey("\xC3\xA9t\xC3\xA9").getHash(), 1552676690U) << "bytes above 127 are extended with their sign";
}

TEST(ProcessKey, AnInnerKeyIsTheKeyOfTheWholeName)
{
  const ProcessKey inner(ProcessKey(ProcessKey("people"), "__17"), "__42");
  EXPECT_EQ(inner.getName(), "people__17__42");
  EXPECT_EQ(inner.getHash(), ProcessKey("people__17__42").getHash());
}

// The table agrees with std::map over random insertions and erasures, with hashes that collide in their low bits.
TEST(ScopeTable, AgreesWithAMap)
{
  for (const unsigned seed : {1U, 2U, 3U})
  {
    std::mt19937 random(seed);
    ScopeTable<int> table;
    std::map<std::uint32_t, int> model;
    for (int step = 0; step < 20'000; ++step)
    {
      const std::uint32_t range = 1U + (static_cast<std::uint32_t>(step) / 200U) % 60U;
      const std::uint32_t hash = (static_cast<std::uint32_t>(random()) % range) << 20U;
      const int value = static_cast<int>(random() % 1000U);
      if (random() % 2 == 0)
      {
        const auto [slot, isNew] = table.insert(hash);
        ASSERT_EQ(isNew, !model.contains(hash)) << "seed " << seed << " step " << step;
        if (isNew)
          *slot = model[hash] = value;
      }
      else
      {
        ASSERT_EQ(table.erase(hash), model.erase(hash) == 1) << "seed " << seed << " step " << step;
      }
      ASSERT_EQ(table.size(), model.size());
      const auto* const found = table.find(hash);
      ASSERT_EQ(found != nullptr, model.contains(hash));
    }
    std::map<std::uint32_t, int> content;
    table.forEach([&](std::uint32_t hash, int value) { content[hash] = value; });
    EXPECT_EQ(content, model);
  }
}
}  // namespace
}  // namespace ZR::Filtrix
