#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace ZR
{
/// An empty folder of the test's own, gone after it.
class TempFolder final
{
public:
  TempFolder()
  {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    // With the process, since the same test may run several times at once.
    std::string name = "filtrix-" + std::to_string(::getpid()) + "-" + test->test_suite_name() + "-" + test->name();
    for (char& letter : name)
      if (letter == '/')
        letter = '-';
    folder = std::filesystem::path(testing::TempDir()) / name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
  }

  ~TempFolder()
  {
    std::error_code error;
    std::filesystem::remove_all(folder, error);
  }

  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  [[nodiscard]] std::filesystem::path operator/(const std::string& name) const { return folder / name; }

  [[nodiscard]] const std::filesystem::path& path() const { return folder; }

private:
  std::filesystem::path folder;
};

inline std::vector<char> readBytes(const std::filesystem::path& path)
{
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeBytes(const std::filesystem::path& path, const std::vector<char>& bytes)
{
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline void writeText(const std::filesystem::path& path, const std::string& text)
{
  writeBytes(path, {text.begin(), text.end()});
}
}  // namespace ZR
