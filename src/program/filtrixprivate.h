#pragma once

#include "exec/event.h"
#include "exec/memorymanager.h"
#include "exec/process.h"
#include "exec/processregistry.h"
#include "exec/scheduler.h"
#include "filtrix/userfilter.h"
#include "filtrix/usersource.h"
#include "graph/filter.h"
#include "graph/lambda.h"
#include "graph/lambdafactory.h"
#include "graph/nodesourcealias.h"
#include "program/declarations.h"
#include "program/readers.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix
{
class FilterComposite;

/// What a program may ask for at most. A text from anywhere must not bring the runtime down.
namespace Limits
{
inline constexpr std::size_t nameBytes = 256;
inline constexpr std::size_t nesting = 64;             ///< composites within composites
inline constexpr std::size_t expandedNodes = 100'000;  ///< nodes that one application of a composite runs through
inline constexpr std::size_t chainLength = 1'000;      ///< nodes from an input to an output, those inside included
inline constexpr std::size_t readingDepth = 64;        ///< processes that read one another's sinks
inline constexpr std::size_t importDepth = 16;
inline constexpr std::size_t importFiles = 256;
inline constexpr std::size_t importBytes = std::size_t{16} << 20U;  ///< in one load, over all files
}  // namespace Limits

/// How much a registry holds, so that who loads programs without end is told before memory ends. What is deleted makes
/// room.
struct Capacity
{
  std::size_t filters = 20'000;
  std::size_t pieces = 2'000'000;  ///< nodes and links of all composites
  std::size_t sources = 100'000;   ///< aliases included; those within processes not
  std::size_t processes = 20'000;
};

/// How a port is told to a caller.
struct PortDescription
{
  std::string name;
  std::vector<TypeTag> types;  ///< empty: every type
  bool optional = false;
};

/// The registry: the filter library, the sources and their aliases, the processes, and with them the scheduler and the
/// filters' states. Everything that a program or a caller does goes through it.
///
/// What fails is logged at level 2, category "filtrix.private", and returns false or a neutral value; reading a sink
/// that does not exist throws `std::runtime_error` with the logged text. Thread-safe.
///
/// Locks: processes, then sources, then aliases; that of the filters comes last. No event, filter, callback or
/// scheduler is called with one of them held.
class FiltrixPrivate final : public ProcessRegistry, public LambdaFactory
{
public:
  explicit FiltrixPrivate(std::uint32_t threadCount = 2, const Capacity& capacity = {});
  ~FiltrixPrivate() override;

  // Programs.

  /// Executes program text. False when a statement failed that ends a load; what came before it stays. `basePath` is
  /// the folder that imports start from and stay beneath.
  bool loadProgram(std::string_view program, const std::string& basePath = {});

  /// The same from a file that ends in .fxs, .FXS, .txt or .TXT. A bare name is also looked for among the data files.
  bool loadProgramFromFile(std::string_view path, ImportRange range = ImportRange::Beneath);

  // The filter library.

  /// Adds a filter under its own name. False when the name is taken or cannot be used.
  bool addFilter(const FilterPtr& filter);
  bool addFilter(std::shared_ptr<UserFilter> filter);

  /// Builds a composite filter of library filters.
  bool createFilter(const FilterDeclaration& declaration);

  /// Makes a filter of what has been trained, from a file below the data folder "zorqa/vision/fxs". The types are those
  /// that `addClassifierType` has made known.
  bool createClassificationFilter(const std::string& name, const std::string& type, const std::string& path);

  /// Makes a filter of the given name from a file; throws a std::exception that says what is wrong with the file.
  using ClassifierLoader = std::function<FilterPtr(const std::string& name, const std::filesystem::path& file)>;

  /// The library that knows how to read a type of classifier says so here.
  void addClassifierType(const std::string& type, ClassifierLoader load);

  /// The library filter as a value; null when there is none.
  [[nodiscard]] std::shared_ptr<Type::Lambda> createLambda(const std::string& filterName) const override;
  bool deleteFilter(const std::string& name);
  [[nodiscard]] bool hasFilter(const std::string& name) const;
  [[nodiscard]] std::vector<std::string> getFilters() const;
  [[nodiscard]] std::string getFilterDescription(const std::string& name) const;
  [[nodiscard]] bool isFilterStateful(const std::string& name) const;
  [[nodiscard]] std::vector<PortDescription> getFilterInputs(const std::string& name) const;
  [[nodiscard]] std::vector<PortDescription> getFilterOutputs(const std::string& name) const;

  /// The filter drawn in the dot language, `level` composites deep (-1: all); empty for an unknown name.
  [[nodiscard]] std::string getDotGraph(const std::string& name, int level) const;

  // Sources and aliases, which share one space of names.

  bool createSource(const std::string& name, const OriginPtr& origin = nullptr);
  bool createSource(const std::string& name, const NodeSourcePtr& source, const OriginPtr& origin = nullptr);
  bool createSource(const std::string& name, const std::shared_ptr<UserSource>& source);

  /// A source that reads "process:sink".
  bool createSourceFromProcessSink(const std::string& name, const std::string& sink);
  bool createSourceAlias(const std::string& alias, const std::string& target);
  bool renameSourceAlias(const std::string& alias, const std::string& newName);

  /// Refused also when a process would come to read itself through the new target, or processes one another too deep.
  bool retargetSourceAlias(const std::string& alias, const std::string& target);
  bool deleteSource(const std::string& name);
  [[nodiscard]] std::vector<std::string> getSources() const;

  /// True when a process reads the source, or an alias of it.
  [[nodiscard]] bool isSourceBinded(const std::string& name) const;

  /// The highest frequency among the live processes that read the source; for an alias, that of its target too.
  [[nodiscard]] float getSourceFrequency(const std::string& name) const;

  /// How often the source is wanted: the highest frequency among the live processes that read it, through aliases too.
  /// 0: nobody wants it. What brings values in goes by this.
  [[nodiscard]] float getSourceDemand(const std::string& name) const;

  /// The value of a source or an alias; of a process's own source when `process` is not empty. Null on failure.
  [[nodiscard]] DataPtr getSourceData(const std::string& source, const std::string& process = {},
                                      Duration duration = Duration(1'000'000)) const;
  bool setData(const std::string& name, const DataPtr& value);
  bool setData(const std::string& name, const std::string& process, const DataPtr& value);

  // Processes.

  bool createProcess(const std::string& name, const std::string& filterName, std::uint32_t priority, float frequency,
                     Duration tolerance, const std::vector<Binding>& inputs, const std::vector<Binding>& outputs,
                     const std::vector<Binding>& aggregatedOutputs, const std::vector<Binding>& localSources,
                     const OriginPtr& origin = nullptr);
  bool deleteProcess(const std::string& name);
  bool renameProcess(const std::string& name, const std::string& newName);
  bool enableProcess(const std::string& name);
  bool disableProcess(const std::string& name);
  bool resetProcess(const std::string& name);
  [[nodiscard]] std::vector<std::string> getProcesses() const;
  [[nodiscard]] bool isProcess(const std::string& name) const;
  [[nodiscard]] bool isProcessEnable(const std::string& name) const;
  [[nodiscard]] bool isProcessZombie(const std::string& name) const;
  [[nodiscard]] std::string getProcessDescription(const std::string& name) const;
  bool setProcessDescription(const std::string& name, const std::string& text);
  [[nodiscard]] std::vector<std::string> getProcessSources(const std::string& name) const;
  [[nodiscard]] std::vector<std::string> getProcessSinks(const std::string& name) const;
  [[nodiscard]] std::vector<std::string> getProcessAggregatedSinks(const std::string& name) const;
  [[nodiscard]] std::uint32_t getProcessPriority(const std::string& name) const;
  bool setProcessPriority(const std::string& name, std::uint32_t priority);
  [[nodiscard]] float getProcessFrequency(const std::string& name) const;
  bool setProcessFrequency(const std::string& name, float frequency);
  [[nodiscard]] Duration getProcessTolerance(const std::string& name) const;

  /// Throws std::runtime_error for a negative tolerance.
  bool setProcessTolerance(const std::string& name, Duration tolerance);

  /// The value at "process:sink", after a run of the process if it is due. Throw std::runtime_error when the name is
  /// malformed, or process or sink unknown.
  [[nodiscard]] DataPtr getData(const std::string& sink);

  /// The same without a run.
  [[nodiscard]] DataPtr getLastData(const std::string& sink) const;

  // Events.

  /// Runs the process `name` with the time of each new value of "process:sink".
  bool createEvent(const std::string& name, const std::string& sink, const OriginPtr& origin = nullptr);

  /// Calls a function with each new value of "process:sink".
  bool createEvent(const std::string& name, const std::string& sink, Event::Callback callback);

  /// The same for a source or an alias, of `process` when it is not empty.
  bool createSourceEvent(const std::string& name, const std::string& source, const std::string& process,
                         const OriginPtr& origin = nullptr);
  bool createSourceEvent(const std::string& name, const std::string& source, const std::string& process,
                         Event::Callback callback);

  // The scheduler.

  bool startScheduler();
  bool stopScheduler();

  /// The names of the processes in one cycle, in order.
  [[nodiscard]] std::vector<std::string> getScheduledJobs() const;

  // For the scheduler.

  void forEachProcess(const std::function<void(const ProcessPtr&)>& visit) const override;
  [[nodiscard]] bool isRegistered(const std::string& processName) const override;

private:
  class ProcessBuilder;

  // What a library filter costs whoever uses it.
  struct FilterCost
  {
    std::size_t nodes = 1;
    std::size_t nesting = 0;
    std::size_t chain = 1;
    std::size_t pieces = 0;  // of its own
  };

  // One that was deleted, and may be in a run.
  struct EndingProcess
  {
    std::weak_ptr<const Process> process;
    ProcessKey key;
  };

  [[nodiscard]] FilterPtr _findFilter(const std::string& name) const;
  [[nodiscard]] NodeSourcePtr _findSource(const std::string& name) const;
  [[nodiscard]] ProcessPtr _findProcess(const std::string& name) const;
  [[nodiscard]] std::pair<ProcessPtr, std::string> _sinkOrThrow(const std::string& sink,
                                                                std::string_view operation) const;
  [[nodiscard]] ProcessPtr _processOrLog(const std::string& name, std::string_view failure) const;
  [[nodiscard]] FilterPtr _filterOrLog(const std::string& name, std::string_view operation) const;
  FilterCost _composeFilter(const FilterDeclaration& declaration, FilterComposite& composite) const;
  [[nodiscard]] NodeSourcePtr _lookUpSource(const std::string& name) const;
  [[nodiscard]] bool _isSourceNameTaken(const std::string& name) const;
  [[nodiscard]] std::string _noRoomForFilter(std::size_t pieces) const;
  [[nodiscard]] std::string _noRoomForSource() const;
  bool _addSinkEvent(const std::string& prefix, const std::string& sink, const std::shared_ptr<Event>& event);
  bool _addSourceEvent(std::string_view access, std::string_view unknown, const std::string& source,
                       const std::string& process, const std::shared_ptr<Event>& event);
  void _rebindSources();
  void _bindSourcesOf(const Process& process);
  void _noteNewProcess(const ProcessPtr& process);
  void _warnOfSharedHash(std::string_view operation, const Process& process, std::string_view where) const;
  bool _setEnable(const std::string& name, bool on, std::string_view failure);
  void _updateZombies();
  void _forgetEndedProcesses();
  void _keepAliveBehind(std::vector<ProcessPtr> live) const;

  const Capacity capacity;

  // Guards the four below. The last of the registry's locks.
  mutable std::mutex filterMutex;
  std::map<std::string, FilterPtr> filters;
  std::map<std::string, FilterCost> filterCosts;
  std::size_t pieceCount = 0;
  std::map<std::string, ClassifierLoader> classifierTypes;

  // Guards the two below; within the process lock.
  mutable std::mutex sourceMutex;
  std::map<std::string, NodeSourcePtr> sources;
  std::map<std::string, NodeSourcePtr> boundSources;

  // Guards the two below; within the source lock.
  mutable std::mutex aliasMutex;
  std::map<std::string, std::shared_ptr<NodeSourceAlias>> aliases;
  std::map<std::string, std::vector<std::string>> aliasTargets;

  // Guards the four below. The first of the registry's locks.
  mutable std::mutex processMutex;
  std::map<std::string, ProcessPtr> processes;
  std::vector<EndingProcess> endingProcesses;
  Readers readers;
  std::uint64_t anonymousCount = 0;

  MemoryManager memoryManager;
  std::shared_ptr<Scheduler> scheduler;  // the last member: its workers end before what they use
};
}  // namespace ZR::Filtrix
