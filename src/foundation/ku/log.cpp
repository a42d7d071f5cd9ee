#include "filtrix/ku/log.h"

#include "filtrix/ku/unicode.h"
#include "foundation/ku/immortal.h"
#include "foundation/ku/loglevels.h"
#include "foundation/ku/repeats.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_color_sinks.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>

namespace ku::log
{
namespace
{
// A line is for people. What is longer comes from a name or a value of somebody else's, and is cut.
constexpr std::size_t longestText = 16'384;
}  // namespace

class Capture::State
{
public:
  State(Level level_, Echo echo_) : level(level_), echo(echo_) {}

  void gather(Level lineLevel, std::string_view category, std::string_view text)
  {
    const std::lock_guard lock(mutex);
    entries.push_back({lineLevel, std::string(category), std::string(text)});
  }

  const Level level;
  const Echo echo;

  std::mutex mutex;            // guards the next; a leaf lock
  std::vector<Entry> entries;  // in the order of their writing
};

namespace
{
Level clamped(Level level) noexcept
{
  return std::clamp(level, Level::Fatal, Level::Debug);
}

// Used for the colour and for nothing else: the names of spdlog's two lowest levels are not ours.
spdlog::level::level_enum toSpdlog(Level level) noexcept
{
  constexpr spdlog::level::level_enum table[] = {spdlog::level::critical, spdlog::level::err,   spdlog::level::warn,
                                                 spdlog::level::info,     spdlog::level::debug, spdlog::level::trace};
  return table[static_cast<int>(level) - 1];
}

// Writes our name of a line's level, padded to the longest one.
class LevelName final : public spdlog::custom_flag_formatter
{
public:
  void format(const spdlog::details::log_msg& line, const std::tm&, spdlog::memory_buf_t& out) override
  {
    constexpr std::string_view names[] = {"debug  ", "verbose", "info   ", "warning", "error  ", "fatal  "};
    const std::string_view name = names[static_cast<int>(line.level)];
    out.append(name.data(), name.data() + name.size());
  }

  [[nodiscard]] std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<LevelName>(); }
};

std::unique_ptr<spdlog::formatter> lineFormatter()
{
  auto formatter = std::make_unique<spdlog::pattern_formatter>();
  formatter->add_flag<LevelName>('*').set_pattern("%Y-%m-%d %H:%M:%S.%e %^%*%$ %n: %v");
  return formatter;
}

// All of the log: who listens, at which levels, and the way out.
class Journal
{
public:
  Journal()
  {
    sink.set_formatter(lineFormatter());
    if (const char* text = std::getenv("FILTRIX_LOG"))
    {
      try
      {
        initial = Levels(text);
      }
      catch (const std::invalid_argument& error)
      {
        _print(Level::Warning, "ku.log", fmt::format("FILTRIX_LOG is ignored: {}", error.what()));
      }
    }
    levels = initial;
    most = levels.most();
  }

  [[nodiscard]] bool isEnabled(Level level, std::string_view category)
  {
    if (level > most.load(std::memory_order_relaxed))
      return false;
    const std::shared_lock lock(mutex);
    return levels.of(category) >= level ||
           std::ranges::any_of(captures, [level](const auto& capture) { return capture->level >= level; });
  }

  void write(Level level, std::string_view category, std::string_view text)
  {
    if (level > most.load(std::memory_order_relaxed))
      return;
    const std::shared_lock lock(mutex);
    bool silent = levels.of(category) < level;
    for (const auto& capture : captures)
    {
      if (capture->level < level)
        continue;
      capture->gather(level, category, text);
      silent = silent || capture->echo == Capture::Echo::No;
    }
    if (silent)
      return;
    const std::size_t line = std::hash<std::string_view>()(text) ^ std::hash<std::string_view>()(category);
    const auto leftOut = repeats.pass(line, Repeats::Clock::now());
    if (!leftOut)
      return;
    if (*leftOut == 0)
      _print(level, category, text);
    else
      _print(level, category, fmt::format("{} ({} more like this were left out)", text, *leftOut));
  }

  void setLevel(std::string_view category, Level level)
  {
    const std::lock_guard lock(mutex);
    levels.set(category, level);
    _updateMost();
  }

  [[nodiscard]] Level getLevel(std::string_view category)
  {
    const std::shared_lock lock(mutex);
    return levels.of(category);
  }

  void resetLevels()
  {
    const std::lock_guard lock(mutex);
    levels = initial;
    _updateMost();
  }

  void add(std::shared_ptr<Capture::State> capture)
  {
    const std::lock_guard lock(mutex);
    captures.push_back(std::move(capture));
    _updateMost();
  }

  void remove(const std::shared_ptr<Capture::State>& capture)
  {
    const std::lock_guard lock(mutex);
    std::erase(captures, capture);
    _updateMost();
  }

private:
  void _print(Level level, std::string_view category, std::string_view text)
  {
    sink.log({spdlog::source_loc{}, {category.data(), category.size()}, toSpdlog(level), {text.data(), text.size()}});
  }

  void _updateMost()
  {
    Level found = levels.most();
    for (const auto& capture : captures)
      found = std::max(found, capture->level);
    most = found;
  }

  spdlog::sinks::stderr_color_sink_mt sink;  // locks itself
  Repeats repeats;

  // Read by everyone first: the level that no line in force goes beyond, so that what is off costs one load.
  std::atomic<Level> most{Level::Warning};

  // Guards what follows. Outside a capture's mutex and the sink's own.
  std::shared_mutex mutex;
  Levels initial;
  Levels levels;
  std::vector<std::shared_ptr<Capture::State>> captures;
};

Journal& journal()
{
  static Immortal<Journal> journal;
  return *journal;
}
}  // namespace

void write(Level level, std::string_view category, std::string_view text) noexcept
try
{
  if (text.size() <= longestText)
    journal().write(clamped(level), category, text);
  else if (isEnabled(level, category))
    journal().write(clamped(level), category,
                    fmt::format("{}... ({} bytes)", toValidUtf8(text.substr(0, longestText)), text.size()));
}

catch (...)
{
  // No memory or no way out for a line: there is nobody left to tell.
}

bool isEnabled(Level level, std::string_view category) noexcept
try
{
  return journal().isEnabled(clamped(level), category);
}

catch (...)
{
  return false;
}

void setLevel(std::string_view category, Level level)
{
  journal().setLevel(category, clamped(level));
}

Level getLevel(std::string_view category)
{
  return journal().getLevel(category);
}

void resetLevels()
{
  journal().resetLevels();
}

Capture::Capture(Level level, Echo echo) : state(std::make_shared<State>(clamped(level), echo))
{
  journal().add(state);
}

Capture::~Capture()
{
  journal().remove(state);
}

std::vector<Entry> Capture::entries() const
{
  const std::lock_guard lock(state->mutex);
  return state->entries;
}

std::vector<std::string> Capture::texts(std::string_view category) const
{
  const std::lock_guard lock(state->mutex);
  std::vector<std::string> texts;
  for (const Entry& entry : state->entries)
    if (category.empty() || entry.category == category)
      texts.push_back(entry.text);
  return texts;
}

void Capture::clear()
{
  const std::lock_guard lock(state->mutex);
  state->entries.clear();
}
}  // namespace ku::log
