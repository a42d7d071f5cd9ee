#include "foundation/ku/filereplacement.h"

#include <cerrno>
#include <utility>

namespace ku
{
namespace
{
bool isPlainName(const std::filesystem::path& path)
{
  std::error_code unknown;
  const auto kind = std::filesystem::symlink_status(path, unknown).type();
  return kind == std::filesystem::file_type::not_found || kind == std::filesystem::file_type::regular;
}

std::error_code lastError()
{
  return errno == 0 ? std::make_error_code(std::errc::io_error) : std::error_code(errno, std::generic_category());
}
}  // namespace

FileReplacement::FileReplacement(std::filesystem::path path)
    : target(std::move(path)), isPlain(isPlainName(target)), draft(target)
{
  if (isPlain)
    draft += ".part";
  errno = 0;
  out.open(draft, std::ios::binary | std::ios::trunc);
  if (!out)
    error = lastError();
  remains = isPlain && out.is_open();
}

FileReplacement::~FileReplacement()
{
  std::error_code ignored;
  if (remains)
    std::filesystem::remove(draft, ignored);
}

void FileReplacement::write(std::string_view bytes)
{
  errno = 0;
  if (!error && !out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
    error = lastError();
}

std::error_code FileReplacement::commit()
{
  errno = 0;
  out.close();
  if (!error && !out)
    error = lastError();
  if (!error && isPlain)
    std::filesystem::rename(draft, target, error);
  remains = remains && error;
  return error;
}
}  // namespace ku
