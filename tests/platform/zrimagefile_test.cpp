#include "filtrix/ku/log.h"
#include "filtrix/zrimage.h"
#include "foundation/ku/temporaryfolder.h"
#include "platform/images.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

namespace ZR
{
namespace
{
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t magicAt = 0;
constexpr std::size_t widthAt = 4;
constexpr std::size_t heightAt = 8;
constexpr std::size_t layersAt = 12;
constexpr std::size_t colorSpaceAt = 16;
constexpr std::size_t cameraAt = 28;
constexpr std::size_t anglesAt = 32;
constexpr std::size_t pixelsAt = 48;

Bytes contentOf(const std::filesystem::path& path)
{
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

class ZRImageFile : public testing::Test
{
protected:
  const ku::TemporaryFolder folder;
  const std::filesystem::path path = folder.path() / "image.zri";
  const ku::log::Capture log;
};

// The file of a 2 x 2 YUV422 record.
Bytes exampleFile()
{
  const ku::TemporaryFolder folder;
  EXPECT_TRUE(randomImage(2, 2, ColorSpace::yuv422)->writeFile(folder.path() / "example.zri"));
  return contentOf(folder.path() / "example.zri");
}

void put(Bytes& file, std::size_t at, std::uint32_t number)
{
  for (std::size_t i = 0; i < 4; ++i)
    file.at(at + i) = static_cast<std::uint8_t>(number >> (8 * i));
}

TEST_F(ZRImageFile, ReadsBackWhatItWrote)
{
  for (const int colorSpace : {ColorSpace::gray, ColorSpace::yuv422, ColorSpace::rgb, ColorSpace::xyz})
  {
    const auto image = randomImage(7, 5, colorSpace);
    ASSERT_TRUE(image->writeFile(path));
    ZRImage again(1, 1, ColorSpace::gray);
    ASSERT_TRUE(again.readFile(path));
    EXPECT_EQ(again.header(), image->header());
    EXPECT_EQ(pixelsOf(again), pixelsOf(*image));
  }
}

TEST_F(ZRImageFile, KeepsItsLayout)
{
  ZRImage image(0x0102, 1, ColorSpace::gray);
  image.setTimestamp(0x0102030405060708);
  image.setCameraId(-1);
  image.setAngles({1.0F, 2.0F, -1.0F, -2.0F});
  ASSERT_TRUE(image.writeFile(path));
  Bytes head = contentOf(path);
  ASSERT_EQ(head.size(), pixelsAt + 0x0102);
  head.resize(pixelsAt);
  EXPECT_THAT(head, ElementsAre('1', 'I', 'R', 'Z', 2, 1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 8, 7, 6, 5, 4, 3, 2,
                                1, 255, 255, 255, 255, 0, 0, 128, 0x3f, 0, 0, 0, 0x40, 0, 0, 128, 0xbf, 0, 0, 0, 0xc0));
}

TEST_F(ZRImageFile, GivesAnOldFileTheUsualAngles)
{
  Bytes file = exampleFile();
  file.erase(file.begin() + anglesAt, file.begin() + pixelsAt);
  file[magicAt] = '0';
  ZRImage image(2, 2, ColorSpace::yuv422);
  ASSERT_TRUE(image.readMemory(file));
  EXPECT_EQ(image.angles(), ViewAngles{});
  EXPECT_EQ(pixelsOf(image), pixelsOf(*randomImage(2, 2, ColorSpace::yuv422)));
}

TEST_F(ZRImageFile, FillsExternalMemoryOfTheSameLayoutOnly)
{
  const Bytes file = exampleFile();
  std::array<std::uint8_t, 100> memory{};
  ZRImage fitting(2, 2, ColorSpace::yuv422, {memory.data(), 100, {}});
  EXPECT_TRUE(fitting.readMemory(file));
  EXPECT_TRUE(std::equal(file.begin() + pixelsAt, file.end(), memory.begin()));

  ZRImage other(2, 2, ColorSpace::gray, {memory.data(), 100, {}});
  const ZRImageHeader before = other.header();
  EXPECT_FALSE(other.readMemory(file));
  EXPECT_EQ(other.header(), before);
  EXPECT_THAT(log.texts("vision.zrimage"), ElementsAre("readFile: external buffer not compatible."));
}

TEST_F(ZRImageFile, RefusesEveryFileThatBreaksOff)
{
  const Bytes file = exampleFile();
  const auto before = randomImage(3, 3, ColorSpace::rgb);
  for (std::size_t size = 0; size < file.size(); ++size)
  {
    const auto image = randomImage(3, 3, ColorSpace::rgb);
    EXPECT_FALSE(image->readMemory(std::span(file).first(size))) << size << " bytes";
    EXPECT_EQ(image->header(), before->header()) << size << " bytes";
    EXPECT_EQ(pixelsOf(*image), pixelsOf(*before)) << size << " bytes";
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(size));
    EXPECT_FALSE(image->readFile(path)) << size << " bytes";
  }
  EXPECT_THAT(log.texts().back(), EndsWith("\": 55 bytes, expected 56: 2 x 2 pixels of 2 bytes behind a header of 48"));
}

TEST_F(ZRImageFile, PassesOverWhatStandsBehindThePixels)
{
  Bytes file = exampleFile();
  file.push_back(7);
  ZRImage image(1, 1, ColorSpace::gray);
  ASSERT_TRUE(image.readMemory(file));
  EXPECT_EQ(pixelsOf(image), pixelsOf(*randomImage(2, 2, ColorSpace::yuv422)));
}

TEST_F(ZRImageFile, WritesNothingThatItWouldNotRead)
{
  ZRImage image(2, 2, ColorSpace::rgb);
  image.setAngles({1.0F, std::numeric_limits<float>::quiet_NaN(), -1.0F, -1.0F});
  EXPECT_FALSE(image.writeFile(path));
  ZRImageHeader foreign = image.header();
  foreign.angles = {};
  foreign.colorSpace = 77;
  EXPECT_FALSE(ZRImage(foreign).writeFile(path));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_THAT(log.texts("vision.zrimage"),
              ElementsAre("writeFile: angles of 1, nan, -1 and -1 rad, expected finite numbers",
                          "writeFile: color space 77, expected one of the camera service's"));
}

TEST_F(ZRImageFile, TellsWhatIsNoFile)
{
  ZRImage image(1, 1, ColorSpace::gray);
  EXPECT_FALSE(image.readFile(path));
  EXPECT_THAT(log.texts().back(), EndsWith(".zri\": No such file or directory"));
  EXPECT_FALSE(image.readFile(folder.path()));
  EXPECT_THAT(log.texts().back(), EndsWith("not a regular file"));
  EXPECT_FALSE(image.writeFile(path / "below"));
  EXPECT_THAT(log.texts().back(), HasSubstr("writeFile: cannot write \""));
}

struct Hostile
{
  const char* name;
  std::size_t at;
  std::uint32_t number;
  const char* problem;
};

class HostileZriTest : public testing::TestWithParam<Hostile>
{
};

TEST_P(HostileZriTest, IsRefused)
{
  Bytes file = exampleFile();
  put(file, GetParam().at, GetParam().number);
  const ku::log::Capture log;
  // Of the file's own layout, into which its pixels would go, and of another.
  for (const int colorSpace : {ColorSpace::yuv422, ColorSpace::gray})
  {
    const auto image = randomImage(2, 2, colorSpace, 5);
    const ZRImageHeader header = image->header();
    const auto pixels = pixelsOf(*image);
    EXPECT_FALSE(image->readMemory(file));
    EXPECT_EQ(image->header(), header);
    EXPECT_EQ(pixelsOf(*image), pixels);
  }
  EXPECT_THAT(log.texts("vision.zrimage"),
              testing::AllOf(testing::SizeIs(2),
                             testing::Each(std::string("readFile: Error while reading image: ") + GetParam().problem)));
}

INSTANTIATE_TEST_SUITE_P(
    Headers, HostileZriTest,
    testing::Values(Hostile{"AnotherMagic", magicAt, 0, "not an .zri format"},
                    Hostile{"NegativeWidth", widthAt, 0x80000000U, "-2147483648 x 2 pixels, expected no negative side"},
                    Hostile{"PixelsBeyondItsEnd", heightAt, 3,
                            "56 bytes, expected 60: 2 x 3 pixels of 2 bytes behind a header of 48"},
                    Hostile{"AGiganticHeight", heightAt, 0x7fffffff,
                            "2 x 2147483647 pixels of 2 bytes, expected at most 2147483647 bytes"},
                    Hostile{"NoLayers", layersAt, 0, "0 bytes per pixel, expected 1 or more"},
                    Hostile{"OtherLayers", layersAt, 3, "3 bytes per pixel, expected 2 for color space 9 (YUV422)"},
                    Hostile{"AColorSpaceThatIsNone", colorSpaceAt, 77,
                            "color space 77, expected one of the camera service's"},
                    Hostile{"ANegativeColorSpace", colorSpaceAt, 0xffffffffU,
                            "color space -1, expected one of the camera service's"},
                    Hostile{"AnAngleThatIsNoNumber", anglesAt, 0x7fc00000U,
                            "angles of nan, 0.25, -0.125 and -0.75 rad, expected finite numbers"},
                    Hostile{"AnAngleWithoutEnd", anglesAt + 12, 0xff800000U,
                            "angles of 0.5, 0.25, -0.125 and -inf rad, expected finite numbers"},
                    Hostile{"ACameraOfMoreThan8Bits", cameraAt, 200, "camera 200, expected -128 to 127"}),
    [](const auto& test) { return std::string(test.param.name); });

struct Ppm
{
  const char* name;
  int colorSpace;
  std::string pixels;
  std::string written;
};

class PpmTest : public ZRImageFile, public testing::WithParamInterface<Ppm>
{
};

TEST_P(PpmTest, HoldsThePixelsInRgb)
{
  const auto& [name, colorSpace, pixels, written] = GetParam();
  ZRImage image(2, 1, colorSpace);
  ASSERT_EQ(image.bytes().size(), pixels.size());
  std::ranges::copy(pixels, image.data());
  ASSERT_TRUE(image.writePpm(path));
  const Bytes file = contentOf(path);
  EXPECT_EQ(std::string(file.begin(), file.end()), "P6\n2 1\n 255\n" + written);
}

INSTANTIATE_TEST_SUITE_P(
    Layers, PpmTest,
    testing::Values(Ppm{"ThreeAsTheyStand", ColorSpace::bgr, "abcdef", "abcdef"},
                    Ppm{"OneAsGray", ColorSpace::gray, "ab", "aaabbb"},
                    // Dark and bright red: R = (298 * 0 + 409 * 127) >> 8 = 202, then + 74 clipped.
                    Ppm{"PairsOfYuv", ColorSpace::yuv422, "\x10\x80\x50\xff", std::string("\xca\0\0\xff\x18\x4a", 6)}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(ZRImageFile, RefusesToWriteDepthAsPpm)
{
  EXPECT_FALSE(ZRImage(2, 1, ColorSpace::depth).writePpm(path));
  EXPECT_FALSE(ZRImage(1, 1, ColorSpace::yuv422).writePpm(path)) << "half a pair";
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_THAT(log.texts().front(), HasSubstr("writePpm: 2 pixels in color space 17 of 2 bytes, expected"));
}
}  // namespace
}  // namespace ZR
