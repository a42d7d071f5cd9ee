#pragma once

#include "filtrix/data.h"
#include "filtrix/region.h"

namespace ZR::Filtrix::Filters
{
/// An Object2D of a box, in pixels, both corners included, of a ColorImage or a GrayscaleImage: with what the image
/// shows there, the frame's size and the camera's field of view.
[[nodiscard]] DataPtr makeFaceObject(const Data& image, const Type::Region2& box);
}  // namespace ZR::Filtrix::Filters
