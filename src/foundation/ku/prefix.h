#pragma once

#include <filesystem>

namespace ku::path
{
/// The prefix that a program or a shared library lies under: what stands before its last folder "bin", "lib", "lib64"
/// or "libexec"; else the parent of its folder. Works on names alone.
[[nodiscard]] std::filesystem::path prefixOf(const std::filesystem::path& binary);

/// The program or shared library that holds this very code; empty when the system does not tell.
[[nodiscard]] std::filesystem::path ownBinary();
}  // namespace ku::path
