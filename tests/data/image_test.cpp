#include "filtrix/image.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <cmath>
#include <functional>

namespace ZR::Filtrix::Type
{
namespace
{
// Row by row 0, 1, 2, ... modulo 251.
GrayscaleImage makeRamp(int width, int height)
{
  GrayscaleImage image(width, height, "ramp", Time(7), 1.0F, 0.8F);
  for (int i = 0; i < width * height; ++i)
    image.data()[i] = static_cast<unsigned char>(i % 251);
  return image;
}

TEST(Image, AnUnsetTimeIsReplacedAndAGivenOneKept)
{
  EXPECT_TRUE(DepthImage(2, 2, "s", Time(), 1.0F, 1.0F).timestamp().isSet());
  EXPECT_EQ(DepthImage(2, 2, "s", Time(5), 1.0F, 1.0F).timestamp(), Time(5));
}

TEST(Image, OwnershipFollowsTheConstructor)
{
  std::vector<unsigned short> pixels{1, 2, 3, 4, 5, 6};
  const DepthImage borrowed(pixels.data(), 3, 2, "s", Time(1), 1.0F, 1.0F);
  const DepthImage copied(CopyPixels(), pixels.data(), 3, 2, "s", Time(1), 1.0F, 1.0F);
  const DepthImage shared(borrowed.cvMat(), "s", Time(1), 1.0F, 1.0F);
  const DepthImage cloned = borrowed.clone();
  pixels[5] = 99;
  EXPECT_EQ(borrowed.at(2, 1), 99);
  EXPECT_EQ(shared.at(2, 1), 99);
  EXPECT_EQ(copied.at(2, 1), 6);
  EXPECT_EQ(cloned.at(2, 1), 6);
  EXPECT_EQ(cloned.timestamp(), Time(1));
}

TEST(Image, ChannelsStandSideBySide)
{
  ColorImage image(2, 2, "s", Time(1), 1.0F, 1.0F);
  image.cvMat().at<cv::Vec3b>(1, 0) = {10, 20, 30};
  EXPECT_EQ(image.at(0, 1, 0), 10);
  EXPECT_EQ(image.at(0, 1, 1), 20);
  EXPECT_EQ(image.at(0, 1, 2), 30);
}

TEST(Image, AMatrixOfAnotherTypeIsRefused)
{
  EXPECT_THROW(DepthImage(cv::Mat(2, 2, CV_8UC1), "s", Time(1), 1.0F, 1.0F), std::invalid_argument);
  EXPECT_THROW(ColorImage(-1, 2, "s", Time(1), 1.0F, 1.0F), std::invalid_argument);
  EXPECT_NO_THROW(DepthImage(cv::Mat(), "s", Time(1), 1.0F, 1.0F));
}

struct CropCase
{
  const char* name;
  float left, top, right, bottom;
  int width, height;
  int firstPixel;
};

class CropTest : public testing::TestWithParam<CropCase>
{
};

TEST_P(CropTest, RoundsClipsAndShrinksTheView)
{
  const CropCase& c = GetParam();
  const GrayscaleImage image = makeRamp(100, 100);
  const GrayscaleImage part = image.subImage(Region2({c.left, c.top}, {c.right, c.bottom}));
  EXPECT_EQ(part.width(), c.width);
  EXPECT_EQ(part.height(), c.height);
  EXPECT_EQ(part.at(0, 0), c.firstPixel % 251);
  EXPECT_FLOAT_EQ(part.horizontalFov(), 1.0F * static_cast<float>(c.width) / 100.0F);
  EXPECT_FLOAT_EQ(part.verticalFov(), 0.8F * static_cast<float>(c.height) / 100.0F);
  EXPECT_EQ(part.sourceName(), "ramp");
  EXPECT_EQ(part.timestamp(), Time(7));
  part.at(0, 0) ^= 1U;
  EXPECT_NE(part.at(0, 0), image.at(static_cast<int>(std::lround(std::max(c.left, 0.0F))),
                                    static_cast<int>(std::lround(std::max(c.top, 0.0F)))))
      << "the pixels are its own";
}

INSTANTIATE_TEST_SUITE_P(Rectangles, CropTest,
                         testing::Values(CropCase{"Rounded", 10.4F, 10.6F, 19.4F, 19.6F, 10, 10, 1110},
                                         CropCase{"ClippedOnTheRight", 90.0F, 0.0F, 500.0F, 9.0F, 10, 10, 90},
                                         CropCase{"ClippedOnTheLeft", -5.0F, -7.0F, 4.0F, 2.0F, 5, 3, 0},
                                         CropCase{"OnePixel", 3.0F, 2.0F, 3.0F, 2.0F, 1, 1, 203},
                                         CropCase{"Endless", -1e30F, -INFINITY, 1e30F, INFINITY, 100, 100, 0}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Crop, OutsideIsOpenCvsToRefuse)
{
  const GrayscaleImage image = makeRamp(100, 100);
  EXPECT_THROW((void)image.subImage(200.0F, 0.0F, 300.0F, 10.0F), cv::Exception);
  EXPECT_THROW((void)image.subImage(10.0F, 10.0F, 5.0F, 20.0F), cv::Exception);
  EXPECT_EQ(image.subImage(NAN, NAN, 9.0F, 9.0F).width(), 10) << "what is no number counts as 0";
}

TEST(ScaleDown, TakesEveryNthPixelAndKeepsTheView)
{
  const GrayscaleImage image = makeRamp(320, 240);
  const GrayscaleImage small = image.scaleDown(3);
  EXPECT_EQ(small.width(), 106);
  EXPECT_EQ(small.height(), 80);
  EXPECT_EQ(small.horizontalFov(), image.horizontalFov());
  EXPECT_EQ(small.at(0, 0), image.at(0, 0));
  for (const int factor : {0, -1, 241})
    EXPECT_THROW((void)image.scaleDown(factor), std::invalid_argument) << factor;
}

std::string messageOf(const std::function<void()>& call)
{
  try
  {
    call();
  }
  catch (const std::runtime_error& error)
  {
    return error.what();
  }
  return "nothing thrown";
}

TEST(Conversion, KnowsSixTypes)
{
  const Data model(std::make_shared<GrayscaleImage>(makeRamp(4, 2)));
  const std::pair<TypeTag, int> types[] = {{TypeTag::ColorImage, CV_8UC3},  {TypeTag::GrayscaleImage, CV_8UC1},
                                           {TypeTag::BinaryImage, CV_8UC1}, {TypeTag::LabelImage, CV_32SC1},
                                           {TypeTag::DepthImage, CV_16UC1}, {TypeTag::XYZImage, CV_32FC3}};
  for (const auto& [tag, matType] : types)
  {
    const cv::Mat mat(2, 4, matType, cv::Scalar::all(3));
    const DataPtr data = toData(tag, mat, model);
    EXPECT_EQ(data->type(), tag);
    EXPECT_EQ(toCvMat(*data).data, mat.data) << "no pixel is copied";
    EXPECT_EQ(sourceName(*data), "ramp");
    EXPECT_EQ(timestamp(*data), Time(7));
    EXPECT_EQ(data->timestamp(), Time(7));
    EXPECT_EQ(horizontalFov(*data), 1.0F);
    EXPECT_EQ(verticalFov(*data), 0.8F);
  }
  const Data matrix(std::make_shared<MatrixImage>(4, 2, "m", Time(1), 1.0F, 1.0F));
  EXPECT_EQ(messageOf([&] { (void)toCvMat(matrix); }), "Cannot convert Filtrix data to cv::Mat");
  EXPECT_EQ(messageOf([&] { (void)toData(TypeTag::MatrixImage, cv::Mat(1, 1, CV_32FC1), model); }),
            "Cannot convert Filtrix data to cv::Mat");
  EXPECT_EQ(messageOf([&] { (void)horizontalFov(matrix); }), "Cannot convert Filtrix Data Filtrix Image");
  EXPECT_EQ(messageOf([&] { (void)timestamp(Data(1)); }), "Cannot convert Filtrix Data Filtrix Image");
  EXPECT_EQ(messageOf([&] { (void)toCvMat(Data(std::shared_ptr<ColorImage>())); }),
            "Cannot convert Filtrix data to cv::Mat");
}
}  // namespace
}  // namespace ZR::Filtrix::Type
