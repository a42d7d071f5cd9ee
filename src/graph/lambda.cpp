#include "graph/lambda.h"

#include "filtrix/ku/log.h"
#include "graph/nodefilter.h"
#include "graph/nodesource.h"
#include "graph/processkey.h"
#include "graph/runrecovery.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Type
{
namespace
{
constexpr const char* category = "filtrix.lambda";
constexpr Duration tolerance(1'000'000);

// One literal for every lambda: what tells their scopes apart is the number of each one's node.
const ProcessKey& lambdaKey()
{
  static const ProcessKey key("___@LAMBDA@___");
  return key;
}

// How deep this thread is in lambdas that apply lambdas.
thread_local int applicationDepth = 0;

class DepthMark
{
public:
  DepthMark() { ++applicationDepth; }

  DepthMark(const DepthMark&) = delete;
  DepthMark& operator=(const DepthMark&) = delete;

  ~DepthMark() { --applicationDepth; }
};
}  // namespace

class Lambda::Lambda_p
{
public:
  explicit Lambda_p(FilterPtr filter_) : filter(std::move(filter_)), node(filter->getName(), filter)
  {
    for (const PortPtr& input : node.getInputs())
    {
      Parameter& parameter = parameters.emplace_back();
      parameter.source = std::make_unique<NodeSource>(input->getName());
      input->addLink(parameter.source->getOutput());
    }
  }

  struct Parameter
  {
    std::unique_ptr<NodeSource> source;
    bool bound = false;
    DataPtr value;
  };

  DataList run();

  const FilterPtr filter;

  // One application at a time, since all of them use the one key. Nests within the locks of the run that applies it.
  std::mutex mutex;
  std::atomic<std::thread::id> runner;  // the thread that holds the mutex in `apply`

  // Declared before the node, whose inputs are linked to the sources in it.
  std::vector<Parameter> parameters;
  NodeFilter node;
};

// Clears the lambda's scopes unless the application came to its end.
class AbandonGuard
{
public:
  explicit AbandonGuard(Node& node_) : node(node_) {}

  AbandonGuard(const AbandonGuard&) = delete;
  AbandonGuard& operator=(const AbandonGuard&) = delete;

  ~AbandonGuard()
  {
    if (complete)
      return;
    RecoveryWalk walk;
    node.abandonRun(lambdaKey(), lambdaKey(), walk);
  }

  void done() noexcept { complete = true; }

private:
  Node& node;
  bool complete = false;
};

DataList Lambda::Lambda_p::run()
{
  AbandonGuard guard(node);
  const Time time = Time::now();
  const ProcessKey& key = lambdaKey();
  for (std::size_t i = 0; i < node.getOutputs().size(); ++i)
    node.synchronize(time, tolerance, key, key, 0);
  DataList results;
  for (const PortPtr& output : node.getOutputs())
    results.push_back(node.takeData(key, key, 0, output));
  guard.done();
  return results;
}

Lambda::Lambda(std::shared_ptr<Filter> filter)
{
  if (!filter)
    throw std::invalid_argument("Lambda: expected a filter, got null");
  p = std::make_unique<Lambda_p>(std::move(filter));
}

Lambda::~Lambda() = default;

DataList Lambda::apply(const DataArray& arguments)
{
  if (p->runner.load(std::memory_order_relaxed) == std::this_thread::get_id())
  {
    ku::log::error(category, "The lambda of \"{}\" is applied within itself.", getName());
    return {};
  }
  if (applicationDepth >= maxDepth)
  {
    ku::log::error(category, "The lambda of \"{}\" is applied within {} others, expected at most {}.", getName(),
                   applicationDepth, maxDepth - 1);
    return {};
  }
  const DepthMark depthMark;
  const std::lock_guard lock(p->mutex);
  p->runner.store(std::this_thread::get_id(), std::memory_order_relaxed);

  auto argument = arguments.begin();
  for (Lambda_p::Parameter& parameter : p->parameters)
  {
    if (argument == arguments.end())
      break;
    if (!parameter.bound)
      parameter.source->setData(*argument++);
  }

  struct RunnerReset
  {
    std::atomic<std::thread::id>& runner;

    ~RunnerReset() { runner.store(std::thread::id(), std::memory_order_relaxed); }
  } const reset{p->runner};

  return p->run();
}

std::shared_ptr<Lambda> Lambda::curry(const DataArray& arguments) const
{
  auto copy = std::make_shared<Lambda>(p->filter);
  auto argument = arguments.begin();
  for (std::size_t i = 0; i < p->parameters.size(); ++i)
  {
    const Lambda_p::Parameter& ours = p->parameters[i];
    Lambda_p::Parameter& theirs = copy->p->parameters[i];
    theirs.bound = ours.bound;
    theirs.value = ours.value;
    if (!ours.bound && argument != arguments.end())
    {
      theirs.bound = true;
      theirs.value = *argument++;
    }
    if (theirs.bound)
      theirs.source->setData(theirs.value);
  }
  return copy;
}

const std::string& Lambda::getName() const
{
  return p->filter->getName();
}

std::size_t Lambda::getFreeParameters() const
{
  return static_cast<std::size_t>(
      std::ranges::count_if(p->parameters, [](const auto& parameter) { return !parameter.bound; }));
}
}  // namespace ZR::Filtrix::Type
