#pragma once

#include <array>
#include <string_view>

namespace ZR::Filtrix::Filters
{
/// The names that a shirt's colour is given; the number of a name is its place. Whatever is none of them, brown and
/// beige above all, counts as one more.
inline constexpr std::array<std::string_view, 11> shirtColorNames{
    "Black", "Gray", "White", "Red", "Orange", "Yellow", "Green", "Cyan", "Blue", "Purple", "Pink"};
inline constexpr std::size_t otherShirtColor = shirtColorNames.size();
inline constexpr std::size_t shirtColorCount = shirtColorNames.size() + 1;
inline constexpr std::string_view otherShirtColorName = "Brown";
}  // namespace ZR::Filtrix::Filters
