#pragma once

#include "filtrix/zrvalue.h"
#include "platform/zrmodule.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix
{
class AudioSource;
class FiltrixPrivate;
struct Instrumentation;
class MotionSource;
class VideoSource;
}  // namespace ZR::Filtrix

namespace ZR
{
/// The module: the whole system as methods that a host calls by name. It has no logic of its own; each method hands on
/// to the registry, the value bridge or the motion source. Values cross as docs/values.md says, ["Integer", 43].
///
/// Methods run on the host's threads, side by side. Thread-safe.
class ZRFiltrix final : public ZRModule
{
public:
  static constexpr const char* moduleName = "ZRFiltrix";

  /// Makes the registry with its filters and programs, and the live sources of the robot behind the broker. A robot
  /// without cameras is logged and served without.
  explicit ZRFiltrix(const std::shared_ptr<ZRBroker>& broker, std::string name = moduleName);
  ~ZRFiltrix() override;

  /// The address of the shared pointer to the registry, for callers in this process.
  void* getFiltrix();

  bool loadProgram(const std::string& program);
  bool loadProgramFromFile(const std::string& path);

  // Sinks.

  /// These two throw std::runtime_error for a malformed or unknown "process:sink".
  ZRValue getData(const std::string& sink);
  ZRValue getLastData(const std::string& sink);

  /// The last image of a sink as a record that the caller owns; null when there is none.
  void* getImageLocal(const std::string& sink);
  ZRValue getImageRemote(const std::string& sink);

  // Filters.

  std::vector<std::string> getFilters();
  std::string getFilterDescription(const std::string& name);

  /// For each port its name and the list of its types, and "optional" as a third item if it is.
  ZRValue getFilterInputs(const std::string& name);
  ZRValue getFilterOutputs(const std::string& name);
  bool deleteFilter(const std::string& name);
  std::string getDotGraph(const std::string& filter, int level);

  // Sources.

  std::vector<std::string> getSources();
  bool isSourceBinded(const std::string& name);
  float getSourceFrequency(const std::string& name);
  ZRValue getSourceData(const std::string& source);

  /// As the process `reader` sees the source.
  ZRValue getSourceDataOf(const std::string& source, const std::string& reader);

  /// Throws std::runtime_error when the value is not of the type that the source holds. One that holds nothing yet
  /// takes any.
  void setData(const std::string& name, const ZRValue& value);
  bool deleteSource(const std::string& name);

  /// Metres from the ground to where the robot's frame is told to begin; 0 at the start.
  float getRobotHeightOffset();
  void setRobotHeightOffset(float heightOffset);

  // Processes.

  std::vector<std::string> getProcesses();
  bool isProcesses(const std::string& name);
  std::string getProcessDescription(const std::string& name);
  std::vector<std::string> getProcessSources(const std::string& name);
  std::vector<std::string> getProcessSinks(const std::string& name);
  std::vector<std::string> getProcessAggregatedSinks(const std::string& name);
  std::uint32_t getProcessPriority(const std::string& name);
  float getProcessFrequency(const std::string& name);
  void setProcessPriority(const std::string& name, std::uint32_t priority);
  void setProcessFrequency(const std::string& name, float frequency);

  /// In microseconds. Throws std::runtime_error for a negative one.
  void setProcessTolerance(const std::string& name, std::int64_t tolerance);
  bool resetProcess(const std::string& name);
  bool isProcessEnable(const std::string& name);
  bool isProcessZombie(const std::string& name);
  bool enableProcess(const std::string& name);
  bool disableProcess(const std::string& name);
  bool deleteProcess(const std::string& name);

  // The scheduler.

  /// The names of the processes in one cycle, in order.
  std::vector<std::string> getScheduledJobs();
  void startScheduler();
  void stopScheduler();

  /// What runs and filters have cost and what came from cameras, microphones and sensors, for people and for tools.
  std::string getInstrumentationResult();
  ZRValue getInstrumentationValue();

  // Positions.

  void startMotionWorker();
  void stopMotionWorker();

  /// `data`: x, y, z in metres and the rotations about them in radians. Another count is logged and changes nothing.
  void setMotionSource(const std::string& sourceName, const std::vector<float>& data);

  /// Lists of different lengths are logged and change nothing at all.
  void setMotionSources(const std::vector<std::string>& sourceNames, const std::vector<std::vector<float>>& data);

private:
  void _bindMethods();
  [[nodiscard]] Filtrix::Instrumentation _collectInstrumentation() const;

  // Destroyed from the last to the first: the sources refer to the registry.
  std::shared_ptr<Filtrix::FiltrixPrivate> filtrixPrivate;
  std::shared_ptr<Filtrix::VideoSource> videoSource;
  std::shared_ptr<Filtrix::AudioSource> audioSource;
  std::shared_ptr<Filtrix::MotionSource> motionSource;
};
}  // namespace ZR
