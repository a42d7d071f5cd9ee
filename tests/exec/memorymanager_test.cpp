#include "exec/memorymanager.h"

#include "graph/processkey.h"
#include "support/graphkit.h"

#include <gtest/gtest.h>

namespace ZR::Filtrix::Test
{
namespace
{
TEST(MemoryManager, KeepsStatesPerProcessAndScope)
{
  MemoryManager memory;
  const ProcessKey p("p");
  const ProcessKey q("q");
  const ProcessKey scope("p__1");
  EXPECT_EQ(memory.getMemory(p, scope), nullptr);
  EXPECT_EQ(memory.size(), 1U) << "the first question makes the entry";
  memory.setMemory(p, scope, makeData(1));
  memory.setMemory(p, p, makeData(2));
  memory.setMemory(q, scope, makeData(3));
  EXPECT_EQ(number(memory.getMemory(p, scope)), 1);
  EXPECT_EQ(number(memory.getMemory(q, scope)), 3);

  EXPECT_TRUE(memory.clearProcess(p));
  EXPECT_TRUE(memory.clearProcess(p)) << "also when nothing was there";
  EXPECT_EQ(memory.getMemory(p, scope), nullptr);
  EXPECT_EQ(number(memory.getMemory(q, scope)), 3);
}

TEST(MemoryManager, RenamingReplacesWhatWasUnderTheNewName)
{
  MemoryManager memory;
  const ProcessKey p("p");
  const ProcessKey q("q");
  const ProcessKey one("1");
  const ProcessKey two("2");
  memory.setMemory(p, one, makeData(1));
  memory.setMemory(q, two, makeData(2));
  memory.renameProcess(p, q);
  EXPECT_EQ(number(memory.getMemory(q, one)), 1);
  EXPECT_EQ(memory.getMemory(q, two), nullptr);
  EXPECT_EQ(memory.getMemory(p, one), nullptr);

  memory.renameProcess(ProcessKey("unknown"), q);
  EXPECT_EQ(number(memory.getMemory(q, one)), 1);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
