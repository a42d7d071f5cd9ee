#include "foundation/ku/prefix.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <system_error>

namespace ku::path
{
namespace
{
// Its address is what the dynamic linker is asked about.
constexpr char anchor = 0;
}  // namespace

std::filesystem::path prefixOf(const std::filesystem::path& binary)
{
  constexpr std::array<std::string_view, 4> marks = {"bin", "lib", "lib64", "libexec"};
  const std::filesystem::path folder = binary.parent_path();
  for (std::filesystem::path at = folder; at.has_relative_path(); at = at.parent_path())
    if (std::ranges::find(marks, at.filename().native()) != marks.end())
      return at.parent_path();
  return folder.parent_path();
}

std::filesystem::path ownBinary()
{
  Dl_info info{};
  void* map = nullptr;
  std::error_code error;
  if (::dladdr1(std::addressof(anchor), &info, &map, RTLD_DL_LINKMAP) == 0 || !map)
    return {};

  // The name is empty for the program itself, and what dladdr tells of it is only what it was called by.
  const std::string_view name = static_cast<const link_map*>(map)->l_name;
  return std::filesystem::canonical(name.empty() ? "/proc/self/exe" : name, error);
}
}  // namespace ku::path
