#include "graph/filtercomposite.h"

#include "graph/dotgraph.h"
#include "support/graphkit.h"

#include <gmock/gmock.h>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// in -> a -> b -> out, each one more.
std::shared_ptr<FilterComposite> makePair(const FunctionFilterPtr& first, const FunctionFilterPtr& second)
{
  auto composite = std::make_shared<FilterComposite>("Pair");
  const auto a = makeNode("a", first);
  const auto b = makeNode("b", second);
  link(*a, *b);
  composite->addNode(a);
  composite->addNode(b);
  composite->exposeInput("a", "in");
  composite->exposeOutput("b", "out");
  return composite;
}

class CompositeTest : public testing::Test
{
protected:
  ku::log::Capture log;
};

TEST_F(CompositeTest, RunsItsNodesInAScopeOfEachUse)
{
  const FunctionFilterPtr inner = makeIncrement();
  const auto pair = makePair(inner, makeIncrement());
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const auto first = makeNode("first", pair);
  const auto second = makeNode("second", pair);
  link(*source, *first);
  link(*first, *second);
  const NodeSinkPtr sink = makeSink("sink", *second);
  const ProcessPtr process = makeProcess("p", {sink});
  for (int run = 1; run <= 2; ++run)
  {
    ASSERT_TRUE(process->run(seconds(run)));
    EXPECT_EQ(number(sink->getLastData()), 5);
    EXPECT_EQ(inner->applied, 2 * run);
  }
  for (const auto& [name, node] : pair->getNodes())
    EXPECT_EQ(node->getActiveScopes(), 0U) << name;
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(CompositeTest, NestsAndServesEveryLevelFromOneSnapshot)
{
  FilterPtr filter = makeIncrement();
  for (int level = 0; level < 20; ++level)
  {
    auto outer = std::make_shared<FilterComposite>("Level" + std::to_string(level));
    outer->addNode(makeNode("inner", filter));
    ASSERT_TRUE(outer->exposeInput("inner", ""));
    ASSERT_TRUE(outer->exposeOutput("inner", "", "result"));
    filter = outer;
  }
  const NodeSourcePtr source = makeSource("s", makeData(1));
  const auto node = makeNode("n", filter);
  link(*source, *node);
  const NodeSinkPtr sink = makeSink("sink", *node, "result");
  ASSERT_TRUE(makeProcess("p", {sink})->run(seconds(1)));
  EXPECT_EQ(number(sink->getLastData()), 2);
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(CompositeTest, AnUnboundExposedInputLeavesTheInnerDefaultToTheNode)
{
  const FunctionFilterPtr inner = makeIncrement();
  inner->findInput("in")->setDefaultValue(makeData(40));
  const auto node = makeNode("n", makePair(inner, makeIncrement()));
  const NodeSinkPtr sink = makeSink("sink", *node);
  ASSERT_TRUE(makeProcess("p", {sink})->run(seconds(1)));
  EXPECT_EQ(number(sink->getLastData()), 42);
}

TEST_F(CompositeTest, AnExposedInputIsOptionalSoTheInnerNodeDecides)
{
  const FunctionFilterPtr inner = makeIncrement();
  const FunctionFilterPtr behind = makeIncrement();
  const NodeSourcePtr source = makeSource("s");
  const auto node = makeNode("n", makePair(inner, behind));
  link(*source, *node);
  const NodeSinkPtr sink = makeSink("sink", *node);
  ASSERT_TRUE(makeProcess("p", {sink})->run(seconds(1)));
  EXPECT_EQ(sink->getLastData(), nullptr);
  EXPECT_EQ(inner->passedBy + behind->passedBy, 2);
  EXPECT_EQ(inner->applied + behind->applied, 0);
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(CompositeTest, BuildingErrorsAreLoggedAndChangeNothing)
{
  const auto composite = makePair(makeIncrement(), makeIncrement());
  const NodePtr kept = composite->getNode("a");
  composite->addNode(makeNode("a", makeIncrement()));
  EXPECT_EQ(composite->getNode("a"), kept);
  EXPECT_FALSE(composite->exposeInput("nobody", "in"));
  EXPECT_FALSE(composite->exposeInput("a", "nothing"));
  EXPECT_FALSE(composite->exposeOutput("a", "nothing"));
  composite->addNode(nullptr);

  const auto outer = std::make_shared<FilterComposite>("Outer");
  outer->addNode(makeNode("x", composite));
  composite->addNode(makeNode("itself", composite));
  composite->addNode(makeNode("around", outer));
  EXPECT_EQ(composite->getNodes().size(), 2U);
  EXPECT_THAT(log.texts("filtrix.Composite"),
              ElementsAre("Can't add node \"a\": node is already present.",
                          "Can't retrieved node \"nobody\": node unknown.",
                          "Can't add node to \"Pair\": expected a node, got null.",
                          "Can't add node \"itself\": the filter \"Pair\" would contain itself.",
                          "Can't add node \"around\": the filter \"Pair\" would contain itself."));
}

TEST_F(CompositeTest, AWrongCountOfInputsGivesNothing)
{
  const auto composite = makePair(makeIncrement(), makeIncrement());
  const ProcessKey key("p");
  EXPECT_TRUE(composite->applyFilter({}, key, key, 0).empty());
  EXPECT_THAT(log.texts(), ElementsAre("Pair->applyFilter(): missing input data"));
}

TEST_F(CompositeTest, WithoutOutputsItDoesNothing)
{
  const FunctionFilterPtr inner = makeIncrement();
  const auto composite = std::make_shared<FilterComposite>("Mute");
  composite->addNode(makeNode("a", inner));
  const ProcessKey key("p");
  composite->filterSynchronize(seconds(1), Duration(), key, key, 0);
  EXPECT_TRUE(composite->applyFilter({}, key, key, 0).empty());
  composite->filterSynchronizeRelease(key, key, 0);
  EXPECT_EQ(inner->applied, 0);
}

TEST_F(CompositeTest, ItsDrawingOpensAsManyLevelsAsAskedAndEscapesNames)
{
  const auto pair = makePair(makeIncrement("In\"crement"), makeIncrement());
  const std::string open = DotGraph::draw(*pair);
  EXPECT_THAT(open, HasSubstr("label=\"In\\\"crement\""));
  EXPECT_THAT(open, HasSubstr("f_0_out0 -> f_1_in0;"));
  EXPECT_THAT(open, HasSubstr("f_in0 -> f_0_in0;"));
  const std::string closed = DotGraph::draw(*pair, 0);
  EXPECT_THAT(closed, testing::Not(HasSubstr("In\\\"crement")));
  EXPECT_THAT(closed, HasSubstr("f_body[label=\"Pair\"]"));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
