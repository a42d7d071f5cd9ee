#pragma once

#include <algorithm>

namespace ZR::Filtrix::Filters
{
/// A colour as hue in degrees, 0 to 360, and saturation and value, 0 to 1. A gray has hue 0. Source: A. R. Smith,
/// "Color Gamut Transform Pairs", SIGGRAPH 1978.
struct Hsv
{
  float hue = 0.0F;
  float saturation = 0.0F;
  float value = 0.0F;

  Hsv(unsigned char red, unsigned char green, unsigned char blue)
  {
    const int most = std::max({red, green, blue});
    const int span = most - std::min({red, green, blue});
    value = static_cast<float>(most) / 255.0F;
    if (span == 0)
      return;
    saturation = static_cast<float>(span) / static_cast<float>(most);
    const auto part = [&](int first, int second, float start)
    { return start + 60.0F * static_cast<float>(first - second) / static_cast<float>(span); };
    if (most == red)
      hue = part(green, blue, green < blue ? 360.0F : 0.0F);
    else
      hue = most == green ? part(blue, red, 120.0F) : part(red, green, 240.0F);
  }
};
}  // namespace ZR::Filtrix::Filters
