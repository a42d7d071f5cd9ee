#include "filtrix/ku/os.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace ku::os
{
void FileCloser::operator()(std::FILE* file) const noexcept
{
  std::fclose(file);  // NOLINT(cppcoreguidelines-owning-memory): this is the owner
}

File fopen(const std::filesystem::path& path, const char* mode)
{
  if (path.native().find('\0') != std::string::npos)
  {
    errno = EINVAL;
    return {};
  }
  std::error_code unknown;
  if (std::filesystem::is_directory(path, unknown))
  {
    errno = EISDIR;
    return {};
  }
  return File(std::fopen(path.c_str(), (std::string(mode) + "e").c_str()));
}

File openWithoutWaiting(const std::filesystem::path& path)
{
  const int handle = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (handle < 0)
    return nullptr;
  File file(::fdopen(handle, "r"));
  if (!file)
    ::close(handle);
  return file;
}

std::optional<std::string> getenv(const char* name)
{
  const char* value = std::getenv(name);
  return value ? std::optional<std::string>(value) : std::nullopt;
}
}  // namespace ku::os
