// `filtrix run`: programs on a robot, until they are told to stop.

#include "filtrix/data.h"
#include "module/valuebridge.h"
#include "module/zrfiltrix.h"
#include "platform/replay/recorder.h"
#include "program/filtrixprivate.h"
#include "program/literal.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/interrupt.h"
#include "tools/filtrix/json.h"
#include "tools/filtrix/progress.h"
#include "tools/filtrix/session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
namespace
{
using SteadyClock = std::chrono::steady_clock;

struct RunOptions
{
  RobotOptions robot;
  std::vector<std::string> programs;
  std::vector<std::string> values;
  std::vector<std::string> sinks;
  double seconds = 0.0;
  bool json = false;
  bool statistics = false;
  bool importAnywhere = false;
};

// SOURCE=VALUE, the value as a program would write it, brought to the type that the source holds.
void setValue(Session& session, const std::string& assignment)
{
  const std::size_t equals = assignment.find('=');
  if (equals == std::string::npos || equals == 0)
    throw std::invalid_argument("--set: expected SOURCE=VALUE, got \"" + assignment + "\"");
  const std::string source = assignment.substr(0, equals);
  const std::string text = assignment.substr(equals + 1);
  const DataPtr value = readLiteral(text);
  if (!value)
    throw std::invalid_argument("--set " + source + ": expected a number, a truth value or a \"string\", got " + text);
  const std::vector<std::string> sources = session.registry().getSources();
  if (std::ranges::find(sources, source) == sources.end())
    throw std::invalid_argument("--set: there is no source \"" + source + "\"");
  const DataPtr current = session.registry().getSourceData(source);
  const TypeTag type = current ? current->type() : value->type();
  const ZRValue plain = ValueBridge::toZRValue(value).at(1);
  session.module().setData(source, ZRValue::array(std::string(Type::typeName(type)), plain));
  if (session.recorder() != nullptr)
    session.recorder()->write("/value/" + source, {"filtrix/Value"},
                              {{"type", std::string(Type::typeName(type))}, {"value", toJson(plain)}});
}

// A recording tells what ran on it.
void recordProgram(const Session& session, const std::string& program)
{
  std::ifstream stream(program, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (session.recorder() != nullptr && stream)
    session.recorder()->attach(std::filesystem::path(program).filename().string(), "text/plain", text);
}

// Takes the values of sinks from the threads that make them, and prints them on the one that waits here.
class Printer final
{
public:
  explicit Printer(bool json_) : json(json_) {}

  // "PROCESS:SINK" is printed with each new value; "PROCESS:SINK@RATE" is asked for so many times a second, which also
  // runs a process that nothing else runs.
  void watch(FiltrixPrivate& registry, const std::string& request)
  {
    const std::size_t at = request.rfind('@');
    const std::string sink = request.substr(0, at);
    static_cast<void>(registry.getLastData(sink));  // throws for a name that is not there
    if (at == std::string::npos)
    {
      registry.createEvent("print", sink, [this, sink](const DataPtr& value) { _add(sink, value); });
      return;
    }
    double rate = 0.0;
    const auto end = request.data() + request.size();
    const auto [rest, error] = std::from_chars(request.data() + at + 1, end, rate);
    if (error != std::errc() || rest != end || !(rate > 0.0) || rate > 1000.0)
      throw std::invalid_argument("--print " + sink + ": expected a rate above 0 and up to 1000 Hz, got \"" +
                                  request.substr(at + 1) + "\"");
    asked.push_back({sink, std::chrono::duration_cast<SteadyClock::duration>(std::chrono::duration<double>(1.0 / rate)),
                     SteadyClock::now(), nullptr});
  }

  void runUntil(FiltrixPrivate& registry, SteadyClock::time_point end)
  {
    // A signal sets a flag alone: it is looked at ten times a second.
    constexpr std::chrono::milliseconds longestWait(100);
    while (!wasInterrupted() && SteadyClock::now() < end && std::cout.good())
    {
      _ask(registry);
      auto wake = std::min(end, SteadyClock::now() + longestWait);
      for (const Asked& sink : asked)
        wake = std::min(wake, sink.next);
      std::unique_lock lock(mutex);
      arrived.wait_until(lock, wake, [this] { return !values.empty(); });
      std::deque<Value> ready;
      ready.swap(values);
      const std::uint64_t lost = std::exchange(lostValues, 0);
      lock.unlock();
      for (const Value& value : ready)
        _print(value.sink, value.value);
      if (lost != 0)
        complain(fmt::format("{} values came faster than they could be printed", lost));
    }
  }

private:
  struct Value
  {
    std::string sink;
    DataPtr value;
  };

  struct Asked
  {
    std::string sink;
    SteadyClock::duration period;
    SteadyClock::time_point next;
    DataPtr last;
  };

  /// So many values wait to be printed at most; images are large.
  static constexpr std::size_t longestQueue = 1000;

  void _add(const std::string& sink, const DataPtr& value)
  {
    {
      const std::lock_guard lock(mutex);
      if (values.size() == longestQueue)
      {
        values.pop_front();
        ++lostValues;
      }
      values.push_back({sink, value});
    }
    arrived.notify_one();
  }

  void _ask(FiltrixPrivate& registry)
  {
    const auto now = SteadyClock::now();
    for (Asked& sink : asked)
    {
      if (now < sink.next)
        continue;
      sink.next = std::max(sink.next + sink.period, now);
      DataPtr value = registry.getData(sink.sink);
      if (value != sink.last)
        _print(sink.sink, value);
      sink.last = std::move(value);
    }
  }

  void _print(const std::string& sink, const DataPtr& value) const
  {
    if (json)
    {
      const nlohmann::json line = {{"time", value ? value->timestamp().microseconds() : 0},
                                   {"sink", sink},
                                   {"value", toJson(ValueBridge::toZRValue(value))}};
      std::cout << line.dump() << std::endl;
      return;
    }
    std::cout << sink << " = " << (value ? Type::toText(*value) : "null") << std::endl;
  }

  const bool json;
  std::vector<Asked> asked;

  std::mutex mutex;  // guards the values
  std::condition_variable arrived;
  std::deque<Value> values;
  std::uint64_t lostValues = 0;
};

void tellSinks(const FiltrixPrivate& registry)
{
  std::cerr << "running; sinks to --print:";
  for (const std::string& process : registry.getProcesses())
  {
    for (const std::string& sink : registry.getProcessSinks(process))
      std::cerr << ' ' << process << ':' << sink;
  }
  std::cerr << '\n';
}

int run(const RunOptions& options)
{
  // Before the session: its workers fire into the printer until they have ended.
  Printer printer(options.json);
  Session session(options.robot);
  FiltrixPrivate& registry = session.registry();
  for (const std::string& program : options.programs)
  {
    const Progress progress("loading " + program);
    const auto range = options.importAnywhere ? ImportRange::Everywhere : ImportRange::Beneath;
    if (!registry.loadProgramFromFile(program, range))
      return complain("the program \"" + program + "\" could not be loaded");
    recordProgram(session, program);
  }
  for (const std::string& value : options.values)
    setValue(session, value);
  for (const std::string& sink : options.sinks)
    printer.watch(registry, sink);
  if (options.sinks.empty())
    tellSinks(registry);

  catchInterrupts();
  const auto end = options.seconds > 0.0 ? SteadyClock::now() + std::chrono::duration_cast<SteadyClock::duration>(
                                                                    std::chrono::duration<double>(options.seconds))
                                         : SteadyClock::time_point::max();
  session.module().startScheduler();
  printer.runUntil(registry, end);
  session.module().stopScheduler();
  if (options.statistics && options.json)
    std::cout << toJson(session.module().getInstrumentationValue()).dump() << '\n';
  else if (options.statistics)
    std::cerr << session.module().getInstrumentationResult();
  return Exit::success;
}
}  // namespace

void addRunCommand(CLI::App& app, Action& action)
{
  const auto options = std::make_shared<RunOptions>();
  CLI::App& command = *app.add_subcommand("run", "Runs programs until Ctrl-C.");
  command.add_option("PROGRAM", options->programs, "A program file, .fxs or .txt")->required();
  command.add_option("--set,-s", options->values, "Sets a source: a number, true, false or a \"string\"")
      ->type_name("SOURCE=VALUE");
  command
      .add_option("--print,-p", options->sinks,
                  "Prints a sink with each new value, or asks for it so many times a second")
      ->type_name("PROCESS:SINK[@RATE]");
  command.add_option("--for", options->seconds, "Stops after so many seconds")
      ->check(CLI::Range(0.001, 1.0e9))
      ->type_name("SECONDS");
  command.add_flag("--json", options->json, "Prints a line of JSON for each value");
  command.add_flag("--stats", options->statistics,
                   "Tells at the end what filters have cost and what came from sensors");
  command.add_flag("--import-anywhere", options->importAnywhere,
                   "Lets programs import files that do not lie beneath their own folder");
  addRobotOptions(command, options->robot);
  command.footer("Example:\n  filtrix run people.fxs --set angle=30.0 --print people:zones@2 --for 10 --stats");
  command.callback([&action, options] { action = [options] { return run(*options); }; });
}
}  // namespace ZR::Filtrix::Tool
