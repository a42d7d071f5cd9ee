#include "sources/vision/calibration.h"

#include "filtrix/ku/log.h"
#include "platform/robot.h"
#include "sources/calibrations.h"
#include "support/fulldisk.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace vision
{
namespace
{
using Test::equal;
using Test::straightCamera;
using testing::HasSubstr;
using testing::StartsWith;

class CalibrationTest : public testing::Test
{
protected:
  CalibrationTest()
      : file(testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() + "_calibration.yml")
  {
    // Parameterized names have a slash.
    std::ranges::replace(file.begin() + static_cast<std::ptrdiff_t>(testing::TempDir().size()), file.end(), '/', '_');
  }

  ~CalibrationTest() override { std::filesystem::remove(file); }

  std::string file;
  ku::log::Capture log;
};

void expectEqual(const Calibration& a, const Calibration& b)
{
  EXPECT_EQ(a.size(), b.size());
  EXPECT_TRUE(equal(a.cameraMatrix, b.cameraMatrix));
  EXPECT_TRUE(equal(a.distortion, b.distortion));
  EXPECT_TRUE(equal(a.rectificationMatrix, b.rectificationMatrix));
  EXPECT_TRUE(equal(a.projectionMatrix, b.projectionMatrix));
}

TEST_F(CalibrationTest, ComesBackFromItsFileNumberByNumber)
{
  cv::RNG random(7);
  for (const int coefficients : {4, 5, 8, 12, 14})
  {
    Calibration saved = straightCamera(640, 480, 500);
    saved.distortion.create(coefficients, 1, coefficients % 8 == 0 ? CV_32FC1 : CV_64FC1);
    for (cv::Mat* const matrix :
         {&saved.cameraMatrix, &saved.distortion, &saved.rectificationMatrix, &saved.projectionMatrix})
      random.fill(*matrix, cv::RNG::UNIFORM, -1000.0, 1000.0);
    saved.save(file);
    Calibration loaded;
    loaded.load(file);
    expectEqual(loaded, saved);
  }
  EXPECT_THAT(log.texts("vision.calibration"),
              testing::Contains(StartsWith("Load calibration file: \"" + file + "\"")));
}

TEST_F(CalibrationTest, CopiesShareNoMatrix)
{
  const Calibration original = straightCamera(640, 480, 500);
  Calibration copy(original);
  copy.cameraMatrix.at<float>(0, 0) = 1.0F;
  copy = original;
  copy.projectionMatrix.at<float>(0, 0) = 1.0F;
  expectEqual(original, straightCamera(640, 480, 500));
}

TEST_F(CalibrationTest, ScalesWithThePicture)
{
  Calibration full = straightCamera(640, 480, 500, 0.06F);
  full.distortion.setTo(0.25);
  const Calibration half = full.scaleTo(320, 240);
  Calibration expected = straightCamera(320, 240, 250, 0.06F);
  expected.distortion.setTo(0.25);
  expectEqual(half, expected);
  expectEqual(half.scaleTo(640, 480), full);
}

TEST_F(CalibrationTest, KeepsItsAspectRatio)
{
  const Calibration camera = straightCamera(640, 480, 500);
  const std::string text = "Invalid aspect ratio for new calibration";
  EXPECT_EQ(ZR::errorOf([&] { (void)camera.scaleTo(320, 200); }), text);
  EXPECT_THAT(log.texts(), testing::ElementsAre(text));
  EXPECT_THAT(ZR::errorOf([&] { (void)camera.scaleTo(0, 0); }), HasSubstr("cannot scale 640 x 480 to 0 x 0"));
  EXPECT_THAT(ZR::errorOf([&] { (void)Calibration().scaleTo(320, 200); }), HasSubstr("cannot scale 0 x 0"));
}

TEST_F(CalibrationTest, MayHaveLongNumbersInCommentsAndNames)
{
  straightCamera(640, 480, 500).save(file);
  std::ofstream(file, std::ios::app) << "camera4294967936: 12345678901.5 # taken at 20240102030405\n";
  Calibration loaded;
  loaded.load(file);
  expectEqual(loaded, straightCamera(640, 480, 500));
}

TEST_F(CalibrationTest, LeavesTheFileOfBeforeWhenTheDiskIsFull)
{
  straightCamera(640, 480, 500).save(file);
  Calibration other = straightCamera(320, 240, 250);
  other.distortion = cv::Mat::ones(1, 14, CV_64FC1);
  {
    const ZR::Test::FullDisk disk(500);
    EXPECT_EQ(ZR::errorOf([&] { other.save(file); }), "Invalid calibration save file:\"" + file + "\": File too large");
  }
  EXPECT_THAT(log.texts("vision.calibration"),
              testing::Contains(StartsWith("Cannot write calibration file \"" + file)));
  EXPECT_FALSE(std::filesystem::exists(file + ".part"));
  Calibration loaded;
  loaded.load(file);
  expectEqual(loaded, straightCamera(640, 480, 500));
  other.save(file);
  loaded.load(file);
  expectEqual(loaded, other);
}

TEST_F(CalibrationTest, TellsWhatItCannotOpen)
{
  const Calibration camera = straightCamera(640, 480, 500);
  EXPECT_EQ(ZR::errorOf([&] { Calibration().load("/nowhere/at.yml"); }),
            "Invalid calibration file: \"/nowhere/at.yml\"");
  EXPECT_EQ(ZR::errorOf([&] { camera.save("/nowhere/at.yml"); }), "Invalid calibration save file:\"/nowhere/at.yml\"");
  EXPECT_THAT(log.texts("vision.calibration"),
              testing::ElementsAre(StartsWith("Cannot read calibration file \"/nowhere/at.yml"),
                                   StartsWith("Cannot write calibration file \"/nowhere/at.yml")));
}

// A file with one thing wrong: `text` in place of what stands under `key`.
struct BadFile
{
  const char* name;
  const char* key;
  std::string text;
  const char* complaint;
};

std::string matrixText(const char* key, int rows, int cols, const char* type, int count)
{
  std::string data;
  for (int i = 0; i < count; ++i)
    data += i == 0 ? "1." : ", 1.";
  return fmt::format("{}: !!opencv-matrix\n   rows: {}\n   cols: {}\n   dt: {}\n   data: [ {} ]\n", key, rows, cols,
                     type, data);
}

std::string repeat(const char* text, int count)
{
  std::string all;
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

class CalibrationFileTest : public CalibrationTest, public testing::WithParamInterface<BadFile>
{
};

TEST_P(CalibrationFileTest, IsRefusedAndChangesNothing)
{
  std::string text = "%YAML:1.0\n---\n";
  const std::pair<const char*, std::string> entries[] = {
      {"width", "width: 640\n"},
      {"height", "height: 480\n"},
      {"cameraMatrix", matrixText("cameraMatrix", 3, 3, "f", 9)},
      {"distortion", matrixText("distortion", 1, 5, "d", 5)},
      {"rectificationMatrix", matrixText("rectificationMatrix", 3, 3, "d", 9)},
      {"projectionMatrix", matrixText("projectionMatrix", 3, 4, "f", 12)}};
  for (const auto& [key, entry] : entries)
    text += std::string_view(GetParam().key) == key ? GetParam().text : entry;
  std::ofstream(file) << text;

  Calibration camera = straightCamera(320, 240, 100);
  EXPECT_THAT(ZR::errorOf([&] { camera.load(file); }), HasSubstr(GetParam().complaint));
  expectEqual(camera, straightCamera(320, 240, 100));
  EXPECT_THAT(log.texts("vision.calibration"),
              testing::ElementsAre(StartsWith("Cannot read calibration file \"" + file)));
}

INSTANTIATE_TEST_SUITE_P(
    Files, CalibrationFileTest,
    testing::Values(
        BadFile{"NoWidth", "width", "", "\"width\": expected a whole number from 1 to 16384, came nothing"},
        BadFile{"TextAsWidth", "width", "width: \"abc\"\n", "came something else"},
        BadFile{"FractionAsHeight", "height", "height: 480.5\n", "came 480.5"},
        BadFile{"NoHeightAtAll", "height", "height: 0\n", "came 0"},
        BadFile{"GreatHeight", "height", "height: 16385\n", "came 16385"},
        BadFile{"WidthThatWraps", "width", "width: 4294967936\n",
                "expected whole numbers of 32 bits, came \"4294967936\""},
        BadFile{"WidthThatWrapsFromBelow", "width", "width: -4294966656\n", "came \"4294966656\""},
        BadFile{"HexadecimalWidthThatWraps", "width", "width:   0x100000280 # QVGA\n", "came \"0x100000280\""},
        BadFile{"OctalWidthThatWraps", "width", "width:\n   040000001200\n", "came \"040000001200\""},
        BadFile{"WidthBehindAComment", "width", "# 1\rwidth: 4294967936\n", "came \"4294967936\""},
        BadFile{"HeightOf14Digits", "height", "height: 99999999999999\n", "came \"99999999999999\""},
        BadFile{"HeightBeyond64Bits", "height", "height: 18446744073709552096\n", "came \"18446744073709552096\""},
        BadFile{"WidthWithAnExponent", "width", "width: 1e300\n",
                "\"width\": expected a whole number from 1 to 16384, came 1e+300"},
        BadFile{"NegativeWidth", "width", "width: -640\n", "came -640"},
        BadFile{"ElementThatWraps", "cameraMatrix",
                "cameraMatrix: !!opencv-matrix\n   rows: 3\n   cols: 3\n   dt: f\n"
                "   data: [ 4294967297, 0., 1., 0., 1., 1., 0., 0., 1. ]\n",
                "came \"4294967297\""},
        BadFile{"NoMatrix", "cameraMatrix", "", "\"cameraMatrix\": expected a matrix, came nothing"},
        BadFile{"NumberAsMatrix", "cameraMatrix", "cameraMatrix: 3\n", "\"cameraMatrix\": expected a matrix"},
        BadFile{"OtherShape", "projectionMatrix", matrixText("projectionMatrix", 3, 3, "f", 9), "expected 3 x 4"},
        BadFile{"OtherType", "cameraMatrix", matrixText("cameraMatrix", 3, 3, "d", 9), "of type \"f\", came"},
        BadFile{"Bytes", "distortion", matrixText("distortion", 1, 5, "u", 5), "of type \"f\" or \"d\", came"},
        BadFile{"SixCoefficients", "distortion", matrixText("distortion", 1, 6, "d", 6), "came 1 x 6"},
        BadFile{"MoreThanThereIsMemory", "distortion", matrixText("distortion", 2147483647, 2147483647, "d", 1),
                "came 2147483647 x 2147483647"},
        BadFile{"TooFewNumbers", "cameraMatrix", matrixText("cameraMatrix", 3, 3, "f", 8), "rror"},
        BadFile{"NotANumber", "cameraMatrix",
                "cameraMatrix: !!opencv-matrix\n   rows: 3\n   cols: 3\n   dt: f\n"
                "   data: [ .Nan, 1., 1., 1., 1., 1., 1., 1., 1. ]\n",
                "expected finite numbers"},
        BadFile{"BinaryData", "cameraMatrix",
                "cameraMatrix: !!opencv-matrix\n   rows: 3\n   cols: 3\n   dt: f\n   data:!!binary 5., 1. ]\n",
                "expected no type but \"!!opencv-matrix\", came \"!!binary\""},
        BadFile{"NotYaml", "width", "<<<>>>\n", "expected one YAML document"},
        BadFile{"NotYamlLater", "height", "<<<>>>\n", "rror"},
        BadFile{"KeysThatDoNotStartTheirLines", "width", "   width: 640\n--- : 2\n", "came \"   width: 640\""},
        BadFile{"AnotherDocument", "height", "--- - 3\nheight: 480\n", "came \"--- - 3\""},
        BadFile{"MoreBehindTheEnd", "height", "height: 480\n...\n- 3\n", "came \"- 3\""},
        BadFile{"DeepBrackets", "width", "width: " + repeat("[", 200'000) + "\n", "levels of nesting"},
        BadFile{"DeepLists", "width", "width:\n  " + repeat("- ", 200'000) + "\n", "levels of nesting"},
        BadFile{"DeepKeys", "width", "width:\n  " + repeat("a: ", 200'000) + "\n", "levels of nesting"},
        BadFile{"TooLarge", "width", repeat("# a line of a comment\n", 60'000), "at most 1048576 bytes"}),
    [](const auto& row) { return std::string(row.param.name); });
}  // namespace
}  // namespace vision
