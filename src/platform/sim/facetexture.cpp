#include "platform/sim/facetexture.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace ZR::Sim
{
namespace
{
constexpr int side = 128;  // pixels

cv::Scalar shade(const Color& color, float factor)
{
  const auto channel = [factor](float value) { return static_cast<double>(std::min(255.0F, value * factor)); };
  return {channel(color[0]), channel(color[1]), channel(color[2])};
}

// Coordinates of the ball: y from 1 at the picture's left to -1, z from 1 at its top to -1.
cv::Point pixelOf(float y, float z)
{
  return {cvRound((1.0F - y) * 0.5F * side), cvRound((1.0F - z) * 0.5F * side)};
}

cv::Size sizeOf(float y, float z)
{
  return {cvRound(y * 0.5F * side), cvRound(z * 0.5F * side)};
}

void paintOval(cv::Mat3b& picture, float y, float z, float halfY, float halfZ, const cv::Scalar& color)
{
  cv::ellipse(picture, pixelOf(y, z), sizeOf(halfY, halfZ), 0.0, 0.0, 360.0, color, cv::FILLED, cv::LINE_AA);
}

void blur(cv::Mat3b& picture, double sigma)
{
  cv::GaussianBlur(picture, picture, {}, sigma);
}

// The tones and places are those that a detector trained on photographs takes for faces, tried out for skins and hair
// from light to dark, near and far, straight and turned by 15 degrees.
cv::Mat3b paint(const Color& skin, const Color& hair)
{
  constexpr float eyeY = 0.42F;
  constexpr float eyeZ = -0.11F;
  constexpr float mouthZ = -0.59F;
  cv::Mat3b picture(side, side);
  picture.setTo(shade(skin, 1.0F));
  // Broad lights and shadows first, so that they can be blurred without the features.
  paintOval(picture, 0.0F, 0.38F, 0.55F, 0.22F, shade(skin, 1.31F));
  for (const float y : {eyeY, -eyeY})
  {
    paintOval(picture, y, eyeZ + 0.03F, 0.27F, 0.15F, shade(skin, 0.50F));
    paintOval(picture, y * 1.1F, -0.24F, 0.22F, 0.15F, shade(skin, 1.20F));
    paintOval(picture, 0.42F * y, -0.26F, 0.07F, 0.18F, shade(skin, 0.85F));
  }
  paintOval(picture, 0.0F, -0.05F, 0.10F, 0.32F, shade(skin, 0.99F));
  paintOval(picture, 0.0F, -0.72F, 0.30F, 0.06F, shade(skin, 0.85F));
  paintOval(picture, 0.0F, -0.84F, 0.25F, 0.12F, shade(skin, 1.06F));
  blur(picture, 0.035 * side);
  for (const float y : {eyeY, -eyeY})
  {
    paintOval(picture, y, eyeZ + 0.17F, 0.24F, 0.047F, shade(hair, 0.25F));
    paintOval(picture, y, eyeZ, 0.17F, 0.065F, shade(skin, 1.13F));
    paintOval(picture, y, eyeZ, 0.085F, 0.075F, shade(skin, 0.28F));
    paintOval(picture, y, eyeZ + 0.05F, 0.19F, 0.03F, shade(skin, 0.30F));
    paintOval(picture, 0.22F * y, -0.37F, 0.05F, 0.03F, shade(skin, 0.38F));
  }
  const Color lips(1.07F * skin[0], 0.69F * skin[1], 0.73F * skin[2]);
  paintOval(picture, 0.0F, mouthZ, 0.27F, 0.035F, shade(lips, 0.72F));
  paintOval(picture, 0.0F, mouthZ - 0.06F, 0.22F, 0.04F, shade(lips, 1.0F));
  blur(picture, 0.013 * side);
  return picture;
}
}  // namespace

FaceTexture::FaceTexture(const Color& skin, const Color& hair_) : hair(hair_), picture(paint(skin, hair_)) {}

bool FaceTexture::isFace(const cv::Vec3f& point)
{
  // The hairline is higher in the middle; ears end the face at the sides.
  return point[0] > 0.15F && point[2] < 0.62F - 0.35F * point[1] * point[1];
}

Color FaceTexture::at(const cv::Vec3f& point) const
{
  if (!isFace(point) && !(point[0] > -0.25F && point[2] < -0.05F))
    return hair;
  const float column = std::clamp((1.0F - point[1]) * 0.5F * side - 0.5F, 0.0F, side - 1.001F);
  const float row = std::clamp((1.0F - point[2]) * 0.5F * side - 0.5F, 0.0F, side - 1.001F);
  const auto x = static_cast<int>(column);
  const auto y = static_cast<int>(row);
  const float fx = column - static_cast<float>(x);
  const float fy = row - static_cast<float>(y);
  const cv::Vec3b* const upper = picture.ptr<cv::Vec3b>(y) + x;
  const cv::Vec3b* const lower = picture.ptr<cv::Vec3b>(y + 1) + x;
  Color color;
  for (int channel = 0; channel < 3; ++channel)
  {
    const float above =
        static_cast<float>(upper[0][channel]) * (1.0F - fx) + static_cast<float>(upper[1][channel]) * fx;
    const float below =
        static_cast<float>(lower[0][channel]) * (1.0F - fx) + static_cast<float>(lower[1][channel]) * fx;
    color[channel] = above * (1.0F - fy) + below * fy;
  }
  return color;
}
}  // namespace ZR::Sim
