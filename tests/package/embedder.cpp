// What an embedder does first: a filter of one's own, a process around it, a value in and a value out.

#include <exec/process.h>
#include <filtrix/userfilter.h>
#include <filtrix/zrvalue.h>
#include <graph/filteradapter.h>
#include <graph/nodefilter.h>
#include <graph/nodesink.h>
#include <graph/nodesource.h>

using namespace ZR::Filtrix;

namespace
{
class Twice final : public UserFilter
{
public:
  std::string getName() override { return "Twice"; }

  std::string getDescription() override { return "Doubles a number."; }

  std::vector<std::string> getInputs() override { return {"in [Integer]"}; }

  std::vector<std::string> getOutputs() override { return {"out"}; }

  DataList run(const DataList& inputs) override { return {makeData(2 * inputs[0]->toInt())}; }
};
}  // namespace

int main()
{
  NodeSource source("number");
  source.setData(makeData(21));
  NodeFilter node("twice", std::make_shared<FilterAdapter>(std::make_shared<Twice>()));
  node.findInput("in")->addLink(source.getOutput());
  const auto sink = std::make_shared<NodeSink>("result");
  sink->getInput()->addLink(node.findOutput("out"));
  Process process("answer", 1, 10.0F, Duration(0));
  process.addSink(sink);
  return process.getData("result", Time::now())->toInt() == 42 ? 0 : 1;
}
