#include "graph/nodesource.h"

#include "graph/aggregatedsink.h"
#include "graph/nodepulse.h"
#include "graph/nodesourcealias.h"
#include "graph/sourceadapter.h"
#include "support/graphkit.h"

#include <gmock/gmock.h>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

class Recorder final : public ValueListener
{
public:
  void fire(const DataPtr& value) override { values.push_back(number(value)); }

  std::vector<int> values;
};

class SourceTest : public testing::Test
{
protected:
  // What a run of the process would read.
  DataPtr pull(NodeSource& source, const ProcessKey& key)
  {
    source.synchronize(seconds(1), Duration(5), key, key, 0);
    const DataPtr value = source.requestData(key, key, 0, source.getOutput());
    source.synchronizeRelease(key, key, 0);
    return value;
  }

  ku::log::Capture log;
  const ProcessKey a{"a"};
  const ProcessKey b{"b"};
};

TEST_F(SourceTest, EachRunKeepsItsOwnSnapshot)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  source->synchronize(seconds(1), Duration(), a, a, 0);
  source->setData(makeData(2));
  source->synchronize(seconds(1), Duration(), b, b, 0);
  source->synchronize(seconds(1), Duration(), a, ProcessKey("a__1"), 0);  // the same run, inside a composite
  source->setData(nullptr);
  EXPECT_EQ(number(source->requestData(a, a, 0, nullptr)), 1);
  EXPECT_EQ(number(source->requestData(b, b, 0, nullptr)), 2);
  source->synchronizeRelease(a, a, 0);
  EXPECT_EQ(number(source->requestData(a, ProcessKey("a__1"), 0, nullptr)), 1);
  source->synchronizeRelease(a, ProcessKey("a__1"), 0);
  source->synchronizeRelease(b, b, 0);
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(SourceTest, EveryValueRaisesTheVersionAndOnlyRealOnesFire)
{
  const NodeSourcePtr source = makeSource("s");
  const auto recorder = std::make_shared<Recorder>();
  source->addEvent(recorder);
  source->setData(makeData(1));
  source->setData(nullptr);
  source->setData(makeData(2));
  EXPECT_EQ(source->getVersion(), 3U);
  EXPECT_THAT(recorder->values, ElementsAre(1, 2));
}

TEST_F(SourceTest, AListenerThatThrowsDisturbsNobody)
{
  class Thrower final : public ValueListener
  {
  public:
    void fire(const DataPtr&) override { throw std::runtime_error("broken"); }
  };

  const NodeSourcePtr source = makeSource("s");
  const auto recorder = std::make_shared<Recorder>();
  source->addEvent(std::make_shared<Thrower>());
  source->addEvent(recorder);
  source->setData(makeData(1));
  EXPECT_THAT(recorder->values, ElementsAre(1));
  EXPECT_THAT(log.texts("filtrix.event"), ElementsAre("an event failed: broken"));
}

TEST_F(SourceTest, WithoutSnapshotTheTwoRequestsComplainEachInItsOwnWay)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  EXPECT_EQ(source->requestData(a, a, 0, nullptr), nullptr);
  source->requestEmpty(a, a, 0, nullptr);
  EXPECT_THAT(log.texts("filtrix.nodeSource"),
              ElementsAre("s->requestData(a): No cache found.", "s->requestEmpty(a): no cache found."));
}

TEST_F(SourceTest, APulseIsDeliveredOnceToTheFirstWhoComes)
{
  NodePulse pulse("pulse");
  EXPECT_EQ(pull(pulse, a), nullptr);
  EXPECT_EQ(pulse.getVersion(), 0U);
  pulse.setData(makeData(7));
  EXPECT_EQ(number(pull(pulse, a)), 7);
  EXPECT_EQ(pull(pulse, b), nullptr);
  EXPECT_EQ(pulse.getVersion(), 2U) << "published, and taken";
}

TEST_F(SourceTest, AUserSourceIsAskedOncePerRunWithItsTimeAndTolerance)
{
  class Asked final : public UserSource
  {
  public:
    std::string getName() override { return "asked"; }

    void setData(const DataPtr& value) override { written = value; }

    DataPtr getData(Time time, Duration tolerance) override
    {
      ++questions;
      return makeData(static_cast<std::int32_t>(time.seconds() * 100 + tolerance.microseconds()));
    }

    DataPtr written;
    int questions = 0;
  };

  const auto user = std::make_shared<Asked>();
  SourceAdapter source(user);
  const auto recorder = std::make_shared<Recorder>();
  source.addEvent(recorder);

  source.synchronize(seconds(3), Duration(5), a, a, 0);
  source.synchronize(seconds(3), Duration(5), a, a, 0);
  EXPECT_EQ(user->questions, 1);
  EXPECT_EQ(number(source.requestData(a, a, 0, nullptr)), 305);
  source.synchronizeRelease(a, a, 0);
  source.synchronizeRelease(a, a, 0);

  source.setData(makeData(9));
  source.setData(nullptr);
  EXPECT_EQ(user->written, nullptr);
  EXPECT_THAT(recorder->values, ElementsAre(9));
  EXPECT_EQ(source.getVersion(), 0U);
  EXPECT_EQ(number(source.getSourceData(seconds(1), Duration(1))), 101);
  EXPECT_THROW(SourceAdapter(nullptr), std::invalid_argument);
}

TEST_F(SourceTest, ARetargetedAliasServesTheRunFromItsOldTargetAndTheNextFromItsNewOne)
{
  const NodeSourcePtr one = makeSource("one", makeData(1));
  const NodeSourcePtr two = makeSource("two", makeData(2));
  NodeSourceAlias alias("alias");
  ASSERT_TRUE(alias.setTarget(one));
  alias.synchronize(seconds(1), Duration(), a, a, 0);
  ASSERT_TRUE(alias.setTarget(two));
  EXPECT_EQ(number(alias.requestData(a, a, 0, nullptr)), 1);
  alias.synchronizeRelease(a, a, 0);
  EXPECT_EQ(one->getActiveScopes() + two->getActiveScopes(), 0U) << "the old target must not stay pinned";
  EXPECT_EQ(number(pull(alias, a)), 2);

  const auto recorder = std::make_shared<Recorder>();
  alias.addEvent(recorder);
  one->setData(makeData(3));
  alias.setData(makeData(5));
  ASSERT_TRUE(alias.setTarget(one));
  two->setData(makeData(5));
  one->setData(makeData(4));
  EXPECT_THAT(recorder->values, ElementsAre(5, 4)) << "events hear the target of the moment";
  ASSERT_TRUE(alias.setTarget(two));
  EXPECT_EQ(number(two->getSourceData(Time(), Duration())), 5);
  EXPECT_EQ(alias.getVersion(), two->getVersion());
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(SourceTest, AliasesThatLeadBackToThemselvesAreRefused)
{
  const auto x = std::make_shared<NodeSourceAlias>("x");
  const auto y = std::make_shared<NodeSourceAlias>("y");
  EXPECT_TRUE(y->setTarget(x));
  EXPECT_FALSE(x->setTarget(x));
  EXPECT_FALSE(x->setTarget(y));
  EXPECT_EQ(pull(*y, a), nullptr) << "and an alias without target gives nothing";
  EXPECT_THAT(log.texts(), ElementsAre("x->setTarget(): \"x\" leads back to this alias",
                                       "x->setTarget(): \"y\" leads back to this alias",
                                       "x->_synchronize(a): the alias has no target"));
}

TEST_F(SourceTest, AnAggregatedSinkNeedsAllItsValues)
{
  const NodeSourcePtr one = makeSource("one", makeData(1));
  const NodeSourcePtr two = makeSource("two");
  AggregatedSink both("both");
  // The names decide the order, not the order of adding.
  const NodeSinkPtr second = makeSink("2nd", *two);
  const NodeSinkPtr first = makeSink("1st", *one);
  ASSERT_TRUE(both.addSink("2nd", second));
  ASSERT_TRUE(both.addSink("1st", first));
  EXPECT_FALSE(both.addSink("1st", second));
  const auto recorder = std::make_shared<Recorder>();
  both.addEvent(recorder);
  const ProcessPtr process = makeProcess("p", {first, second});

  process->run(seconds(1));
  both.update();
  EXPECT_EQ(both.getLastData(), nullptr);
  EXPECT_THAT(recorder->values, IsEmpty());

  two->setData(makeData(2));
  process->run(seconds(2));
  both.update();
  ASSERT_NE(both.getLastData(), nullptr);
  EXPECT_EQ(Type::toText(*both.getLastData()), "{1;2}");
  EXPECT_EQ(recorder->values.size(), 1U);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
