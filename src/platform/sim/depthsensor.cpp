#include "platform/sim/depthsensor.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ZR::Sim
{
namespace
{
/// The depth is this over a whole number, in millimetres.
constexpr float disparityConstant = 351'300.0F;

// The projector at the camera's left lights the scene. A pixel's light falls, seen from the projector, farther to the
// right the farther away it is; where something nearer to its left has fallen farther to the right, it is dark.
void castShadows(const cv::Mat1f& depth, float shift, cv::Mat1b& dark)
{
  for (int v = 0; v < depth.rows; ++v)
  {
    const float* const depths = depth.ptr<float>(v);
    unsigned char* const darkened = dark.ptr<unsigned char>(v);
    float rightmost = -std::numeric_limits<float>::max();
    for (int u = 0; u < depth.cols; ++u)
    {
      const float place = static_cast<float>(u) + shift / depths[u];
      if (place < rightmost - 1.0F)
        darkened[u] = 255;
      rightmost = std::max(rightmost, place);
    }
  }
}

bool isAtEdge(const cv::Mat1f& depth, int v, int u, float step)
{
  const float here = depth(v, u);
  const float limit = step * here;
  const auto differs = [&](int dv, int du)
  {
    const int y = std::clamp(v + dv, 0, depth.rows - 1);
    const int x = std::clamp(u + du, 0, depth.cols - 1);
    return std::abs(depth(y, x) - here) > limit;
  };
  return differs(0, 1) || differs(0, -1) || differs(1, 0) || differs(-1, 0);
}

// In millimetres, after noise and the sensor's own steps.
float disturbed(float millimetres, float deviate)
{
  const float fromNearest = millimetres / 1000.0F - 0.4F;
  const float sigma = 1.2F + 1.9F * fromNearest * fromNearest;
  const float noisy = std::max(1.0F, millimetres + sigma * deviate);
  return disparityConstant / std::max(1.0F, std::round(disparityConstant / noisy));
}
}  // namespace

cv::Mat1w measure(const DepthSensor& sensor, const cv::Mat1f& depth, const cv::Mat1b& lost, float focal,
                  const Noise& noise)
{
  cv::Mat1b dark = lost.clone();
  if (!sensor.isPerfect)
    castShadows(depth, focal * sensor.baseline, dark);
  cv::Mat1w result(depth.size());
  for (int v = 0; v < depth.rows; ++v)
  {
    const float* const depths = depth.ptr<float>(v);
    unsigned short* const out = result.ptr<unsigned short>(v);
    for (int u = 0; u < depth.cols; ++u)
    {
      out[u] = 0;
      if (dark(v, u) != 0 || !(depths[u] >= sensor.nearest && depths[u] <= sensor.farthest))
        continue;
      float millimetres = 1000.0F * depths[u];
      if (!sensor.isPerfect)
      {
        const auto index = static_cast<std::uint32_t>(v * depth.cols + u);
        if (noise.happens(index * 2 + 1, sensor.edgeLoss) && isAtEdge(depth, v, u, sensor.edgeStep))
          continue;
        millimetres = disturbed(millimetres, noise.normal(index * 2));
      }
      out[u] = static_cast<unsigned short>(std::lround(millimetres));
    }
  }
  return result;
}
}  // namespace ZR::Sim
