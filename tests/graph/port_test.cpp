#include "graph/port.h"

#include "filtrix/ku/log.h"
#include "support/graphkit.h"

#include <gmock/gmock.h>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

class PortTest : public testing::Test
{
protected:
  ku::log::Capture log;
  const ProcessKey key{"p"};
};

TEST_F(PortTest, AnInputWithoutLinkGivesItsOwnDefaultOnly)
{
  const auto root = std::make_shared<Port>("root");
  root->setDefaultValue(makeData(7));
  Port port("in");
  port.setParent(root);
  EXPECT_EQ(port.requestData(key, key, 0), nullptr) << "the chain's default is for upstream nulls";
  port.setDefaultValue(makeData(3));
  EXPECT_EQ(number(port.requestData(key, key, 0)), 3);
  port.requestEmpty(key, key, 0);
  port.synchronizeRelease(key, key, 0);
  EXPECT_THAT(log.entries(), IsEmpty());
}

TEST_F(PortTest, AnUpstreamNullIsReplacedByTheDefaultOfTheChain)
{
  const NodeSourcePtr source = makeSource("s");
  const auto root = std::make_shared<Port>("root");
  root->setDefaultValue(makeData(7));
  Port port("in");
  port.setParent(root);
  port.addLink(source->getOutput());
  source->synchronize(seconds(1), Duration(), key, key, 0);
  EXPECT_EQ(number(port.requestData(key, key, 0)), 7);
  port.synchronizeRelease(key, key, 0);
  EXPECT_EQ(source->getActiveScopes(), 0U);
}

TEST_F(PortTest, AScopeValueWinsOverLinkAndDefaultAndMayBeNull)
{
  const auto root = std::make_shared<Port>("root");
  const auto port = std::make_shared<Port>("in");
  port->setParent(root);
  port->setDefaultValue(makeData(3));
  const PortList ports{port};
  const DataList values{makeData(5)};
  Port::setScopeValues(ports, values, key.getHash());
  EXPECT_EQ(number(port->requestData(key, key, 0)), 5);
  EXPECT_EQ(number(root->requestData(key, key, 0)), 5) << "every port up the chain has it";
  EXPECT_EQ(number(port->requestData(key, ProcessKey("other"), 0)), 3) << "only in its scope";
  const DataList nothing{nullptr};
  Port::setScopeValues(ports, nothing, key.getHash());
  EXPECT_EQ(port->requestData(key, key, 0), nullptr);
  Port::eraseScopeValues(ports, key.getHash());
  EXPECT_EQ(number(port->requestData(key, key, 0)), 3);
}

TEST_F(PortTest, AnUnboundLinkIsLoggedAndGivesNothing)
{
  for (const PortPtr& link : {std::make_shared<Port>("nobody's"), PortPtr()})
  {
    log.clear();
    Port port("in");
    port.addLink(link);
    EXPECT_EQ(port.requestData(key, key, 0), nullptr);
    port.requestEmpty(key, key, 0);
    port.synchronizeRelease(key, key, 0);
    EXPECT_THAT(log.entries(),
                ElementsAre(ku::log::Entry{ku::log::Level::Error, "filtrix.port",
                                           "in::requestData(): trying to get data from an unbound port."},
                            ku::log::Entry{ku::log::Level::Error, "filtrix.port",
                                           "in::requestEmpty(): trying to get data from an unbound port."}));
  }
}

TEST_F(PortTest, TwoLinksAreLoggedAndNoNodeIsTouched)
{
  const NodeSourcePtr source = makeSource("s", makeData(1));
  Port port("in");
  port.addLink(source->getOutput());
  port.addLink(source->getOutput());
  EXPECT_EQ(port.requestData(key, key, 0), nullptr);
  port.requestEmpty(key, key, 0);
  port.synchronizeRelease(key, key, 0);
  EXPECT_THAT(log.texts("filtrix.port"),
              ElementsAre("in::requestData(): An input port can not have multiple outputs.",
                          "in::requestEmpty(): An input port can not have multiple outputs.",
                          "synchronizeRelease(): an input port (in) can not have multiple outputs and only an input "
                          "port can use synchronizeRelease()."));
  EXPECT_THAT(log.texts("filtrix.nodeSource"), IsEmpty());
}

TEST_F(PortTest, ALinkOutlivesItsNodeAsAnUnboundOne)
{
  Port port("in");
  {
    const NodeSourcePtr source = makeSource("s", makeData(1));
    port.addLink(source->getOutput());
  }
  EXPECT_EQ(port.requestData(key, key, 0), nullptr);
  EXPECT_THAT(log.texts(), ElementsAre("in::requestData(): trying to get data from an unbound port."));
}

TEST_F(PortTest, MessagesLeadBackToTheProgram)
{
  Port port("in");
  port.setOrigin(std::make_shared<Origin>(Origin{"people.fxs", 12, 3, "a -> b:in"}));
  port.addLink(nullptr);
  EXPECT_EQ(port.requestData(key, key, 0), nullptr);
  EXPECT_THAT(log.texts(), ElementsAre("in::requestData(): trying to get data from an unbound port. "
                                       "[people.fxs:12:3: a -> b:in]"));
}

TEST_F(PortTest, QuestionsAreAnsweredAlongTheChain)
{
  const auto root = std::make_shared<Port>("root");
  const auto middle = std::make_shared<Port>("middle");
  const auto port = std::make_shared<Port>("port");
  middle->setParent(root);
  port->setParent(middle);
  port->addType(TypeTag::String);  // not the root's, so it does not count
  root->addType(TypeTag::Float);
  EXPECT_TRUE(port->acceptsType(TypeTag::Float));
  EXPECT_FALSE(port->acceptsType(TypeTag::String));

  Port integers("integers");
  integers.addType(TypeTag::Integer);
  Port anything("anything");
  EXPECT_FALSE(port->hasCommonType(integers));
  EXPECT_TRUE(port->hasCommonType(anything));
  EXPECT_TRUE(anything.hasCommonType(*port));

  EXPECT_FALSE(port->isOptional());
  middle->setDefaultValue(makeData(1));
  EXPECT_TRUE(port->isOptional()) << "a default makes up for a missing value";
  EXPECT_FALSE(root->isOptional());
}

TEST_F(PortTest, AParentThatClosesARingIsRefused)
{
  const auto a = std::make_shared<Port>("a");
  const auto b = std::make_shared<Port>("b");
  b->setParent(a);
  a->setParent(b);
  EXPECT_EQ(a->getParent(), nullptr);
  EXPECT_THAT(log.texts(), ElementsAre("a::setParent(): the port \"b\" already stands for this one."));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
