#include "platform/capture/soundfile.h"

#include "platform/capture/capturerobot.h"

#include <fmt/format.h>

#include <algorithm>

namespace ZR::Capture
{
SoundFile::SoundFile(const std::filesystem::path& path) : file(sf_open(path.c_str(), SFM_READ, &description))
{
  if (!file)
    throw CaptureError(fmt::format("{}: {}", path.string(), sf_strerror(nullptr)));
}

std::vector<std::int16_t> SoundFile::read(int samplesPerChannel)
{
  std::vector<std::int16_t> samples(static_cast<std::size_t>(samplesPerChannel) * static_cast<std::size_t>(channels()));
  const sf_count_t came = sf_readf_short(file.get(), samples.data(), samplesPerChannel);
  samples.resize(static_cast<std::size_t>(std::max<sf_count_t>(came, 0) * channels()));
  return samples;
}

void SoundFile::rewind()
{
  sf_seek(file.get(), 0, SEEK_SET);
}
}  // namespace ZR::Capture
