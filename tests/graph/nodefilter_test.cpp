#include "graph/nodefilter.h"

#include "support/graphkit.h"

#include <gmock/gmock.h>

#include <set>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

class NodeFilterTest : public testing::Test
{
protected:
  void TearDown() override { EXPECT_THAT(log.texts(), IsEmpty()); }

  ku::log::Capture log;
  const ProcessKey key{"p"};
};

TEST_F(NodeFilterTest, AppliesItsFilterOnceForAllConsumersAndDropsTheResultsAfterTheLast)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const FunctionFilterPtr filter = makeIncrement();
  const auto node = makeNode("n", filter);
  link(*source, *node);
  const NodeSinkPtr first = makeSink("first", *node);
  const NodeSinkPtr second = makeSink("second", *node);
  const ProcessPtr process = makeProcess("p", {first, second});

  for (int run = 1; run <= 3; ++run)
  {
    ASSERT_TRUE(process->run(seconds(run)));
    EXPECT_EQ(filter->applied, run);
    EXPECT_EQ(number(first->getLastData()), 2);
    EXPECT_EQ(first->getLastData(), second->getLastData()) << "both read the one value";
    EXPECT_EQ(node->getActiveScopes() + source->getActiveScopes() + first->getActiveScopes(), 0U);
  }
  const std::weak_ptr<Data> value = first->getLastData();
  first->reset();
  second->reset();
  EXPECT_TRUE(value.expired()) << "the node has kept a result after the run";
}

TEST_F(NodeFilterTest, ConsumersReadTheirOwnOutput)
{
  const auto filter =
      std::make_shared<FunctionFilter>("Three", std::vector<std::string>(), std::vector<std::string>{"a", "b", "c"},
                                       [](const DataList&) {
                                         return DataList{makeData(10), makeData(20)};
                                       });
  const auto node = makeNode("n", filter);
  const std::vector<NodeSinkPtr> sinks{makeSink("a", *node, "a"), makeSink("b", *node, "b"), makeSink("c", *node, "c")};
  ASSERT_TRUE(makeProcess("p", sinks)->run(seconds(1)));
  EXPECT_EQ(number(sinks[0]->getLastData()), 10);
  EXPECT_EQ(number(sinks[1]->getLastData()), 20);
  EXPECT_EQ(sinks[2]->getLastData(), nullptr) << "a value that the filter did not give reads as null";
  EXPECT_EQ(filter->applied, 1);
}

// A missing required input turns the node to the empty path: the inputs after it are only passed by.
TEST_F(NodeFilterTest, AMissingRequiredInputEndsThePulling)
{
  const NodeSourcePtr given = makeSource("given", makeData(1));
  const NodeSourcePtr missing = makeSource("missing");
  const FunctionFilterPtr before = makeIncrement("Before");
  const FunctionFilterPtr after = makeIncrement("After");
  const auto beforeNode = makeNode("before", before);
  const auto afterNode = makeNode("after", after);
  const auto filter = std::make_shared<FunctionFilter>("Three", std::vector<std::string>{"?a", "b", "?c"},
                                                       std::vector<std::string>{"out"},
                                                       [](const DataList&) { return DataList{makeData(1)}; });
  const auto node = makeNode("n", filter);
  node->keepReports(true);
  link(*given, *beforeNode);
  link(*given, *afterNode);
  link(*beforeNode, "", *node, "a");
  link(*missing, "", *node, "b");
  link(*afterNode, "", *node, "c");
  const NodeSinkPtr sink = makeSink("sink", *node);
  ASSERT_TRUE(makeProcess("p", {sink})->run(seconds(1)));

  EXPECT_EQ(sink->getLastData(), nullptr);
  EXPECT_EQ(filter->applied, 0);
  EXPECT_EQ(filter->passedBy, 1);
  EXPECT_EQ(before->applied, 1);
  EXPECT_EQ(after->applied, 0);
  EXPECT_EQ(after->passedBy, 1);
  EXPECT_EQ(afterNode->getActiveScopes() + given->getActiveScopes(), 0U) << "the counts come back all the same";
  const auto report = node->getReport(key.getHash());
  ASSERT_TRUE(report);
  EXPECT_EQ(report->outcome, NodeReport::Outcome::MissingInput);
  EXPECT_EQ(report->missingInput, "b");
}

TEST_F(NodeFilterTest, AnOptionalInputMayBeNullAndADefaultFillsIn)
{
  DataList seen;
  const auto filter =
      std::make_shared<FunctionFilter>("F", std::vector<std::string>{"?a", "b"}, std::vector<std::string>{"out"},
                                       [&](const DataList& inputs)
                                       {
                                         seen = inputs;
                                         return DataList{makeData(1)};
                                       });
  filter->findInput("b")->setDefaultValue(makeData(5));
  const auto node = makeNode("n", filter);
  ASSERT_TRUE(makeProcess("p", {makeSink("sink", *node)})->run(seconds(1)));
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_EQ(seen[0], nullptr);
  EXPECT_EQ(number(seen[1]), 5) << "the filter's own default, through the node's port";
}

// One consumer has a required input missing before it gets to the shared node, the other pulls it.
TEST_F(NodeFilterTest, AnEmptyRequestAfterAPullDoesNothing)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const FunctionFilterPtr shared = makeIncrement();
  const auto sharedNode = makeNode("shared", shared);
  link(*source, *sharedNode);
  const auto skipping =
      makeNode("skipping", std::make_shared<FunctionFilter>("Skipping", std::vector<std::string>{"missing", "shared"},
                                                            std::vector<std::string>{"out"},
                                                            [](const DataList&) { return DataList(); }));
  link(*sharedNode, "", *skipping, "shared");
  const NodeSinkPtr pulled = makeSink("a", *sharedNode);
  const NodeSinkPtr skipped = makeSink("b", *skipping);
  ASSERT_TRUE(makeProcess("p", {pulled, skipped})->run(seconds(1)));
  EXPECT_EQ(number(pulled->getLastData()), 2);
  EXPECT_EQ(shared->passedBy, 0);
  EXPECT_EQ(sharedNode->getActiveScopes(), 0U);
}

TEST_F(NodeFilterTest, TwoNodesNeverShareAnInnerScopeEvenAtTheSameAddress)
{
  std::set<std::string> names;
  for (int i = 0; i < 1000; ++i)
    names.insert(makeNode("n", makeIncrement())->makeInnerKey(key).getName());
  EXPECT_EQ(names.size(), 1000U);
}

TEST_F(NodeFilterTest, ReportsTellWhatBecameOfTheRun)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  bool give = true;
  const auto filter =
      std::make_shared<FunctionFilter>("F", std::vector<std::string>{"in"}, std::vector<std::string>{"out"},
                                       [&](const DataList&) -> DataList
                                       {
                                         if (give)
                                           return {makeData(1)};
                                         throw std::runtime_error("broken");
                                       });
  const auto node = makeNode("n", filter);
  link(*source, *node);
  const NodeSinkPtr first = makeSink("1", *node);
  const ProcessPtr process = makeProcess("p", {first, makeSink("2", *node)});
  process->run(seconds(1));
  EXPECT_FALSE(node->getReport(key.getHash())) << "nobody has asked for reports";

  node->keepReports(true);
  process->run(seconds(2));
  auto report = node->getReport(key.getHash());
  ASSERT_TRUE(report);
  EXPECT_EQ(report->outcome, NodeReport::Outcome::Computed);
  EXPECT_EQ(report->reuses, 1U);

  give = false;
  EXPECT_THROW(process->run(seconds(3)), std::runtime_error);
  EXPECT_EQ(node->getReport(key.getHash())->outcome, NodeReport::Outcome::Exception);
  process->recover();
  node->keepReports(false);
  EXPECT_FALSE(node->getReport(key.getHash()));
}

// Scopes come and go with processes; what a node keeps for them must not grow without end.
TEST_F(NodeFilterTest, ManyProcessesThroughOneNodeLeaveNothingRaised)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const auto node = makeNode("n", makeIncrement());
  link(*source, *node);
  for (int i = 0; i < 1000; ++i)
  {
    const NodeSinkPtr sink = makeSink("sink", *node);
    ASSERT_TRUE(makeProcess("p" + std::to_string(i), {sink})->run(seconds(1)));
    ASSERT_EQ(number(sink->getLastData()), 2);
  }
  EXPECT_EQ(node->getActiveScopes(), 0U);
}

// Wrong use of the protocol, and graphs that no program can make: each is told and none crashes.
class BrokenGraphTest : public testing::Test
{
protected:
  ku::log::Capture log;
  const ProcessKey key{"p"};
};

TEST_F(BrokenGraphTest, ReleasesAndRequestsThatNobodyPreparedAreLogged)
{
  const auto node = makeNode("n", makeIncrement());
  node->synchronizeRelease(key, key, 0);
  EXPECT_EQ(node->requestData(key, key, 0, nullptr), nullptr);
  node->requestEmpty(key, key, 0, nullptr);
  EXPECT_THAT(log.texts(), ElementsAre("n->synchronizeRelease(p): Invalid release on process p",
                                       "n->requestData(p): No output port specified",
                                       "n->requestEmpty(p): No output port specified"));
}

TEST_F(BrokenGraphTest, ANodeWithoutFilterGivesNothing)
{
  const auto node = makeNode("n", nullptr);
  node->synchronize(seconds(1), Duration(), key, key, 0);
  EXPECT_EQ(node->requestData(key, key, 0, std::make_shared<Port>("foreign")), nullptr);
  node->synchronizeRelease(key, key, 0);
  EXPECT_THAT(log.texts("filtrix.nodeFilter"), ElementsAre("n->_synchronize(p): Filter node doesn't own a filter !",
                                                           "n->_synchronizeRelease(p): Invalid release on process p"));
}

TEST_F(BrokenGraphTest, AForeignPortFindsNoOutput)
{
  const auto node = makeNode("n", makeIncrement());
  node->synchronize(seconds(1), Duration(), key, key, 0);
  EXPECT_EQ(node->requestData(key, key, 0, std::make_shared<Port>("foreign")), nullptr);
  node->synchronizeRelease(key, key, 0);
  EXPECT_EQ(node->getActiveScopes(), 0U);
}

TEST_F(BrokenGraphTest, ARingIsToldInsteadOfLocking)
{
  const auto a = makeNode("a", makeIncrement());
  const auto b = makeNode("b", makeIncrement());
  link(*a, *b);
  link(*b, *a);
  const NodeSinkPtr sink = makeSink("sink", *b);
  ASSERT_TRUE(makeProcess("p", {sink})->run(seconds(1)));
  EXPECT_EQ(sink->getLastData(), nullptr);
  const auto texts = log.texts();
  EXPECT_THAT(texts, testing::Contains("b->synchronize(p): The node is its own input: the graph runs in a ring"));
  EXPECT_THAT(texts, testing::Contains("b->requestData(p): The node is its own input: the graph runs in a ring"));
}

TEST_F(BrokenGraphTest, ANodeThatDiesInMidRunIsReported)
{
  {
    const auto node = makeNode("n", makeIncrement());
    node->synchronize(seconds(1), Duration(), key, key, 0);
    node->synchronize(seconds(1), Duration(), key, key, 0);
  }
  const std::string entry = "\n  process: " + std::to_string(key.getHash()) + ", count: 2";
  EXPECT_THAT(log.entries(),
              ElementsAre(ku::log::Entry{ku::log::Level::Fatal, "filtrix.nodeFilter",
                                         "n->~NodeFilter(): There is still count to entry cache:" + entry},
                          ku::log::Entry{ku::log::Level::Fatal, "filtrix.node",
                                         "n->~Node(): There is still active synchronize count:" + entry}));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
