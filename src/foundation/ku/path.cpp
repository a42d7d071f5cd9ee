#include "filtrix/ku/path.h"

#include "filtrix/ku/log.h"
#include "filtrix/ku/os.h"
#include "filtrix/ku/unicode.h"
#include "foundation/ku/immortal.h"
#include "foundation/ku/prefix.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <system_error>

namespace ku::path
{
namespace fs = std::filesystem;

namespace
{
// The folders that the program has put before all others, the latest last.
struct Front
{
  std::mutex mutex;  // guards the rest; a leaf lock
  std::vector<fs::path> added;
  std::vector<fs::path> scoped;
};

Front& front()
{
  static Immortal<Front> front;
  return *front;
}

// Absolute and without a slash at its end, so that one folder has one name. Empty stays empty.
fs::path tidy(const fs::path& folder)
{
  if (folder.empty())
    return {};
  std::error_code error;
  const fs::path absolute = fs::absolute(folder, error).lexically_normal();
  return absolute.has_filename() ? absolute : absolute.parent_path();
}

bool isWithin(const fs::path& file, const fs::path& folder)
{
  std::error_code error;
  const fs::path whole = fs::weakly_canonical(folder, error);
  return !error && std::mismatch(whole.begin(), whole.end(), file.begin(), file.end()).first == whole.end();
}

// Folders in order, each once.
class FolderList
{
public:
  void add(const fs::path& folder)
  {
    const fs::path name = tidy(folder);
    if (!name.empty() && std::ranges::find(folders, name) == folders.end())
      folders.push_back(name);
  }

  void addAll(std::string_view colonSeparated)
  {
    std::size_t start = 0;
    while (start <= colonSeparated.size())
    {
      const std::size_t end = std::min(colonSeparated.find(':', start), colonSeparated.size());
      add(colonSeparated.substr(start, end - start));
      start = end + 1;
    }
  }

  [[nodiscard]] std::vector<fs::path> take() { return std::move(folders); }

private:
  std::vector<fs::path> folders;
};

// A variable that is set to nothing counts as not set.
std::string variable(const char* name, const std::string& otherwise)
{
  const auto value = os::getenv(name);
  return value && !value->empty() ? *value : otherwise;
}

// The share folders that belong to this very build: of its source tree or of its prefixes. Fixed once the program runs.
const std::vector<fs::path>& homeFolders()
{
  static const Immortal<std::vector<fs::path>> folders(
      []
      {
        const fs::path binary = ownBinary();
        std::vector<fs::path> found;
        // An installed copy was built from a source tree too, but must not be led astray by what lies there.
        if (isWithin(binary, FILTRIX_BUILD_DIR))
          found.emplace_back(FILTRIX_SOURCE_SHARE_DIR);
        if (!binary.empty())
          found.push_back(prefixOf(binary) / "share");
        found.emplace_back(FILTRIX_INSTALL_DATA_DIR);
        return found;
      }());
  return *folders;
}

fs::path userFolder()
{
  const fs::path home = variable("HOME", "");
  return variable("XDG_DATA_HOME", home.empty() ? "" : home / ".local/share");
}

// What is wrong with a name that must stay within its folder, or nothing.
std::string_view problemOf(std::string_view name)
{
  if (name.empty())
    return "is empty";
  if (name.find('\0') != std::string_view::npos)
    return "holds a zero byte";
  const fs::path path(name);
  if (path.is_absolute())
    return "is absolute";
  if (std::ranges::find(path, fs::path("..")) != path.end())
    return "holds \"..\"";
  return {};
}

bool isAcceptable(std::string_view operation, std::string_view name)
{
  const std::string_view problem = problemOf(name);
  if (!problem.empty())
    log::error("ku.path", "{}: \"{}\" {}, expected a relative path that stays within its folder", operation,
               toValidUtf8(name), problem);
  return problem.empty();
}

bool isFile(const fs::path& path)
{
  std::error_code error;
  return fs::is_regular_file(path, error);
}
}  // namespace

std::optional<fs::path> findData(std::string_view application, std::string_view name)
{
  if (!isAcceptable("findData", application) || !isAcceptable("findData", name))
    return std::nullopt;
  for (const fs::path& folder : dataSearchPath())
    if (fs::path file = folder / application / name; isFile(file))
      return file;
  return std::nullopt;
}

std::vector<fs::path> listData(std::string_view application)
{
  if (!isAcceptable("listData", application))
    return {};
  std::map<fs::path, fs::path> byName;
  for (const fs::path& folder : dataSearchPath())
  {
    std::error_code error;
    for (fs::directory_iterator at(folder / application, error), end; !error && at != end; at.increment(error))
      if (isFile(at->path()))
        byName.try_emplace(at->path().filename(), at->path());
  }
  std::vector<fs::path> files;
  files.reserve(byName.size());
  for (auto& [name, file] : byName)
    files.push_back(std::move(file));
  return files;
}

std::vector<fs::path> dataSearchPath()
{
  FolderList folders;
  {
    const std::lock_guard lock(front().mutex);
    std::for_each(front().scoped.rbegin(), front().scoped.rend(), [&](const auto& folder) { folders.add(folder); });
    std::for_each(front().added.rbegin(), front().added.rend(), [&](const auto& folder) { folders.add(folder); });
  }
  folders.addAll(variable("FILTRIX_DATA_PATH", ""));
  for (const fs::path& folder : homeFolders())
    folders.add(folder);
  folders.add(userFolder());
  folders.addAll(variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share"));
  return folders.take();
}

void addDataPath(const fs::path& folder)
{
  const fs::path name = tidy(folder);
  const std::lock_guard lock(front().mutex);
  std::erase(front().added, name);
  front().added.push_back(name);
}

ScopedDataPath::ScopedDataPath(const fs::path& folder_) : folder(tidy(folder_))
{
  const std::lock_guard lock(front().mutex);
  front().scoped.push_back(folder);
}

ScopedDataPath::~ScopedDataPath()
{
  // Two scopes may hold the same folder; either of its entries may go.
  const std::lock_guard lock(front().mutex);
  auto& scoped = front().scoped;
  const auto last = std::find(scoped.rbegin(), scoped.rend(), folder);
  scoped.erase(std::next(last).base());
}
}  // namespace ku::path
