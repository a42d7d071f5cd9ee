#pragma once

#include "filters/perception/canvas.h"
#include "filtrix/human.h"

#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// A canvas of the size of the frame in which people or objects were found; 320x240 when nobody knows it.
[[nodiscard]] Canvas canvasFor(const std::vector<std::shared_ptr<Type::Human>>& people);
[[nodiscard]] Canvas canvasFor(const std::vector<std::shared_ptr<Type::PropertyHolder>>& objects);

/// What is seen of a body: its colour image, or its depth in the person's colour.
void drawBody(Canvas& canvas, const Type::Human& human);
void drawObject(Canvas& canvas, const Type::PropertyHolder& object, const cv::Scalar& color);

/// The box of a body in the frame; nothing known gives an empty one.
[[nodiscard]] Type::Region2 boxOf(const Type::Human& human);

/// "3  1.82 m / 1.71 m high / zone 2 / looking, waving": what is known of a person, in short lines.
[[nodiscard]] std::string captionOf(const Type::Human& human);
}  // namespace ZR::Filtrix::Filters
