#pragma once

#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace ku
{
/// Writes a file beside an earlier one of that name, and takes its place when it is whole: who reads the name finds the
/// one or the other, also when the disk is full. What is no plain file, such as a pipe or a link, is written to as it
/// is.
class FileReplacement final
{
public:
  explicit FileReplacement(std::filesystem::path path);

  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  /// Leaves the earlier file as it was unless `commit` has succeeded.
  ~FileReplacement();

  [[nodiscard]] bool isOpen() const { return out.is_open(); }

  void write(std::string_view bytes);

  /// Ends the file and puts it in its place; call once. Says what went wrong, here or before.
  [[nodiscard]] std::error_code commit();

private:
  std::filesystem::path target;
  bool isPlain = false;
  std::filesystem::path draft;  // the target itself unless that is plain
  std::ofstream out;
  std::error_code error;
  bool remains = false;  // a draft that has not taken its place
};
}  // namespace ku
