#include "graph/filteradapter.h"

#include "exec/memorymanager.h"
#include "support/graphkit.h"

#include <gmock/gmock.h>

namespace ZR::Filtrix::Test
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

class Declared final : public UserFilter
{
public:
  Declared(std::vector<std::string> inputs_, std::vector<std::string> outputs_)
      : inputNames(std::move(inputs_)), outputNames(std::move(outputs_))
  {
  }

  std::string getName() override { return "Declared"; }

  std::string getDescription() override { return "for the tests"; }

  std::vector<std::string> getInputs() override { return inputNames; }

  std::vector<std::string> getOutputs() override { return outputNames; }

  DataList run(const DataList&) override { return {}; }

private:
  const std::vector<std::string> inputNames;
  const std::vector<std::string> outputNames;
};

// Every port as "name", "name?" when optional, with the types behind it.
std::vector<std::string> describe(const PortList& ports)
{
  std::vector<std::string> out;
  for (const PortPtr& port : ports)
  {
    std::string text = port->getName() + (port->isOptional() ? "?" : "");
    for (const TypeTag type : port->getTypes())
      text += " " + std::string(Type::typeName(type));
    out.push_back(text);
  }
  return out;
}

struct DeclarationCase
{
  const char* name;
  std::vector<std::string> inputs;
  std::vector<std::string> ports;
  std::vector<std::string> messages;
};

class DeclarationTest : public testing::TestWithParam<DeclarationCase>
{
};

TEST_P(DeclarationTest, MakesThePortsThatCanBeRead)
{
  const auto& [name, inputs, ports, messages] = GetParam();
  const ku::log::Capture log;
  const FilterAdapter adapter(std::make_shared<Declared>(inputs, std::vector<std::string>{"out", "two words", ""}));
  EXPECT_EQ(describe(adapter.getInputs()), ports);
  EXPECT_THAT(describe(adapter.getOutputs()), ElementsAre("out"));
  auto expected = messages;
  expected.insert(expected.end(), {"Can't parse output declaration (two words)", "Can't parse output declaration ()"});
  EXPECT_EQ(log.texts("filtrix.filterAdapter"), expected);
  EXPECT_EQ(adapter.getDescription(), "for the tests");
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, DeclarationTest,
    testing::Values(DeclarationCase{"Plain", {"depth [DepthImage]"}, {"depth DepthImage"}, {}},
                    DeclarationCase{"Optional",
                                    {"optional image [DepthImage  GrayscaleImage]", "  optional\twidth[Float]"},
                                    {"image? DepthImage GrayscaleImage", "width? Float"},
                                    {}},
                    DeclarationCase{"WithoutTypes",
                                    {"optional any", "empty []"},
                                    {"any?", "empty"},
                                    {"Missing type declaration for input optional any of filter Declared"}},
                    DeclarationCase{"UnknownType",
                                    {"gain [Float float Invalid]"},
                                    {"gain Float"},
                                    {"Invalid input type float for port gain of filter Declared",
                                     "Invalid input type Invalid for port gain of filter Declared"}},
                    DeclarationCase{"Unreadable",
                                    {"Optional gain [Float]", "a b c [Float]", "a [Float] b", "", "[Float]"},
                                    {"Float"},
                                    {"Can't parse input declaration (Optional gain [Float])",
                                     "Can't parse input declaration (a b c [Float])",
                                     "Can't parse input declaration (a [Float] b)", "Can't parse input declaration ()",
                                     "Missing type declaration for input Float of filter Declared"}}),
    [](const auto& test) { return std::string(test.param.name); });

// Counts its runs in its memory.
class Counter final : public UserFilter
{
public:
  std::string getName() override { return "Counter"; }

  std::string getDescription() override { return ""; }

  std::vector<std::string> getInputs() override { return {"optional in"}; }

  std::vector<std::string> getOutputs() override { return {"count"}; }

  bool isStateful() override { return true; }

  DataList run(const DataList&) override
  {
    setMemory(makeData(getMemory() ? getMemory()->toInt() + 1 : 1));
    if (fail)
      throw std::runtime_error("broken");
    return {getMemory()};
  }

  bool fail = false;
};

TEST(StatefulAdapter, KeepsAStatePerProcessAndScope)
{
  MemoryManager memory;
  const auto counter = std::make_shared<Counter>();
  const auto adapter = std::make_shared<FilterAdapter>(counter);
  adapter->setMemoryManager(&memory);
  const auto once = makeNode("once", adapter);
  const auto again = makeNode("again", adapter);
  link(*once, *again);
  const NodeSinkPtr first = makeSink("first", *once);
  const NodeSinkPtr second = makeSink("second", *again);
  const ProcessPtr process = makeProcess("p", {first, second});
  for (int run = 1; run <= 3; ++run)
    process->run(seconds(run));
  EXPECT_EQ(number(first->getLastData()), 3);
  EXPECT_EQ(number(second->getLastData()), 3) << "two uses, two states";

  counter->fail = true;
  EXPECT_THROW(process->run(seconds(4)), std::runtime_error);
  counter->fail = false;
  process->recover();
  process->run(seconds(5));
  EXPECT_EQ(number(first->getLastData()), 4) << "the state of the run that broke off is lost";

  memory.renameProcess(process->getKey(), ProcessKey("q"));
  process->rename("q");
  process->run(seconds(6));
  EXPECT_EQ(number(first->getLastData()), 5) << "a renamed process keeps its states";
  EXPECT_TRUE(memory.clearProcess(process->getKey()));
  process->run(seconds(7));
  EXPECT_EQ(number(first->getLastData()), 1);
}

TEST(StatefulAdapter, SaysWhatItLacks)
{
  EXPECT_THROW(FilterAdapter(nullptr), std::invalid_argument);
  FilterAdapter adapter(std::make_shared<Counter>());
  const ProcessKey key("p");
  EXPECT_THROW((void)adapter.applyFilter({nullptr}, key, key, 0), std::logic_error);
}
}  // namespace
}  // namespace ZR::Filtrix::Test
