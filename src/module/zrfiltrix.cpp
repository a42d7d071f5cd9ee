#include "module/zrfiltrix.h"

#include "filtrix/ku/log.h"
#include "filtrix/vectors.h"
#include "module/instrumentation.h"
#include "module/library.h"
#include "module/valuebridge.h"
#include "program/filtrixprivate.h"
#include "sources/audiosource.h"
#include "sources/motionsource.h"
#include "sources/vision/videosource.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>

namespace ZR
{
namespace
{
namespace Bridge = Filtrix::ValueBridge;

constexpr const char* category = "vision.zrfiltrix";
constexpr const char* heightOffsetSource = "RobotHeightOffset";
constexpr std::size_t coordinates = 6;
constexpr std::uint32_t schedulerThreads = 2;

/// The age that callers ask sources with: the system passes it on and gives it no meaning of its own.
const Filtrix::Duration readingDuration(1'000'000);

ZRValue toPortList(const std::vector<Filtrix::PortDescription>& ports)
{
  ZRValue::Array list;
  for (const Filtrix::PortDescription& port : ports)
  {
    ZRValue::Array types;
    for (const Filtrix::TypeTag type : port.types)
      types.emplace_back(std::string(Filtrix::Type::typeName(type)));
    ZRValue::Array item;
    item.emplace_back(port.name);
    item.emplace_back(std::move(types));
    if (port.optional)
      item.emplace_back("optional");
    list.emplace_back(std::move(item));
  }
  return ZRValue(std::move(list));
}
}  // namespace

ZRFiltrix::ZRFiltrix(const std::shared_ptr<ZRBroker>& broker, std::string name)
    : ZRModule(broker, std::move(name)), filtrixPrivate(std::make_shared<Filtrix::FiltrixPrivate>(schedulerThreads))
{
  Filtrix::addGenericLibrary(*filtrixPrivate);
  Filtrix::addPerceptionLibrary(*filtrixPrivate);
  try
  {
    videoSource = std::make_shared<Filtrix::VideoSource>(broker, filtrixPrivate);
  }
  catch (const std::exception& exception)
  {
    ku::log::error(category, "Cannot create video sources: {}", exception.what());
  }
  audioSource = std::make_shared<Filtrix::AudioSource>(broker, filtrixPrivate);
  motionSource = std::make_shared<Filtrix::MotionSource>(broker, filtrixPrivate);
  filtrixPrivate->createSource(heightOffsetSource);
  setRobotHeightOffset(0.0F);
  setModuleDescription("ZRFiltrixis a filter management system based on a filter graph.The users of this module can "
                       "add, modify, delete or use filters that are stored in a library.");
  _bindMethods();
}

ZRFiltrix::~ZRFiltrix() = default;

void* ZRFiltrix::getFiltrix()
{
  return &filtrixPrivate;
}

bool ZRFiltrix::loadProgram(const std::string& program)
{
  return filtrixPrivate->loadProgram(program);
}

bool ZRFiltrix::loadProgramFromFile(const std::string& path)
{
  return filtrixPrivate->loadProgramFromFile(path);
}

ZRValue ZRFiltrix::getData(const std::string& sink)
{
  return Bridge::toZRValue(filtrixPrivate->getData(sink));
}

ZRValue ZRFiltrix::getLastData(const std::string& sink)
{
  return Bridge::toZRValue(filtrixPrivate->getLastData(sink));
}

void* ZRFiltrix::getImageLocal(const std::string& sink)
{
  return Bridge::toZRImage(filtrixPrivate->getLastData(sink)).release();
}

ZRValue ZRFiltrix::getImageRemote(const std::string& sink)
{
  return Bridge::toRemoteImage(filtrixPrivate->getLastData(sink));
}

std::vector<std::string> ZRFiltrix::getFilters()
{
  return filtrixPrivate->getFilters();
}

std::string ZRFiltrix::getFilterDescription(const std::string& name)
{
  return filtrixPrivate->getFilterDescription(name);
}

ZRValue ZRFiltrix::getFilterInputs(const std::string& name)
{
  return toPortList(filtrixPrivate->getFilterInputs(name));
}

ZRValue ZRFiltrix::getFilterOutputs(const std::string& name)
{
  return toPortList(filtrixPrivate->getFilterOutputs(name));
}

bool ZRFiltrix::deleteFilter(const std::string& name)
{
  return filtrixPrivate->deleteFilter(name);
}

std::string ZRFiltrix::getDotGraph(const std::string& filter, int level)
{
  return filtrixPrivate->getDotGraph(filter, level);
}

std::vector<std::string> ZRFiltrix::getSources()
{
  return filtrixPrivate->getSources();
}

bool ZRFiltrix::isSourceBinded(const std::string& name)
{
  return filtrixPrivate->isSourceBinded(name);
}

float ZRFiltrix::getSourceFrequency(const std::string& name)
{
  return filtrixPrivate->getSourceFrequency(name);
}

ZRValue ZRFiltrix::getSourceData(const std::string& source)
{
  return getSourceDataOf(source, {});
}

ZRValue ZRFiltrix::getSourceDataOf(const std::string& source, const std::string& reader)
{
  return Bridge::toZRValue(filtrixPrivate->getSourceData(source, reader, readingDuration));
}

void ZRFiltrix::setData(const std::string& name, const ZRValue& value)
{
  const Filtrix::DataPtr held = filtrixPrivate->getSourceData(name, {}, readingDuration);
  const Filtrix::DataPtr data = Bridge::toData(value);
  if (held && held->type() != data->type())
    throw std::runtime_error(
        fmt::format("Value type mismatches with the source data type:{}", Filtrix::Type::typeName(held->type())));
  filtrixPrivate->setData(name, data);
}

bool ZRFiltrix::deleteSource(const std::string& name)
{
  return filtrixPrivate->deleteSource(name);
}

float ZRFiltrix::getRobotHeightOffset()
{
  const Filtrix::DataPtr offset = filtrixPrivate->getSourceData(heightOffsetSource, {}, readingDuration);
  if (!offset)
    return 0.0F;
  switch (offset->type())
  {
  case Filtrix::TypeTag::Float:
  case Filtrix::TypeTag::Integer:
  case Filtrix::TypeTag::UnsignedInteger:
    return offset->toFloat();
  default:
    return 0.0F;
  }
}

void ZRFiltrix::setRobotHeightOffset(float heightOffset)
{
  filtrixPrivate->setData(heightOffsetSource, Filtrix::makeData(heightOffset));
}

std::vector<std::string> ZRFiltrix::getProcesses()
{
  return filtrixPrivate->getProcesses();
}

bool ZRFiltrix::isProcesses(const std::string& name)
{
  return filtrixPrivate->isProcess(name);
}

std::string ZRFiltrix::getProcessDescription(const std::string& name)
{
  return filtrixPrivate->getProcessDescription(name);
}

std::vector<std::string> ZRFiltrix::getProcessSources(const std::string& name)
{
  return filtrixPrivate->getProcessSources(name);
}

std::vector<std::string> ZRFiltrix::getProcessSinks(const std::string& name)
{
  return filtrixPrivate->getProcessSinks(name);
}

std::vector<std::string> ZRFiltrix::getProcessAggregatedSinks(const std::string& name)
{
  return filtrixPrivate->getProcessAggregatedSinks(name);
}

std::uint32_t ZRFiltrix::getProcessPriority(const std::string& name)
{
  return filtrixPrivate->getProcessPriority(name);
}

float ZRFiltrix::getProcessFrequency(const std::string& name)
{
  return filtrixPrivate->getProcessFrequency(name);
}

void ZRFiltrix::setProcessPriority(const std::string& name, std::uint32_t priority)
{
  filtrixPrivate->setProcessPriority(name, priority);
}

void ZRFiltrix::setProcessFrequency(const std::string& name, float frequency)
{
  filtrixPrivate->setProcessFrequency(name, frequency);
}

void ZRFiltrix::setProcessTolerance(const std::string& name, std::int64_t tolerance)
{
  filtrixPrivate->setProcessTolerance(name, Filtrix::Duration(tolerance));
}

bool ZRFiltrix::resetProcess(const std::string& name)
{
  return filtrixPrivate->resetProcess(name);
}

bool ZRFiltrix::isProcessEnable(const std::string& name)
{
  return filtrixPrivate->isProcessEnable(name);
}

bool ZRFiltrix::isProcessZombie(const std::string& name)
{
  return filtrixPrivate->isProcessZombie(name);
}

bool ZRFiltrix::enableProcess(const std::string& name)
{
  return filtrixPrivate->enableProcess(name);
}

bool ZRFiltrix::disableProcess(const std::string& name)
{
  return filtrixPrivate->disableProcess(name);
}

bool ZRFiltrix::deleteProcess(const std::string& name)
{
  return filtrixPrivate->deleteProcess(name);
}

std::vector<std::string> ZRFiltrix::getScheduledJobs()
{
  return filtrixPrivate->getScheduledJobs();
}

void ZRFiltrix::startScheduler()
{
  filtrixPrivate->startScheduler();
}

void ZRFiltrix::stopScheduler()
{
  filtrixPrivate->stopScheduler();
}

std::string ZRFiltrix::getInstrumentationResult()
{
  return Filtrix::toText(_collectInstrumentation());
}

ZRValue ZRFiltrix::getInstrumentationValue()
{
  return Filtrix::toZRValue(_collectInstrumentation());
}

Filtrix::Instrumentation ZRFiltrix::_collectInstrumentation() const
{
  Filtrix::Instrumentation result;
  result.processes = Filtrix::collectProcesses(*filtrixPrivate);
  if (videoSource)
    result.sources = videoSource->getFigures();
  std::ranges::copy(audioSource->getFigures(), std::back_inserter(result.sources));
  std::ranges::copy(motionSource->getFigures(), std::back_inserter(result.sources));
  return result;
}

void ZRFiltrix::startMotionWorker()
{
  motionSource->startWorker();
}

void ZRFiltrix::stopMotionWorker()
{
  motionSource->stopWorker();
}

void ZRFiltrix::setMotionSource(const std::string& sourceName, const std::vector<float>& data)
{
  if (data.size() != coordinates)
  {
    ku::log::error(category, "data must contain 6 coordinates");
    return;
  }
  if (!std::ranges::all_of(data, [](float coordinate) { return std::isfinite(coordinate); }))
    ku::log::warning(category, "the data of the motion source \"{}\" should be 6 finite coordinates, got {}",
                     sourceName, fmt::join(data, " "));
  filtrixPrivate->setData(
      sourceName, Filtrix::makeData(Filtrix::Type::Vector6{data[0], data[1], data[2], data[3], data[4], data[5]}));
}

void ZRFiltrix::setMotionSources(const std::vector<std::string>& sourceNames,
                                 const std::vector<std::vector<float>>& data)
{
  if (sourceNames.size() != data.size())
  {
    ku::log::error(category, "source name list and data list have different size!");
    return;
  }
  for (std::size_t i = 0; i < sourceNames.size(); ++i)
    setMotionSource(sourceNames[i], data[i]);
}
}  // namespace ZR
