#pragma once

#include <fmt/core.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Log lines: a level, a category and a text. A category is a dotted name such as "filtrix.port". All thread-safe.
namespace ku::log
{
/// 1 is the most severe.
enum class Level
{
  Fatal = 1,
  Error = 2,
  Warning = 3,
  Info = 4,
  Verbose = 5,
  Debug = 6
};

/// One line as it was written.
struct Entry
{
  Level level;
  std::string category;
  std::string text;

  bool operator==(const Entry&) const = default;
};

/// Writes one line to standard error and to every `Capture`, when its category's level lets it through. The text is
/// taken as it is; line breaks stay. Of the same line ten a second are written; a Capture gathers all. Never throws.
void write(Level level, std::string_view category, std::string_view text) noexcept;

/// True when a line of this level and category would be written: ask before building a costly text.
[[nodiscard]] bool isEnabled(Level level, std::string_view category) noexcept;

/// Lets through lines of `level` and more severe ones. Set for a category, the level holds for it and for the
/// categories beneath it ("filtrix" for "filtrix.port") that have none of their own; the empty category is the default
/// of all. It starts as Warning, or as the environment variable FILTRIX_LOG says ("5" or "3,filtrix.process=6").
void setLevel(std::string_view category, Level level);
[[nodiscard]] Level getLevel(std::string_view category);

/// Gives back the levels of the start.
void resetLevels();

/// While it lives, gathers the lines of all threads that its own level lets through, whatever the levels set, so that
/// a test can compare exact texts. Also keeps them from standard error unless told otherwise.
class Capture
{
public:
  enum class Echo
  {
    No,
    Yes
  };

  explicit Capture(Level level = Level::Debug, Echo echo = Echo::No);
  ~Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  [[nodiscard]] std::vector<Entry> entries() const;

  /// The texts alone, of one category, or of all with the empty one.
  [[nodiscard]] std::vector<std::string> texts(std::string_view category = {}) const;

  /// Forgets what has been gathered so far.
  void clear();

  class State;

private:
  std::shared_ptr<State> state;
};

/// Writes a line of parts. A line for which there is no memory is lost, like one for which there is no way out: who
/// tells of a fault must not fail over it.
template <typename... Args>
void format(Level level, std::string_view category, fmt::format_string<Args...> text, Args&&... args) noexcept
{
  if (!isEnabled(level, category))
    return;
  try
  {
    write(level, category, fmt::format(text, std::forward<Args>(args)...));
  }
  catch (...)
  {
    write(level, category, "a line of the log is lost: there is no memory for it");
  }
}

template <typename... Args>
void fatal(std::string_view category, fmt::format_string<Args...> text, Args&&... args) noexcept
{
  format(Level::Fatal, category, text, std::forward<Args>(args)...);
}

template <typename... Args>
void error(std::string_view category, fmt::format_string<Args...> text, Args&&... args) noexcept
{
  format(Level::Error, category, text, std::forward<Args>(args)...);
}

template <typename... Args>
void warning(std::string_view category, fmt::format_string<Args...> text, Args&&... args) noexcept
{
  format(Level::Warning, category, text, std::forward<Args>(args)...);
}

template <typename... Args>
void info(std::string_view category, fmt::format_string<Args...> text, Args&&... args) noexcept
{
  format(Level::Info, category, text, std::forward<Args>(args)...);
}

template <typename... Args>
void verbose(std::string_view category, fmt::format_string<Args...> text, Args&&... args) noexcept
{
  format(Level::Verbose, category, text, std::forward<Args>(args)...);
}
}  // namespace ku::log
