#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

/// Finds the data files of the runtime and of the programs that embed it.
///
/// A data file belongs to an application, a folder such as "zorqa/vision/fxs", and has a name within it, such as
/// "x.fxs" or "lbpcascades/frontal.xml". The folders that may hold applications are searched in this order:
///
/// 1. those of the living `ScopedDataPath` objects, the latest first, then those of `addDataPath`, the latest first;
/// 2. those of the environment variable FILTRIX_DATA_PATH, between colons;
/// 3. share/ of the source tree, when the runtime runs from its build tree;
/// 4. share/ of the prefix that the runtime is installed under, wherever that has been moved to, then of the prefix
///    that it was configured for;
/// 5. $XDG_DATA_HOME, or ~/.local/share;
/// 6. those of $XDG_DATA_DIRS, or /usr/local/share and /usr/share.
///
/// All thread-safe; the environment must not change meanwhile.
namespace ku::path
{
/// The first file of this name in the search order; a folder is no file. Nothing when there is none.
/// Both names are relative paths in UTF-8 that stay within the folder they start from. Others, empty, absolute, with a
/// zero byte or with "..", are refused: one error line of category "ku.path", and nothing found.
[[nodiscard]] std::optional<std::filesystem::path> findData(std::string_view application, std::string_view name);

/// The files, without those in sub-folders, that an application has in all folders of the search order, by name and
/// each name once: exactly what `findData` finds by these names.
[[nodiscard]] std::vector<std::filesystem::path> listData(std::string_view application);

/// The folders searched, in order, absolute and each once. They need not exist.
[[nodiscard]] std::vector<std::filesystem::path> dataSearchPath();

/// Puts a folder before all others, for as long as the program runs; again, when it is there already. A relative one is
/// taken from the folder that the program is in now.
void addDataPath(const std::filesystem::path& folder);

/// Puts a folder before all others for as long as it lives.
class ScopedDataPath
{
public:
  explicit ScopedDataPath(const std::filesystem::path& folder_);
  ~ScopedDataPath();
  ScopedDataPath(const ScopedDataPath&) = delete;
  ScopedDataPath& operator=(const ScopedDataPath&) = delete;

private:
  const std::filesystem::path folder;
};
}  // namespace ku::path
