#pragma once

#include "filtrix/ku/os.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ku
{
/// A new, empty folder that goes with all it holds at the end of its life.
class TemporaryFolder
{
public:
  TemporaryFolder()
  {
    std::string name = (std::filesystem::temp_directory_path() / "filtrix-test-XXXXXX").string();
    if (!::mkdtemp(name.data()))
      throw std::runtime_error("no folder can be made in " + name);
    folder = std::filesystem::canonical(name);
  }

  ~TemporaryFolder()
  {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return folder; }

  /// Writes a file, and the folders that lead to it, and tells where it is.
  // NOLINTNEXTLINE(modernize-use-nodiscard): most tests know the place
  std::filesystem::path write(const std::filesystem::path& name, std::string_view content = "content") const
  {
    std::filesystem::path file = folder / name;
    std::filesystem::create_directories(file.parent_path());
    if (std::fwrite(content.data(), 1, content.size(), os::fopen(file, "w").get()) != content.size())
      throw std::runtime_error("cannot write " + file.string());
    return file;
  }

private:
  std::filesystem::path folder;
};
}  // namespace ku
