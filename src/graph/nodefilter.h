#pragma once

#include "filtrix/ku/spinlock.h"
#include "graph/filter.h"
#include "graph/node.h"
#include "graph/processkey.h"
#include "graph/runrecovery.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

namespace ZR::Filtrix
{
/// What became of a filter node in the last run of a scope.
struct NodeReport
{
  enum class Outcome
  {
    Computed,         ///< the filter ran and gave at least one value
    ReturnedNothing,  ///< the filter ran and gave no value
    MissingInput,     ///< a required input had no value, so that the filter did not run
    EmptyPath,        ///< nobody needed the result
    Exception         ///< the filter, or what it pulled from, threw
  };

  Outcome outcome = Outcome::Computed;
  std::string missingInput;           ///< the first required input without a value
  std::uint32_t reuses = 0;           ///< consumers that were served from the cache
  std::chrono::nanoseconds length{};  ///< from the first request to the results, upstream included
};

/// What a filter node has cost so far, over all scopes.
struct NodeFigures
{
  std::uint64_t calls = 0;             ///< applications of the filter
  std::chrono::nanoseconds time{};     ///< in the filter itself, without what it reads from; what is cheap is sampled
  std::chrono::nanoseconds longest{};  ///< the longest application that was timed
};

/// The node that puts a filter in a graph. Within one scope of one run it applies its filter once, however many
/// consumers there are: the first request computes the results, the last release drops them.
class NodeFilter final : public Node, public RunScoped
{
public:
  /// A node without a filter is allowed; runs log it and get nothing from it.
  NodeFilter(std::string name, FilterPtr filter);
  ~NodeFilter() override;

  DataPtr requestData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                      const PortPtr& outputPort) override;
  void requestEmpty(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                    const PortPtr& outputPort) override;
  DataPtr takeData(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                   const PortPtr& outputPort) override;
  void dropRun(const ProcessKey& processKey, const ProcessKey& scopeKey, RecoveryWalk& walk) override;

  [[nodiscard]] const FilterPtr& getFilter() const noexcept { return filter; }

  /// The key of the scope inside this node: the state of what the filter holds is found by it.
  [[nodiscard]] ProcessKey makeInnerKey(const ProcessKey& scopeKey) const { return {scopeKey, scopeSuffix}; }

  /// While reports are kept, each scope's last run leaves one. Costs two readings of the clock and a table entry per
  /// hop; nothing when off. Switching off drops them.
  void keepReports(bool on);
  [[nodiscard]] std::optional<NodeReport> getReport(std::uint32_t scopeHash) const;

  [[nodiscard]] NodeFigures getFigures() const;

protected:
  void _synchronize(Time time, Duration tolerance, const ProcessKey& processKey, const ProcessKey& scopeKey,
                    std::uint64_t depth) override;
  void _synchronizeRelease(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth) override;

private:
  // A filter's results. Nearly all have one output: that one's value stands apart, since a list's own ways to move cost
  // as much as a lock.
  struct Results
  {
    DataPtr first;
    DataList others;

    void take(DataList& list);
    void clear();
    [[nodiscard]] const DataPtr* find(std::size_t i) const noexcept;
  };

  // What is kept for a scope. An entry outlives its run, so that the next run of the scope finds its inner key made.
  // While a thread is computing in it, or the node's mutex is held, the entry stays where it is.
  struct Scope
  {
    explicit Scope(ProcessKey innerKey_) : innerKey(std::move(innerKey_)) {}

    std::int32_t count = 0;  // consumers that have not released; 0 between runs; under the node's mutex alone
    bool hasResults = false;
    std::thread::id runner;  // the thread that is computing the results, or none
    const ProcessKey innerKey;
    Results results;
  };

  class Computation;

  // Reading the clock costs as much as a light filter does: one whose applications take less than this is timed on
  // every sixteenth of them alone, which then stands for all sixteen.
  static constexpr std::chrono::microseconds timedAlways{10};
  static constexpr std::uint64_t sampling = 16;

  enum class Request
  {
    Served,
    Compute,
    Ring
  };

  DataPtr _pull(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth,
                const PortPtr& outputPort, bool* released);
  void _leave(Scope& scope, const ProcessKey& processKey, std::uint64_t depth);
  void _dropResults(Scope& scope);
  Request _begin(const ProcessKey& scopeKey, const PortPtr* outputPort, DataPtr* value, Scope** entry,
                 std::uint64_t* weight);
  [[nodiscard]] std::uint64_t _timingWeight() const;
  bool _gatherInputs(const ProcessKey& processKey, const ProcessKey& scopeKey, std::uint64_t depth, DataList* values,
                     const Port** missing);
  [[nodiscard]] std::optional<std::size_t> _indexOf(const Port* outputPort) const noexcept;

  // The entry of a scope, made with its inner key when it is new.
  Scope& _findOrMakeScope(const ProcessKey& scopeKey)
  {
    Scope* const scope = scopes.find(scopeKey.getHash());
    return scope != nullptr ? *scope : _makeScope(scopeKey);
  }

  Scope& _makeScope(const ProcessKey& scopeKey);
  void _forgetIdleScopes();
  void _logError(const char* operation, const ProcessKey& processKey, const std::string& text) const;

  // As in the node, what every run reads stands first.
  const FilterPtr filter;

  // Guards the scopes, the reports and the figures. Taken within the node's mutex, held for a few instructions: never
  // across a pull or a filter.
  mutable ku::SpinLock tableLock;
  std::atomic<bool> keepsReports{false};
  std::uint32_t activeScopes = 0;  // under the node's mutex
  StableScopeTable<Scope> scopes;
  NodeFigures figures;
  ScopeTable<NodeReport> reports;
  const std::string scopeSuffix;
};
}  // namespace ZR::Filtrix
