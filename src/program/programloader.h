#pragma once

#include "program/declarations.h"
#include "program/loadrecord.h"
#include "program/programfile.h"
#include "program/programtext.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix
{
class FiltrixPrivate;

/// One load: a program and all that it imports. Finds and reads the files, and holds the load to its limits.
///
/// What fails is logged at level 2, category "filtrix.private".
class ProgramLoader final
{
public:
  explicit ProgramLoader(FiltrixPrivate& registry_, ImportRange range_ = ImportRange::Beneath);

  /// Loads a program from text. With a base path its imports start there and stay beneath it; without one they are as
  /// free as the caller is, who can load every file himself.
  bool loadText(std::string_view program, const std::string& filtrixHandle, const std::filesystem::path& basePath);

  /// Loads a program from a file that ends in .fxs, .FXS, .txt or .TXT. A bare name is also looked for among the data
  /// files of "zorqa/vision/fxs".
  bool loadFile(std::string_view path);

  /// Loads a file for the program that is being executed. What the file needs to be is that of `loadFile`; it may not
  /// import itself, at whatever distance.
  bool importFile(std::string_view path, const std::shared_ptr<const Origin>& origin);

  [[nodiscard]] LoadRecord& getRecord() noexcept { return record; }

private:
  // A program that is being executed.
  struct Level
  {
    std::string name;              // as messages call it
    std::filesystem::path folder;  // where imports start; empty for a text that has none
    std::optional<ProgramFile::Identity> identity;
  };

  bool _load(const std::string& wanted, const std::filesystem::path& path, const std::shared_ptr<const Origin>& origin);
  bool _execute(const std::string& wanted, const std::filesystem::path& path, ProgramFile& file,
                const std::shared_ptr<const Origin>& origin);
  [[nodiscard]] bool _mayImport(const ProgramFile& file) const;
  [[nodiscard]] std::string _findRing(const ProgramFile& file, const std::string& name) const;
  [[nodiscard]] std::string _nameOf(const std::filesystem::path& path) const;

  FiltrixPrivate& registry;
  const ImportRange range;
  LoadRecord record;
  std::vector<Level> levels;  // from the first program to the one that is being executed
  std::size_t files = 0;
  std::size_t bytes = 0;
};
}  // namespace ZR::Filtrix
