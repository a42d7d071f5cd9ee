#include "filtrix/cameraformats.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace ZR
{
namespace
{
TEST(CameraFormats, KnowEveryCodeAndEveryWordOnce)
{
  std::set<int> codes;
  std::set<std::string_view> words;
  for (const CameraResolution& row : cameraResolutions())
  {
    EXPECT_TRUE(codes.insert(row.code).second) << row.code;
    EXPECT_TRUE(row.word.empty() || words.insert(row.word).second) << row.word;
    EXPECT_EQ(findCameraResolution(row.code), &row);
    EXPECT_EQ(findCameraResolution(row.width, row.height), &row) << "two rows of one size";
    EXPECT_EQ(resolutionWord(row.code), row.word.empty() ? "unknown" : row.word);
  }
  codes.clear();
  for (const CameraColorSpace& row : cameraColorSpaces())
  {
    EXPECT_TRUE(codes.insert(row.code).second) << row.code;
    EXPECT_EQ(row.bytesPerPixel % row.channels, 0) << row.name;
  }
  EXPECT_EQ(resolutionWord(6), "unknown");
  EXPECT_EQ(findCameraColorSpace(-1), nullptr);
}

TEST(CameraFormats, PutTheTwoEyesOfAStereoPairSideBySide)
{
  int pairs = 0;
  for (const CameraResolution& pair : cameraResolutions())
  {
    if (pair.eye == CameraResolution::noEye)
      continue;
    ++pairs;
    const CameraResolution* const eye = findCameraResolution(pair.eye);
    ASSERT_NE(eye, nullptr);
    EXPECT_EQ(pair.width, 2 * eye->width) << pair.code;
    EXPECT_EQ(pair.height, eye->height) << pair.code;
    EXPECT_EQ(stereoResolution(pair.eye), pair.code);
  }
  EXPECT_EQ(pairs, 5);
  EXPECT_EQ(stereoResolution(12), 17);
  EXPECT_EQ(stereoResolution(5), 13);
  EXPECT_FALSE(stereoResolution(2));
  EXPECT_FALSE(stereoResolution(CameraResolution::noEye));
}
}  // namespace
}  // namespace ZR
