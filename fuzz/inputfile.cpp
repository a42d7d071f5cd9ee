#include "inputfile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace ZR::Fuzz
{
InputFile::InputFile(const std::uint8_t* data, std::size_t size) : descriptor(memfd_create("input", MFD_CLOEXEC))
{
  if (descriptor < 0 || write(descriptor, data, size) != static_cast<ssize_t>(size))
  {
    std::perror("an input as a file");
    std::exit(EXIT_FAILURE);
  }
}

InputFile::~InputFile()
{
  close(descriptor);
}

std::filesystem::path InputFile::path() const
{
  return "/proc/self/fd/" + std::to_string(descriptor);
}
}  // namespace ZR::Fuzz
