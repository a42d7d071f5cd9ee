#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace ZR::Fuzz
{
/// A file in memory that holds the bytes of one input, for what reads files alone. Its name ends with its life.
class InputFile final
{
public:
  /// Ends the program when the system has no such file to give: the fault is not the input's.
  InputFile(const std::uint8_t* data, std::size_t size);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  [[nodiscard]] std::filesystem::path path() const;

private:
  const int descriptor;
};
}  // namespace ZR::Fuzz
