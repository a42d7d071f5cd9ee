#include "filtrix/zrimage.h"

#include "filtrix/ku/log.h"
#include "foundation/ku/filereplacement.h"
#include "platform/zrimagechecks.h"
#include "platform/zrimageyuv.h"

#include <boost/endian/buffers.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <optional>
#include <system_error>
#include <vector>

namespace ZR
{
namespace
{
namespace endian = boost::endian;

// The file's head as it lies in the file; version 0 ends before the angles.
struct FileHead
{
  std::array<char, 4> magic;
  endian::little_int32_buf_t width;
  endian::little_int32_buf_t height;
  endian::little_int32_buf_t nbLayers;
  endian::little_int32_buf_t colorSpace;
  endian::little_int64_buf_t timestamp;
  endian::little_int32_buf_t cameraId;
  std::array<endian::little_uint32_buf_t, 4> angles;  // floats, by their bits
};

constexpr std::size_t headSize = 48;
constexpr std::size_t headSizeVersion0 = 32;
static_assert(sizeof(FileHead) == headSize && offsetof(FileHead, angles) == headSizeVersion0);

constexpr std::array<char, 4> magicVersion0 = {'0', 'I', 'R', 'Z'};
constexpr std::array<char, 4> magicVersion1 = {'1', 'I', 'R', 'Z'};

struct Layout
{
  ZRImageHeader header;
  std::size_t pixelsAt = 0;
};

void logProblem(const std::string& name, const std::string& problem)
{
  ku::log::error(zrImageLog, "readFile: Error while reading image: {}{}", name, problem);
}

std::string sizeProblem(std::uint64_t fileSize, const Layout& layout)
{
  const auto& [header, pixelsAt] = layout;
  const std::uint64_t expected = pixelsAt + byteCount(header);
  if (fileSize >= expected)
    return {};
  return fmt::format("{} bytes, expected {}: {} x {} pixels of {} bytes behind a header of {}", fileSize, expected,
                     header.width, header.height, header.nbLayers, pixelsAt);
}

// What a record may say that a file may not: who reads a file knows the service's colour spaces only, and measures with
// the angles.
std::string contentProblem(const ZRImageHeader& header)
{
  if (findCameraColorSpace(header.colorSpace) == nullptr)
    return fmt::format("color space {}, expected one of the camera service's", header.colorSpace);
  const auto& [left, top, right, bottom] = header.angles;
  if (std::isfinite(left) && std::isfinite(top) && std::isfinite(right) && std::isfinite(bottom))
    return {};
  return fmt::format("angles of {}, {}, {} and {} rad, expected finite numbers", left, top, right, bottom);
}

// Checks everything that can be checked before memory is taken. `start` is the file's first bytes, all of its head.
std::optional<Layout> parseHead(std::span<const std::uint8_t> start, std::uint64_t fileSize, const std::string& name)
{
  FileHead file{};
  std::memcpy(&file, start.data(), std::min(start.size(), headSize));
  const bool hasAngles = file.magic == magicVersion1;
  if (!hasAngles && file.magic != magicVersion0)
  {
    ku::log::error(zrImageLog, "readFile: Error while reading image: not an .zri format");
    return std::nullopt;
  }

  Layout layout;
  layout.pixelsAt = hasAngles ? headSize : headSizeVersion0;
  ZRImageHeader& header = layout.header;
  header.width = file.width.value();
  header.height = file.height.value();
  header.nbLayers = file.nbLayers.value();
  header.colorSpace = file.colorSpace.value();
  header.timestamp = file.timestamp.value();
  header.cameraId = static_cast<std::int8_t>(file.cameraId.value());
  if (hasAngles)
  {
    const auto angle = [&](std::size_t i) { return std::bit_cast<float>(file.angles.at(i).value()); };
    header.angles = {angle(0), angle(1), angle(2), angle(3)};
  }

  std::string problem = problemOf(header);
  if (problem.empty())
    problem = contentProblem(header);
  if (problem.empty() && file.cameraId.value() != header.cameraId)
    problem = fmt::format("camera {}, expected -128 to 127", file.cameraId.value());
  if (fileSize < layout.pixelsAt)
    problem = fmt::format("{} bytes, expected a header of {}", fileSize, layout.pixelsAt);
  else if (problem.empty())
    problem = sizeProblem(fileSize, layout);
  if (problem.empty())
    return layout;
  logProblem(name, problem);
  return std::nullopt;
}

FileHead toFileHead(const ZRImageHeader& header)
{
  FileHead file{};
  file.magic = magicVersion1;
  file.width = header.width;
  file.height = header.height;
  file.nbLayers = header.nbLayers;
  file.colorSpace = header.colorSpace;
  file.timestamp = header.timestamp;
  file.cameraId = header.cameraId;
  const auto& [left, top, right, bottom] = header.angles;
  const std::array<float, 4> angles = {left, top, right, bottom};
  for (std::size_t i = 0; i < angles.size(); ++i)
    file.angles.at(i) = std::bit_cast<std::uint32_t>(angles.at(i));
  return file;
}

bool readInto(std::istream& in, std::span<std::uint8_t> bytes)
{
  in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<std::size_t>(in.gcount()) == bytes.size();
}

bool writePieces(const char* caller, const std::filesystem::path& path, std::string_view head,
                 std::span<const std::uint8_t> body)
{
  ku::FileReplacement file(path);
  file.write(head);
  file.write({reinterpret_cast<const char*>(body.data()), body.size()});
  const std::error_code error = file.commit();
  if (error)
    ku::log::error(zrImageLog, "{}: cannot write \"{}\": {}", caller, path.string(), error.message());
  return !error;
}

std::vector<std::uint8_t> grayAsRgb(std::span<const std::uint8_t> gray)
{
  std::vector<std::uint8_t> rgb(gray.size() * 3);
  for (std::size_t i = 0; i < gray.size(); ++i)
    rgb[3 * i] = rgb[3 * i + 1] = rgb[3 * i + 2] = gray[i];
  return rgb;
}
}  // namespace

bool ZRImage::readFile(const std::filesystem::path& path)
{
  const std::string name = "\"" + path.string() + "\": ";
  const auto fail = [&](const std::string& problem)
  {
    logProblem(name, problem);
    return false;
  };
  std::error_code error;
  // A pipe or a device would keep us waiting, or never end.
  if (!std::filesystem::is_regular_file(path, error))
    return fail(error ? error.message() : "not a regular file");
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  if (!in)
    return fail("cannot be opened");
  const auto fileSize = static_cast<std::uint64_t>(in.tellg());
  std::array<std::uint8_t, headSize> start{};
  in.seekg(0);
  if (!readInto(in, std::span(start).first(std::min<std::size_t>(headSize, fileSize))))
    return fail("cannot be read");

  const auto layout = parseHead(start, fileSize, name);
  if (!layout)
    return false;
  in.seekg(static_cast<std::streamoff>(layout->pixelsAt));
  return _take(layout->header,
               [&](std::span<std::uint8_t> to) { return readInto(in, to) || fail("breaks off within the pixels"); });
}

bool ZRImage::readMemory(std::span<const std::uint8_t> file)
{
  const auto layout = parseHead(file, file.size(), {});
  if (!layout)
    return false;
  return _take(layout->header,
               [&](std::span<std::uint8_t> to)
               {
                 const auto from = file.subspan(layout->pixelsAt, to.size());
                 std::copy(from.begin(), from.end(), to.begin());
                 return true;
               });
}

bool ZRImage::writeFile(const std::filesystem::path& path) const
{
  const std::string problem = contentProblem(head);
  if (!problem.empty())
  {
    ku::log::error(zrImageLog, "writeFile: {}", problem);
    return false;
  }
  const auto file = std::bit_cast<std::array<char, headSize>>(toFileHead(head));
  return writePieces("writeFile", path, {file.data(), file.size()}, bytes());
}

bool ZRImage::writePpm(const std::filesystem::path& path) const
{
  const std::string top = fmt::format("P6\n{} {}\n {}\n", head.width, head.height, 255);
  if (head.nbLayers == 3)
    return writePieces("writePpm", path, top, bytes());
  if (head.nbLayers == 1)
    return writePieces("writePpm", path, top, grayAsRgb(bytes()));

  const std::size_t size = bytes().size();
  if (head.colorSpace != ColorSpace::yuv422 || size % 4 != 0)
  {
    ku::log::error(zrImageLog,
                   "writePpm: {} pixels in color space {} of {} bytes, expected one or three bytes, or pairs of YUV422",
                   size / static_cast<std::size_t>(head.nbLayers), head.colorSpace, head.nbLayers);
    return false;
  }
  std::vector<std::uint8_t> rgb(size / 2 * 3);
  yuv422ToRgb(data(), size / 4, rgb.data());
  return writePieces("writePpm", path, top, rgb);
}
}  // namespace ZR
