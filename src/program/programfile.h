#pragma once

#include "filtrix/ku/os.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace ZR::Filtrix
{
/// A program's file, opened once. What is asked about it is asked of the open file, so that nobody can put another in
/// its place between the question and the reading. Opening waits for nobody, whatever the path leads to.
class ProgramFile final
{
public:
  enum class Kind
  {
    Missing,
    Folder,
    Other,       ///< a pipe, a device, a socket
    Unreadable,  ///< a file that may not be opened
    Readable
  };

  /// The same for two paths exactly when they lead to one file.
  struct Identity
  {
    std::uint64_t device = 0;
    std::uint64_t number = 0;

    bool operator==(const Identity&) const = default;
  };

  explicit ProgramFile(const std::filesystem::path& path_);

  [[nodiscard]] Kind getKind() const noexcept { return kind; }

  [[nodiscard]] Identity getIdentity() const noexcept { return identity; }

  /// The path without links; empty when it cannot be told.
  [[nodiscard]] std::filesystem::path getRealPath() const;

  /// The first `limit` bytes of the file; nothing when reading fails.
  [[nodiscard]] std::optional<std::string> read(std::size_t limit);

private:
  std::filesystem::path path;
  ku::os::File file;
  Kind kind = Kind::Missing;
  Identity identity;
};
}  // namespace ZR::Filtrix
