#include "program/programfile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <system_error>
#include <utility>

namespace ZR::Filtrix
{
namespace fs = std::filesystem;

namespace
{
ProgramFile::Kind kindOf(const struct stat& status)
{
  if (S_ISDIR(status.st_mode))
    return ProgramFile::Kind::Folder;
  return S_ISREG(status.st_mode) ? ProgramFile::Kind::Unreadable : ProgramFile::Kind::Other;
}
}  // namespace

ProgramFile::ProgramFile(const fs::path& path_) : path(path_), file(ku::os::openWithoutWaiting(path_))
{
  struct stat status = {};
  const int failed = file ? ::fstat(::fileno(file.get()), &status) : ::stat(path.c_str(), &status);
  if (failed != 0)
    return;
  kind = kindOf(status);
  if (file && kind == Kind::Unreadable)
    kind = Kind::Readable;
  identity = {status.st_dev, status.st_ino};
}

fs::path ProgramFile::getRealPath() const
{
  std::error_code error;
  if (file)
  {
    // The system knows which file it has opened; the path may lead elsewhere by now.
    fs::path opened = fs::read_symlink("/proc/self/fd/" + std::to_string(::fileno(file.get())), error);
    if (!error)
      return opened;
  }
  return fs::canonical(path, error);
}

std::optional<std::string> ProgramFile::read(std::size_t limit)
{
  if (kind != Kind::Readable)
    return std::nullopt;
  std::string content;
  std::array<char, 1U << 14U> buffer{};
  while (content.size() < limit)
  {
    const std::size_t wanted = std::min(buffer.size(), limit - content.size());
    const std::size_t count = std::fread(buffer.data(), 1, wanted, file.get());
    content.append(buffer.data(), count);
    if (count < wanted)
      break;
  }
  if (std::ferror(file.get()) != 0)
    return std::nullopt;
  return content;
}
}  // namespace ZR::Filtrix
