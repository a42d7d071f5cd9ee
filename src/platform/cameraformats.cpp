#include "filtrix/cameraformats.h"

#include <algorithm>

namespace ZR
{
namespace
{
constexpr int single = CameraResolution::noEye;

constexpr CameraResolution resolutions[] = {
    {"QQQVGA", 7, 80, 60, single},
    {"QQVGA", 0, 160, 120, single},
    {"QVGA", 1, 320, 240, single},
    {"VGA", 2, 640, 480, single},
    {"4VGA", 3, 1280, 960, single},
    {"16VGA", 4, 2560, 1920, single},
    {"QQQQ720p", 12, 80, 45, single},
    {"QQQ720p", 11, 160, 90, single},
    {"QQ720p", 10, 320, 180, single},
    {"Q720p", 9, 640, 360, single},
    {"720p", 5, 1280, 720, single},
    {"", 17, 160, 45, 12},
    {"", 16, 320, 90, 11},
    {"", 15, 640, 180, 10},
    {"", 14, 1280, 360, 9},
    {"", 13, 2560, 720, 5},
};

constexpr CameraColorSpace colorSpaces[] = {
    {ColorSpace::gray, "Gray", 1, 1},
    {ColorSpace::yuv422, "YUV422", 2, 2},
    {10, "YUV", 3, 3},
    {ColorSpace::rgb, "RGB", 3, 3},
    {ColorSpace::bgr, "BGR", 3, 3},
    {ColorSpace::depth, "Depth", 2, 1},
    {ColorSpace::xyz, "XYZ", 12, 3},
    {ColorSpace::infrared, "Infrared", 2, 1},
    {ColorSpace::distance, "Distance", 2, 1},
    {ColorSpace::label, "Label", 4, 1},
    {ColorSpace::planarYuv444, "YYYUUUVVV", 3, 3},
    {ColorSpace::planarYuv422, "YYYYUUVV", 2, 2},
};

template <typename Row, std::size_t size, typename Test>
constexpr const Row* find(const Row (&table)[size], Test test) noexcept
{
  const Row* const found = std::find_if(std::begin(table), std::end(table), test);
  return found == std::end(table) ? nullptr : found;
}
}  // namespace

std::span<const CameraResolution> cameraResolutions() noexcept
{
  return resolutions;
}

std::span<const CameraColorSpace> cameraColorSpaces() noexcept
{
  return colorSpaces;
}

const CameraResolution* findCameraResolution(int code) noexcept
{
  return find(resolutions, [=](const CameraResolution& row) { return row.code == code; });
}

const CameraColorSpace* findCameraColorSpace(int code) noexcept
{
  return find(colorSpaces, [=](const CameraColorSpace& row) { return row.code == code; });
}

const CameraResolution* findCameraResolution(int width, int height) noexcept
{
  return find(resolutions, [=](const CameraResolution& row) { return row.width == width && row.height == height; });
}

std::string_view resolutionWord(int code) noexcept
{
  const CameraResolution* const row = findCameraResolution(code);
  return row == nullptr || row->word.empty() ? "unknown" : row->word;
}

std::optional<int> stereoResolution(int eye) noexcept
{
  if (eye == single)
    return std::nullopt;
  const CameraResolution* const pair = find(resolutions, [=](const CameraResolution& row) { return row.eye == eye; });
  return pair == nullptr ? std::nullopt : std::optional<int>(pair->code);
}
}  // namespace ZR
