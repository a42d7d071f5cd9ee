#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

/// What the operating system does for us, by names that are the same everywhere.
namespace ku::os
{
struct FileCloser
{
  void operator()(std::FILE* file) const noexcept;
};

/// An open file, closed at the end of its life.
using File = std::unique_ptr<std::FILE, FileCloser>;

/// Opens a file as std::fopen does, by any path that the file system has; programs that we start do not inherit it.
/// Null, and errno says why, when that fails. A path that holds a zero byte gives EINVAL, and so does a folder EISDIR:
/// it would open for reading and fail at the first byte.
[[nodiscard]] File fopen(const std::filesystem::path& path, const char* mode);

/// Opens a file for reading without waiting: a pipe would keep a plain open waiting for its writer. What it opens may
/// be anything; look at its status before reading. Null, and errno says why, when that fails.
[[nodiscard]] File openWithoutWaiting(const std::filesystem::path& path);

/// An environment variable, nothing when it is not set. Must not run beside a thread that changes the environment.
[[nodiscard]] std::optional<std::string> getenv(const char* name);
}  // namespace ku::os
