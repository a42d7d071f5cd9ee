// The methods of the module: one table, from which binding, descriptions and the checks of arguments are made.

#include "module/zrfiltrix.h"

#include <initializer_list>

namespace ZR
{
namespace
{
struct Param
{
  const char* name;
  const char* text;
};

constexpr Param sink{"sink", "The name of the sink from where data must be extracted."};
constexpr Param filterName{"name", "The name of the filter."};
constexpr Param sourceName{"name", "The name of the source."};
constexpr Param sourceRead{"source", "The name of the source from where data must be extracted."};
constexpr Param processName{"name", "The name of the process."};
}  // namespace

void ZRFiltrix::_bindMethods()
{
  // One row: the name, what it does, its parameters, the function, and an example if there is one.
  const auto bind = [this](const char* method, const char* text, std::initializer_list<Param> params, auto function,
                           const char* example = nullptr)
  {
    functionName(method, getName(), text);
    for (const Param& param : params)
      addParam(param.name, param.text);
    if (example != nullptr)
      addMethodExample("C++", example);
    bindMethodOverload(function, this);
  };
  using Self = ZRFiltrix;

  bind("getFiltrix", "Gives the address of the shared pointer to the registry, for callers in this process.", {},
       &Self::getFiltrix,
       "boost::shared_ptr<Filtrix::Filtrix> filtrix =* reinterpret_cast<boost::shared_ptr<Filtrix::Filtrix> *> "
       "(filtrixProxy->call<void*>(\"getFiltrix\"));\n");
  bind("loadProgram", "Executes a program. False when a statement failed; what came before it stays.",
       {{"program", "The code that will be used by Filtrix to generate a part of the graph."}}, &Self::loadProgram,
       "bool result = filtrixProxy->call<bool>(\"loadProgram\", program);\n");
  bind("loadProgramFromFile", "Executes a program from a file. A bare name is also looked for among the data files.",
       {}, &Self::loadProgramFromFile);
  bind("getData", "Reads a sink, after a run of its process if one is due.", {sink}, &Self::getData);
  bind("getLastData", "Reads a sink as the last run of its process left it.", {sink}, &Self::getLastData);
  bind("getImageLocal", "Gives the address of a new record of the sink's image, which the caller owns, or 0.", {sink},
       &Self::getImageLocal);
  bind("getImageRemote", "Gives the sink's image as a value.", {sink}, &Self::getImageRemote);
  bind("getFilters", "Lists the filters of the library.", {}, &Self::getFilters);
  bind("getFilterDescription", "Tells what a filter does.", {filterName}, &Self::getFilterDescription);
  bind("getFilterInputs", "Lists the input ports of a filter: [name, [types], \"optional\" if it is].", {filterName},
       &Self::getFilterInputs);
  bind("getFilterOutputs", "Lists the output ports of a filter.", {filterName}, &Self::getFilterOutputs);
  bind("deleteFilter", "Takes a filter out of the library. What uses it keeps it.", {filterName}, &Self::deleteFilter);
  bind("getSources", "Lists the sources and aliases.", {}, &Self::getSources);
  bind("isSourceBinded", "Tells whether a process reads the source.", {sourceName}, &Self::isSourceBinded);
  bind("getSourceFrequency", "Gives the highest rate, in Hz, among the live processes that read the source.",
       {sourceName}, &Self::getSourceFrequency);
  bind("getSourceData", "Reads a source.", {sourceRead}, &Self::getSourceData);
  bind("getSourceData", "Reads a source as a process sees it.",
       {sourceRead, {"process", "The name of the process that reads."}}, &Self::getSourceDataOf);
  bind("setData", "Sets a source to a value of the type that it holds, such as [\"Integer\", 43].",
       {sourceName, {"value", "The new value to set."}}, &Self::setData);
  bind("deleteSource", "Deletes a source or an alias. What reads it keeps it.", {sourceName}, &Self::deleteSource);
  bind("getRobotHeightOffset", "Gives the height of the robot's frame above the ground, in metres.", {},
       &Self::getRobotHeightOffset);
  bind("setRobotHeightOffset", "Sets the height of the robot's frame above the ground, in metres.",
       {{"heightOffset", "Height Offset of the robot from the ground."}}, &Self::setRobotHeightOffset);
  bind("getProcesses", "Lists the processes.", {}, &Self::getProcesses);
  bind("isProcesses", "Tells whether there is a process of that name.", {processName}, &Self::isProcesses);
  bind("getProcessDescription", "Tells what a process does.", {processName}, &Self::getProcessDescription);
  bind("getProcessSources", "Lists the sources of a process.", {processName}, &Self::getProcessSources);
  bind("getProcessSinks", "Lists the sinks of a process.", {processName}, &Self::getProcessSinks);
  bind("getProcessAggregatedSinks", "Lists the aggregated sinks of a process.", {processName},
       &Self::getProcessAggregatedSinks);
  bind("getProcessPriority", "Gives the priority of a process, 0 to 8.", {processName}, &Self::getProcessPriority);
  bind("getProcessFrequency", "Gives how often a process is to run, in Hz.", {processName}, &Self::getProcessFrequency);
  bind("setProcessPriority", "Changes how often a process comes in the scheduler's cycle: 0, never, to 8.",
       {processName, {"priority", "The new priority of the process."}}, &Self::setProcessPriority);
  bind("setProcessFrequency", "Changes how often a process is to run, in Hz.",
       {processName, {"frequency", "The new frequency of the process."}}, &Self::setProcessFrequency);
  bind("setProcessTolerance", "Changes how far values may lie from the time of a run, in microseconds.",
       {processName, {"tolerance", "The new tolerance of the process."}}, &Self::setProcessTolerance);
  bind("resetProcess", "Brings a process back to its start: nothing has run, its sinks are empty.",
       {{"name", "The name of the process to reset."}}, &Self::resetProcess);
  bind("isProcessEnable", "Tells whether a process is enabled.", {processName}, &Self::isProcessEnable);
  bind("isProcessZombie", "Tells whether a disabled process runs on because others read it.", {processName},
       &Self::isProcessZombie);
  bind("enableProcess", "Enables a process.", {processName}, &Self::enableProcess);
  bind("disableProcess", "Disables a process. It runs on while an enabled one reads it.", {processName},
       &Self::disableProcess);
  bind("deleteProcess", "Deletes a process.", {processName}, &Self::deleteProcess);
  bind("getScheduledJobs", "Lists the processes of one cycle of the scheduler, in order.", {}, &Self::getScheduledJobs);
  bind("startScheduler", "Starts running the processes.", {}, &Self::startScheduler);
  bind("stopScheduler", "Stops running the processes.", {}, &Self::stopScheduler);
  bind("getInstrumentationResult",
       "Tells what the runs of processes and filters have cost, and what came from the robot's sensors.", {},
       &Self::getInstrumentationResult);
  bind("getDotGraph", "Draws a filter in the dot language.",
       {{"filter", "The name of the filter to dump."}, {"level", "Maximum depth (-1 for unlimited depth)"}},
       &Self::getDotGraph);
  bind("_startMotionWorker", "Starts polling the robot's positions.", {}, &Self::startMotionWorker);
  bind("_stopMotionWorker", "Stops polling the robot's positions.", {}, &Self::stopMotionWorker);
  bind("_setMotionSource", "Sets a position: x, y, z in metres, and the rotations about them in radians.",
       {{"sourceName", "Name of the source to update"}, {"data", "New value of the source"}}, &Self::setMotionSource);
  bind("_setMotionSources", "Sets several positions.",
       {{"sourceNameList", "Name of the sources to update"}, {"dataList", "New value of the sources"}},
       &Self::setMotionSources);
  bind("getInstrumentationValue", "The same as getInstrumentationResult, for tools.", {},
       &Self::getInstrumentationValue);
}
}  // namespace ZR
