#include "program/programloader.h"

#include "filtrix/ku/log.h"
#include "filtrix/ku/path.h"
#include "filtrix/ku/unicode.h"
#include "program/filtrixprivate.h"
#include "program/parser.h"
#include "program/parserlog.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <system_error>

namespace ZR::Filtrix
{
namespace fs = std::filesystem;

namespace
{
constexpr const char* category = "filtrix.private";

/// How a program from a file calls its caller.
constexpr const char* fileHandle = "filtrix";

// A path as a message shows it: whole when the system could open it.
std::string shown(std::string_view path)
{
  constexpr std::size_t longestPath = 4096;
  return ParserLog::shown(path, longestPath);
}

template <typename... Args>
bool fail(const OriginPtr& origin, fmt::format_string<Args...> text, Args&&... args)
{
  ku::log::write(ku::log::Level::Error, category,
                 fmt::format(text, std::forward<Args>(args)...) + ParserLog::at(origin));
  return false;
}

bool isProgram(const fs::path& extension)
{
  constexpr std::array<const char*, 4> known{".fxs", ".FXS", ".txt", ".TXT"};
  return std::ranges::find(known, extension) != known.end();
}

bool isBeneath(const fs::path& file, const fs::path& folder)
{
  std::error_code error;
  const fs::path real = fs::canonical(folder, error);
  return !error && std::ranges::mismatch(real, file).in1 == real.end();
}

// Where a path leads: a bare name that is not here may be a data file.
fs::path resolve(const fs::path& path, const fs::path& asWritten)
{
  std::error_code error;
  if (asWritten.empty() || asWritten != asWritten.filename() || fs::exists(path, error))
    return path;
  return ku::path::findData(programFolder, asWritten.string()).value_or(path);
}

// The mark that some editors put before a text is no part of its first word.
std::string_view withoutByteOrderMark(std::string_view text)
{
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  return text.starts_with(mark) ? text.substr(mark.size()) : text;
}
}  // namespace

ProgramLoader::ProgramLoader(FiltrixPrivate& registry_, ImportRange range_) : registry(registry_), range(range_) {}

bool ProgramLoader::loadText(std::string_view program, const std::string& filtrixHandle, const fs::path& basePath)
{
  if (program.size() > Limits::importBytes)
    return fail(nullptr, "loadProgram: the program has {} bytes, expected at most {}.", program.size(),
                Limits::importBytes);
  bytes += program.size();
  levels.push_back({"program", basePath, std::nullopt});
  const bool loaded =
      Parser(registry).loadProgram(ProgramText({}, withoutByteOrderMark(program)), filtrixHandle, *this);
  levels.pop_back();
  return loaded;
}

bool ProgramLoader::loadFile(std::string_view path)
{
  try
  {
    const fs::path file = ku::unicodeFacet.toPath(path);
    return _load(shown(path), resolve(file, file), nullptr);
  }
  catch (const std::invalid_argument& error)
  {
    return fail(nullptr, "loadProgramFromFile(\"{}\"): {}", shown(path), error.what());
  }
}

bool ProgramLoader::importFile(std::string_view path, const OriginPtr& origin)
{
  try
  {
    const fs::path written = ku::unicodeFacet.toPath(path);
    const fs::path whole = levels.back().folder / written;
    const std::string wanted = shown(whole.string());
    if (levels.size() > Limits::importDepth)
      return fail(origin, "loadProgramFromFile(\"{}\"): programs import one another more than {} deep.", wanted,
                  Limits::importDepth);
    return _load(wanted, resolve(whole, written), origin);
  }
  catch (const std::invalid_argument& error)
  {
    return fail(origin, "loadProgramFromFile(\"{}\"): {}", shown(path), error.what());
  }
}

bool ProgramLoader::_load(const std::string& wanted, const fs::path& path, const OriginPtr& origin)
{
  ProgramFile file(path);
  switch (file.getKind())
  {
  case ProgramFile::Kind::Missing:
    return fail(origin, R"(loadProgramFromFile("{0}"): "{0}" not found.)", wanted);
  case ProgramFile::Kind::Folder:
    return fail(origin, R"(loadProgramFromFile("{0}"): "{0}" is a directory.)", wanted);
  case ProgramFile::Kind::Other:
    return fail(origin, R"(loadProgramFromFile("{0}"): "{0}" is not a regular file.)", wanted);
  case ProgramFile::Kind::Unreadable:
  case ProgramFile::Kind::Readable:
    break;
  }
  const fs::path extension = path.extension();
  if (extension == ".dll")
    return fail(origin, "loadProgramFromFile({}) dynamic loading is not supported on Windows.", wanted);
  if (!isProgram(extension))
    return fail(origin, "loadProgramFromFile(\"{}\"): invalid file format.", wanted);
  if (file.getKind() == ProgramFile::Kind::Unreadable)
    return fail(origin, "loadProgramFromFile(\"{}\"): unable to open", wanted);
  if (!_mayImport(file))
    return fail(origin,
                R"(loadProgramFromFile("{}"): expected a file beneath "{}" or a data folder: "{}" is not there.)",
                wanted, shown(levels.back().folder.string()), shown(file.getRealPath().string()));
  return _execute(wanted, path, file, origin);
}

bool ProgramLoader::_execute(const std::string& wanted, const fs::path& path, ProgramFile& file,
                             const OriginPtr& origin)
{
  const std::string name = _nameOf(path);
  if (const std::string ring = _findRing(file, name); !ring.empty())
    return fail(origin, "loadProgramFromFile(\"{}\"): the programs import one another in a ring: {}.", wanted, ring);
  if (++files > Limits::importFiles)
    return fail(origin, "loadProgramFromFile(\"{}\"): the load reads more than {} files.", wanted, Limits::importFiles);
  const std::size_t left = Limits::importBytes - bytes;
  const auto content = file.read(left + 1);
  if (!content)
    return fail(origin, "loadProgramFromFile(\"{}\"): unable to read", wanted);
  if (content->size() > left)
    return fail(origin, "loadProgramFromFile(\"{}\"): the programs of the load have more than {} bytes together.",
                wanted, Limits::importBytes);
  bytes += content->size();

  bool loaded = false;
  levels.push_back({name, fs::absolute(path).parent_path(), file.getIdentity()});
  try
  {
    loaded = Parser(registry).loadProgram(ProgramText(name, withoutByteOrderMark(*content)), fileHandle, *this);
  }
  catch (const std::exception& error)
  {
    fail(origin, "loadProgramFromFile(\"{}\"):impossible to perform loading. {}", wanted, error.what());
  }
  levels.pop_back();
  return loaded;
}

bool ProgramLoader::_mayImport(const ProgramFile& file) const
{
  if (range == ImportRange::Everywhere || levels.empty() || levels.back().folder.empty())
    return true;
  const fs::path real = file.getRealPath();
  if (isBeneath(real, levels.back().folder))
    return true;
  return std::ranges::any_of(ku::path::dataSearchPath(),
                             [&](const fs::path& folder) { return isBeneath(real, folder / programFolder); });
}

// "a.fxs -> b.fxs -> a.fxs" when the file is being executed already.
std::string ProgramLoader::_findRing(const ProgramFile& file, const std::string& name) const
{
  const auto first = std::ranges::find(levels, file.getIdentity(), &Level::identity);
  std::string ring;
  for (auto level = first; level != levels.end(); ++level)
    ring += level->name + " -> ";
  return ring.empty() ? ring : ring + name;
}

// The path as seen from the first program's folder, which is short and still tells two files of one name apart.
std::string ProgramLoader::_nameOf(const fs::path& path) const
{
  if (levels.empty())
    return path.filename().string();
  const fs::path normal = path.lexically_normal();
  const fs::path relative = normal.lexically_relative(levels.front().folder.lexically_normal());
  return (relative.empty() || *relative.begin() == ".." ? normal : relative).string();
}
}  // namespace ZR::Filtrix
