#include "graph/nodefilter.h"

#include "filtrix/ku/clock.h"
#include "filtrix/ku/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.nodeFilter";

// How many scopes, running or idle, a node keeps before it looks for idle ones to forget.
constexpr std::size_t keptScopes = 64;

// Tells nodes apart for as long as the process lives. A node's address would not do: the allocator hands it out again,
// and the new node would wake up with the dead one's state.
std::string makeScopeSuffix()
{
  static std::atomic<std::uint64_t> serial{0};
  return fmt::format("__{}", serial.fetch_add(1, std::memory_order_relaxed) + 1);
}

bool hasValue(const DataList& results)
{
  return std::ranges::any_of(results, [](const DataPtr& value) { return value != nullptr; });
}
}  // namespace

// One computation of a node's results. Until it is finished the scope is marked with the thread at work, by which a
// graph that runs in a ring is found out; if it ends unfinished, an exception is passing through.
class NodeFilter::Computation
{
public:
  Computation(NodeFilter& node_, Scope& scope_, std::uint32_t scopeHash_)
      : node(node_), scope(scope_), scopeHash(scopeHash_), reporting(node_.keepsReports.load(std::memory_order_relaxed))
  {
    if (reporting)
      start = ku::Clock::now();
  }

  Computation(const Computation&) = delete;
  Computation& operator=(const Computation&) = delete;

  ~Computation()
  {
    if (!finished)
      finishForLast(NodeReport::Outcome::Exception);
  }

  // Applies the filter; its time counts `weight` times.
  [[gnu::always_inline]] DataList apply(const DataList& inputs, const ProcessKey& processKey, std::uint64_t depth,
                                        std::uint64_t weight)
  {
    applications = 1;
    return weight == 0 ? node.filter->applyFilter(inputs, processKey, scope.innerKey, depth)
                       : _applyAndTime(inputs, processKey, depth, weight);
  }

  // Takes the results; null for none.
  void finish(DataList* results, NodeReport::Outcome outcome, const Port* missing)
  {
    {
      const std::lock_guard lock(node.tableLock);
      _count();
      if (!scope.hasResults)
      {
        if (results != nullptr)
          scope.results.take(*results);
        scope.hasResults = true;
      }
    }
    if (reporting)
      _report(outcome, missing);
    finished = true;
  }

  // Nobody will ask for the results again.
  [[gnu::always_inline]] void finishForLast(NodeReport::Outcome outcome)
  {
    {
      const std::lock_guard lock(node.tableLock);
      _count();
    }
    if (reporting)
      _report(outcome, nullptr);
    finished = true;
  }

private:
  [[gnu::noinline]] DataList _applyAndTime(const DataList& inputs, const ProcessKey& processKey, std::uint64_t depth,
                                           std::uint64_t weight)
  {
    const auto begin = ku::Clock::now();
    DataList results = node.filter->applyFilter(inputs, processKey, scope.innerKey, depth);
    applied = ku::Clock::now() - begin;
    time = applied * static_cast<std::int64_t>(weight);
    return results;
  }

  void _count()
  {
    scope.runner = std::thread::id();
    node.figures.calls += applications;
    node.figures.time += time;
    node.figures.longest = std::max(node.figures.longest, applied);
  }

  [[gnu::noinline]] void _report(NodeReport::Outcome outcome, const Port* missing)
  {
    const auto length = ku::Clock::now() - start;
    const std::lock_guard lock(node.tableLock);
    *node.reports.insert(scopeHash).first = {outcome, missing != nullptr ? missing->getName() : std::string(), 0,
                                             length};
  }

  NodeFilter& node;
  Scope& scope;
  const std::uint32_t scopeHash;
  const bool reporting;
  bool finished = false;
  ku::Clock::time_point start;
  std::uint64_t applications = 0;
  std::chrono::nanoseconds applied{};
  std::chrono::nanoseconds time{};
};

void NodeFilter::Results::take(DataList& list)
{
  if (list.empty())
    return;
  first = std::move(list.front());
  if (list.size() > 1)
    others.insert(others.end(), std::make_move_iterator(list.begin() + 1), std::make_move_iterator(list.end()));
}

void NodeFilter::Results::clear()
{
  first.reset();
  others.clear();
}

const DataPtr* NodeFilter::Results::find(std::size_t i) const noexcept
{
  if (i == 0)
    return &first;
  return i - 1 < others.size() ? &others[i - 1] : nullptr;
}

NodeFilter::NodeFilter(std::string name_, FilterPtr filter_)
    : Node(std::move(name_)), filter(std::move(filter_)), scopeSuffix(makeScopeSuffix())
{
  if (!filter)
    return;
  const auto standFor = [this](const PortPtr& port)
  {
    auto own = std::make_shared<Port>(port->getName(), this);
    own->setParent(port);
    return own;
  };
  for (const PortPtr& port : filter->getInputs())
    addInput(standFor(port));
  for (const PortPtr& port : filter->getOutputs())
    addOutput(standFor(port));
}

NodeFilter::~NodeFilter()
{
  std::string text;
  scopes.forEach(
      [&](std::uint32_t hash, const Scope& scope)
      {
        if (scope.count != 0)
          text += fmt::format("\n  process: {}, count: {}", hash, scope.count);
      });
  if (!text.empty())
    ku::log::write(ku::log::Level::Fatal, category,
                   getName() + "->~NodeFilter(): There is still count to entry cache:" + text + originText());
}

void NodeFilter::_synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                              std::uint64_t depth)
{
  if (!filter)
  {
    _logError("_synchronize", processKey, "Filter node doesn't own a filter !");
    return;
  }
  Scope* scope = nullptr;
  bool hasResults = false;
  {
    const std::lock_guard lock(tableLock);
    scope = &_findOrMakeScope(scopeKey);
    hasResults = scope->hasResults;
  }
  if (scope->count == 0)
  {
    if (hasResults)
      _dropResults(*scope);
    filter->filterSynchronize(time, tolerance, processKey, scope->innerKey, depth);
    ++activeScopes;
  }
  ++scope->count;
}

void NodeFilter::_synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth)
{
  Scope* scope = nullptr;
  {
    const std::lock_guard lock(tableLock);
    scope = scopes.find(scopeKey.getHash());
  }
  if (scope == nullptr || scope->count == 0)
  {
    _logError("_synchronizeRelease", processKey, "Invalid release on process " + processKey.getName());
    return;
  }
  if (scope->count == 1)
    _dropResults(*scope);
  _leave(*scope, processKey, depth);
}

// Under the node's mutex, without the table's lock.
inline void NodeFilter::_leave(Scope& scope, const ProcessKey& processKey, std::uint64_t depth)
{
  if (--scope.count > 0)
    return;
  --activeScopes;
  filter->filterSynchronizeRelease(processKey, scope.innerKey, depth);
}

// Under the node's mutex, without the table's lock.
void NodeFilter::_dropResults(Scope& scope)
{
  Results dropped;  // outlives the lock: the last share in a large value may end with it
  const std::lock_guard lock(tableLock);
  scope.hasResults = false;
  std::swap(dropped.first, scope.results.first);
  if (!scope.results.others.empty())
    dropped.others.swap(scope.results.others);
}

// Which of the outputs the port stands for: itself, or one up its chain.
inline std::optional<std::size_t> NodeFilter::_indexOf(const Port* outputPort) const noexcept
{
  const PortList& outputs = getOutputs();
  if (!outputs.empty() && outputs.front().get() == outputPort)
    return 0;
  for (const Port* port = outputPort; port != nullptr; port = port->getParent().get())
  {
    for (std::size_t i = 0; i < outputs.size(); ++i)
    {
      if (outputs[i].get() == port)
        return i;
    }
  }
  return std::nullopt;
}

// For how many applications the time of the next one stands; 0: it is not to be timed.
inline std::uint64_t NodeFilter::_timingWeight() const
{
  if (figures.calls == 0 || figures.time > timedAlways * static_cast<std::int64_t>(figures.calls))
    return 1;
  return figures.calls % sampling == 0 ? sampling : 0;
}

// Serves a request from the results, or opens their computation. An empty request (no output port) wants no value.
[[gnu::always_inline]] inline NodeFilter::Request NodeFilter::_begin(const ProcessKey& scopeKey,
                                                                     const PortPtr* outputPort, DataPtr* value,
                                                                     Scope** entry, std::uint64_t* weight)
{
  const std::lock_guard lock(tableLock);
  Scope& scope = _findOrMakeScope(scopeKey);
  if (scope.hasResults)
  {
    if (outputPort != nullptr)
    {
      const auto index = _indexOf(outputPort->get());
      if (const DataPtr* const result = index ? scope.results.find(*index) : nullptr)
        *value = *result;
      if (NodeReport* const report = reports.find(scopeKey.getHash()))
        ++report->reuses;
    }
    return Request::Served;
  }
  if (scope.runner == std::this_thread::get_id())
    return Request::Ring;
  scope.runner = std::this_thread::get_id();
  *entry = &scope;
  if (weight != nullptr)
    *weight = _timingWeight();
  return Request::Compute;
}

// Reads every input in order. After the first required one without a value the others are only passed by.
[[gnu::always_inline]] inline bool NodeFilter::_gatherInputs(const ProcessKey& processKey, const ProcessKey& scopeKey,
                                                             std::uint64_t depth, DataList* values,
                                                             const Port** missing)
{
  values->reserve(getInputs().size());
  for (const PortPtr& input : getInputs())
  {
    if (*missing != nullptr)
    {
      input->requestEmpty(processKey, scopeKey, depth + 1);
      input->synchronizeRelease(processKey, scopeKey, depth + 1);
      values->emplace_back();
      continue;
    }
    DataPtr& value = values->emplace_back(input->takeData(processKey, scopeKey, depth + 1));
    if (!value)
      value = input->getDefaultValue();
    if (!value && !input->isOptional())
      *missing = input.get();
  }
  return *missing == nullptr;
}

// Serves or computes. Who has computed and takes (`released` is not null) gives back the count in the same section, and
// the last of all consumers gets the value itself instead of a share in what is kept.
//
// This and what it calls is one frame a hop by force. A run returns through all hops in a row, and the processor
// foresees only some dozens of returns: with four frames a hop a chain of 100 took half as long again.
[[gnu::always_inline]] inline DataPtr NodeFilter::_pull(const ProcessKey& processKey, const ProcessKey& scopeKey,
                                                        std::uint64_t depth, const PortPtr& outputPort, bool* released)
{
  if (!outputPort)
  {
    _logError("requestData", processKey, "No output port specified");
    return nullptr;
  }
  if (!filter)
    return nullptr;
  DataPtr value;
  Scope* scope = nullptr;
  std::uint64_t weight = 0;
  switch (_begin(scopeKey, &outputPort, &value, &scope, &weight))
  {
  case Request::Served:
    return value;
  case Request::Ring:
    _logError("requestData", processKey, "The node is its own input: the graph runs in a ring");
    return nullptr;
  case Request::Compute:
    break;
  }

  Computation computation(*this, *scope, scopeKey.getHash());
  DataList inputs;
  const Port* missing = nullptr;
  if (!_gatherInputs(processKey, scopeKey, depth, &inputs, &missing))
  {
    filter->applyEmpty(processKey, scope->innerKey, depth);
    computation.finish(nullptr, NodeReport::Outcome::MissingInput, missing);
    return nullptr;
  }
  DataList results = computation.apply(inputs, processKey, depth, weight);
  const auto outcome = hasValue(results) ? NodeReport::Outcome::Computed : NodeReport::Outcome::ReturnedNothing;
  const auto index = _indexOf(outputPort.get());
  DataPtr* const wanted = index && *index < results.size() ? &results[*index] : nullptr;
  if (released != nullptr)
  {
    *released = true;
    const auto finish = [&]
    {
      const bool isLast = scope->count == 1;
      if (wanted != nullptr)
        value = isLast ? std::move(*wanted) : *wanted;
      if (isLast)
        computation.finishForLast(outcome);
      else
        computation.finish(&results, outcome, nullptr);
      _leave(*scope, processKey, depth);
    };
    if (_lower(processKey, scopeKey, finish))
      return value;
  }
  if (wanted != nullptr)
    value = *wanted;
  computation.finish(&results, outcome, nullptr);
  return value;
}

DataPtr NodeFilter::requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                                const PortPtr& outputPort)
{
  return _pull(processKey, scopeKey, depth, outputPort, nullptr);
}

DataPtr NodeFilter::takeData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                             const PortPtr& outputPort)
{
  bool released = false;
  DataPtr value = _pull(processKey, scopeKey, depth, outputPort, &released);
  if (!released)
    _lower(processKey, scopeKey, [&] { _synchronizeRelease(processKey, scopeKey, depth); });
  return value;
}

void NodeFilter::requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                              const PortPtr& outputPort)
{
  if (!outputPort)
  {
    _logError("requestEmpty", processKey, "No output port specified");
    return;
  }
  Scope* scope = nullptr;
  if (!filter || _begin(scopeKey, nullptr, nullptr, &scope, nullptr) != Request::Compute)
    return;
  Computation computation(*this, *scope, scopeKey.getHash());
  for (const PortPtr& input : getInputs())
  {
    input->requestEmpty(processKey, scopeKey, depth + 1);
    input->synchronizeRelease(processKey, scopeKey, depth + 1);
  }
  filter->applyEmpty(processKey, scope->innerKey, depth);
  computation.finish(nullptr, NodeReport::Outcome::EmptyPath, nullptr);
}

void NodeFilter::dropRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk)
{
  if (auto* const scoped = dynamic_cast<RunScoped*>(filter.get()))
    scoped->dropRun(processKey, makeInnerKey(scopeKey), walk);
  const std::lock_guard lock(tableLock);
  Scope* const scope = scopes.find(scopeKey.getHash());
  if (scope == nullptr)
    return;
  if (scope->count > 0)
    --activeScopes;
  if (scope->runner == std::thread::id())
  {
    scopes.erase(scopeKey.getHash());
    return;
  }
  // Another process whose name has the same hash is at work in it.
  scope->count = 0;
  scope->hasResults = false;
  scope->results.clear();
}

void NodeFilter::keepReports(bool on)
{
  keepsReports.store(on, std::memory_order_relaxed);
  const std::lock_guard lock(tableLock);
  if (!on)
    reports = ScopeTable<NodeReport>();
}

std::optional<NodeReport> NodeFilter::getReport(std::uint32_t scopeHash) const
{
  const std::lock_guard lock(tableLock);
  const NodeReport* const report = reports.find(scopeHash);
  return report != nullptr ? std::optional(*report) : std::nullopt;
}

NodeFigures NodeFilter::getFigures() const
{
  const std::lock_guard lock(tableLock);
  return figures;
}

// Under the table's lock.
NodeFilter::Scope& NodeFilter::_makeScope(const ProcessKey& scopeKey)
{
  if (scopes.size() >= keptScopes)
    _forgetIdleScopes();
  return scopes.emplace(scopeKey.getHash(), makeInnerKey(scopeKey));
}

// Called when many scopes are kept and another one comes: those of processes that are gone would stay for ever.
void NodeFilter::_forgetIdleScopes()
{
  if (std::size_t{activeScopes} * 2 > scopes.size())
    return;
  std::vector<std::uint32_t> idle;
  scopes.forEach(
      [&](std::uint32_t hash, const Scope& scope)
      {
        if (scope.count == 0 && scope.runner == std::thread::id())
          idle.push_back(hash);
      });
  for (const std::uint32_t hash : idle)
    scopes.erase(hash);
}

void NodeFilter::_logError(const char* operation, const ProcessKey& processKey, const std::string& text) const
{
  ku::log::fatal(category, "{}->{}({}): {}{}", getName(), operation, processKey.getName(), text, originText());
}
}  // namespace ZR::Filtrix
