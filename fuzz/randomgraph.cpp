#include "randomgraph.h"

#include "graph/filtercomposite.h"
#include "graph/filterprimitive.h"
#include "graph/nodefilter.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <limits>

namespace ZR::Fuzz
{
using namespace Filtrix;

namespace
{
constexpr std::size_t mostCost = 300;

Numbers toNumbers(const DataList& values)
{
  Numbers numbers;
  for (const DataPtr& value : values)
    numbers.push_back(value ? Number(value->toInt()) : std::nullopt);
  return numbers;
}

DataPtr toValue(const Number& number)
{
  return number ? makeData(static_cast<int>(*number)) : nullptr;
}

// A leaf filter in the graph, which shares its arithmetic with the plain description.
class Leaf final : public FilterPrimitive
{
public:
  explicit Leaf(const PlainFilter& plain_) : FilterPrimitive(plain_.name), plain(plain_)
  {
    for (const std::string& input : plain.inputs)
      addInput(input)->setOptional(true);
    for (const std::string& output : plain.outputs)
      addOutput(output);
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override
  {
    States none;
    DataList results;
    for (const Number& number : plain.evaluate(toNumbers(inputs), {}, none))
      results.push_back(toValue(number));
    return results;
  }

private:
  const PlainFilter& plain;
};

// The stateful leaf: its state is the runtime's to keep.
class Remembering final : public UserFilter
{
public:
  explicit Remembering(const PlainFilter& plain_) : plain(plain_) {}

  std::string getName() override { return plain.name; }

  std::string getDescription() override { return {}; }

  std::vector<std::string> getInputs() override { return {"optional " + plain.inputs[0]}; }

  std::vector<std::string> getOutputs() override { return plain.outputs; }

  bool isStateful() override { return true; }

  DataList run(const DataList& inputs) override
  {
    States states;
    if (getMemory())
      states.emplace("", getMemory()->toInt());
    const DataPtr result = toValue(plain.evaluate(toNumbers(inputs), {}, states)[0]);
    setMemory(result);
    return {result};
  }

private:
  const PlainFilter& plain;
};

std::size_t raisedIn(const Node& node)
{
  std::size_t raised = node.getActiveScopes();
  const auto* const filterNode = dynamic_cast<const NodeFilter*>(&node);
  if (filterNode == nullptr)
    return raised;
  if (const auto* const composite = dynamic_cast<const FilterComposite*>(filterNode->getFilter().get()))
  {
    for (const auto& [name, inner] : composite->getNodes())
      raised += raisedIn(*inner);
  }
  return raised;
}

std::size_t raisedIn(const Process& process)
{
  std::size_t raised = 0;
  for (const NodePtr& node : process.getNodes())
    raised += raisedIn(*node);
  for (const auto& [name, source] : process.getSources())
    raised += raisedIn(*source);
  for (const auto& [name, sink] : process.getSinks())
    raised += raisedIn(*sink);
  return raised;
}

std::string text(const Number& number)
{
  return number ? std::to_string(*number) : "nothing";
}

// A mistake of this file's own: what it builds must be valid.
void require(bool built, const std::string& what)
{
  if (built)
    return;
  std::cerr << "the registry refused a valid " << what << '\n';
  std::abort();
}
}  // namespace

RandomGraph::RandomGraph(FiltrixPrivate& registry_, FuzzedDataProvider& bytes_) : registry(registry_), bytes(bytes_)
{
  for (const auto kind : {PlainFilter::Kind::Sum, PlainFilter::Kind::First, PlainFilter::Kind::Greatest})
    _addLeaf(kind);
  for (std::size_t left = 1 + _pick(3); left > 0; --left)
  {
    require(registry.createSource("s" + std::to_string(sources.size())), "source");
    sources.emplace_back();
  }
  for (std::size_t left = _pick(3); left > 0; --left)
  {
    const std::size_t target = _pick(sources.size());
    require(registry.createSourceAlias("a" + std::to_string(aliases.size()), "s" + std::to_string(target)), "alias");
    aliases.push_back(target);
  }
  for (std::size_t left = _pick(6); left > 0; --left)
    _addComposite();
  for (std::size_t left = 1 + _pick(4); left > 0; --left)
    _addProcess();
}

void RandomGraph::change()
{
  for (std::size_t index = 0; index < sources.size(); ++index)
  {
    if (_pick(2) == 0)
      continue;
    sources[index] = _pick(4) == 0 ? std::nullopt : Number(bytes.ConsumeIntegral<std::uint16_t>());
    require(registry.setData("s" + std::to_string(index), toValue(sources[index])), "value");
  }
  for (std::size_t index = 0; index < aliases.size(); ++index)
  {
    aliases[index] = _pick(sources.size());
    require(registry.retargetSourceAlias("a" + std::to_string(index), "s" + std::to_string(aliases[index])), "target");
  }
  if (_pick(4) != 0)
    return;
  const std::string name = "p" + std::to_string(_pick(processes.size()));
  require(registry.resetProcess(name), "process to reset");
  std::erase_if(states, [&](const auto& state) { return state.first.starts_with(name + "/"); });
}

bool RandomGraph::runAndCompare(Time time)
{
  for (std::size_t index = 0; index < processes.size(); ++index)
  {
    PlainProcess& process = processes[index];
    Numbers inputs;
    for (const PlainProcess::Reads& reads : process.reads)
      inputs.push_back(_valueOf(reads));
    process.sinks = process.filter->evaluate(inputs, "p" + std::to_string(index) + "/", states);
  }

  // Whatever the order, a process gives the same: when its turn comes, or when a reader asks for it before.
  std::vector<ProcessPtr> order;
  registry.forEachProcess([&](const ProcessPtr& process) { order.push_back(process); });
  if (_pick(2) == 0)
    std::reverse(order.begin(), order.end());
  for (const ProcessPtr& process : order)
    require(process->run(time), "run");

  bool right = true;
  for (const ProcessPtr& process : order)
  {
    const std::size_t index = std::stoul(process->getName().substr(1));
    right = _compare(index) && right;
    if (raisedIn(*process) == 0)
      continue;
    std::cerr << process->getName() << ": " << raisedIn(*process) << " scopes are left over\n";
    right = false;
  }
  return right;
}

std::size_t RandomGraph::_pick(std::size_t below)
{
  return bytes.ConsumeIntegralInRange<std::size_t>(0, below - 1);
}

void RandomGraph::_addLeaf(PlainFilter::Kind kind)
{
  auto leaf = std::make_unique<PlainFilter>();
  leaf->kind = kind;
  switch (kind)
  {
  case PlainFilter::Kind::Sum:
    leaf->name = "Sum";
    leaf->inputs = {"a", "b", "c"};
    leaf->outputs = {"x", "y"};
    break;
  case PlainFilter::Kind::First:
    leaf->name = "First";
    leaf->inputs = {"a", "b"};
    leaf->outputs = {"x"};
    break;
  default:
    leaf->name = "Greatest";
    leaf->inputs = {"a"};
    leaf->outputs = {"x"};
  }
  if (kind == PlainFilter::Kind::Greatest)
    require(registry.addFilter(std::make_shared<Remembering>(*leaf)), "stateful filter");
  else
    require(registry.addFilter(std::make_shared<Leaf>(*leaf)), "filter");
  filters.push_back(std::move(leaf));
}

void RandomGraph::_addComposite()
{
  auto made = std::make_unique<PlainFilter>();
  made->name = "C" + std::to_string(filters.size());
  FilterDeclaration declaration;
  declaration.name = made->name;
  const auto nodeName = [](std::size_t node) { return "n" + std::to_string(node); };
  for (std::size_t left = 1 + _pick(8); left > 0; --left)
  {
    const PlainFilter& used = *filters[_pick(filters.size())];
    if (made->cost + used.cost > mostCost)
      break;
    made->cost += used.cost;
    const std::size_t index = made->nodes.size();
    PlainFilter::Inner inner{&used, {}};
    declaration.nodes.push_back({used.name, nodeName(index)});
    for (const std::string& port : used.inputs)
    {
      PlainFilter::Feed feed = _pickFeed(*made);
      if (feed.from == PlainFilter::Feed::From::Node)
      {
        const std::string& output = made->nodes[feed.index].filter->outputs[feed.output];
        declaration.links.push_back({nodeName(feed.index), output, nodeName(index), port});
      }
      else if (feed.from == PlainFilter::Feed::From::Outside)
      {
        feed.index = made->inputs.size();
        made->inputs.push_back("i" + std::to_string(feed.index));
        declaration.inputs.push_back({nodeName(index), port, made->inputs.back()});
      }
      inner.feeds.push_back(feed);
    }
    made->nodes.push_back(std::move(inner));
  }
  if (made->nodes.empty())
    return;
  for (std::size_t left = 1 + _pick(3); left > 0; --left)
  {
    const std::size_t node = _pick(made->nodes.size());
    const std::size_t output = _pick(made->nodes[node].filter->outputs.size());
    made->exposed.push_back({node, output});
    made->outputs.push_back("o" + std::to_string(made->outputs.size()));
    declaration.outputs.push_back({nodeName(node), made->nodes[node].filter->outputs[output], made->outputs.back()});
  }
  require(registry.createFilter(declaration), "composite");
  filters.push_back(std::move(made));
}

PlainFilter::Feed RandomGraph::_pickFeed(const PlainFilter& composite)
{
  using From = PlainFilter::Feed::From;
  const std::size_t choice = _pick(5);
  if (choice == 0)
    return {From::Nothing, 0, 0};
  if (choice == 1 || composite.nodes.empty())
    return {From::Outside, 0, 0};
  // Mostly the node before, so that chains come about.
  const std::size_t node = choice == 2 ? _pick(composite.nodes.size()) : composite.nodes.size() - 1;
  return {From::Node, node, _pick(composite.nodes[node].filter->outputs.size())};
}

void RandomGraph::_addProcess()
{
  PlainProcess made;
  made.filter = filters[_pick(filters.size())].get();
  std::vector<Binding> inputs;
  for (const std::string& input : made.filter->inputs)
  {
    made.reads.push_back(_pickReads());
    if (made.reads.back().what != PlainProcess::Reads::What::Nothing)
      inputs.push_back({input, _textOf(made.reads.back())});
  }
  std::vector<Binding> outputs;
  for (const std::string& output : made.filter->outputs)
    outputs.push_back({output, output});
  made.sinks.resize(made.filter->outputs.size());
  require(registry.createProcess("p" + std::to_string(processes.size()), made.filter->name, 1,
                                 std::numeric_limits<float>::infinity(), Duration(0), inputs, outputs, {}, {}),
          "process");
  processes.push_back(std::move(made));
}

RandomGraph::PlainProcess::Reads RandomGraph::_pickReads()
{
  using What = PlainProcess::Reads::What;
  switch (_pick(6))
  {
  case 0:
    return {What::Nothing, 0, 0, 0};
  case 1:
    return {What::Literal, 0, 0, static_cast<std::int64_t>(_pick(1000))};
  case 2:
    if (!aliases.empty())
      return {What::Alias, _pick(aliases.size()), 0, 0};
    break;
  case 3:
  case 4:
    if (!processes.empty())
    {
      const std::size_t process = _pick(processes.size());
      return {What::Process, process, _pick(processes[process].sinks.size()), 0};
    }
    break;
  default:
    break;
  }
  return {What::Source, _pick(sources.size()), 0, 0};
}

std::string RandomGraph::_textOf(const PlainProcess::Reads& reads) const
{
  using What = PlainProcess::Reads::What;
  switch (reads.what)
  {
  case What::Source:
    return "s" + std::to_string(reads.index);
  case What::Alias:
    return "a" + std::to_string(reads.index);
  case What::Literal:
    return std::to_string(reads.literal);
  case What::Process:
    return "p" + std::to_string(reads.index) + ":" + processes[reads.index].filter->outputs[reads.output];
  case What::Nothing:
    break;
  }
  return {};
}

Number RandomGraph::_valueOf(const PlainProcess::Reads& reads) const
{
  using What = PlainProcess::Reads::What;
  switch (reads.what)
  {
  case What::Source:
    return sources[reads.index];
  case What::Alias:
    return sources[aliases[reads.index]];
  case What::Literal:
    return reads.literal;
  case What::Process:
    return processes[reads.index].sinks[reads.output];
  case What::Nothing:
    break;
  }
  return std::nullopt;
}

bool RandomGraph::_compare(std::size_t process) const
{
  const PlainProcess& plain = processes[process];
  const std::string name = "p" + std::to_string(process);
  bool right = true;
  for (std::size_t output = 0; output < plain.sinks.size(); ++output)
  {
    const std::string sink = name + ":" + plain.filter->outputs[output];
    const Number came = toNumbers({registry.getLastData(sink)})[0];
    if (came == plain.sinks[output])
      continue;
    std::cerr << sink << ": expected " << text(plain.sinks[output]) << ", came " << text(came) << '\n';
    right = false;
  }
  return right;
}
}  // namespace ZR::Fuzz
