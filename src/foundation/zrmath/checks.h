#pragma once

#include <initializer_list>
#include <string_view>

namespace ZR::ZRMath
{
/// Throws `std::invalid_argument`, naming the function and the argument, unless every number is finite, and so is the
/// length of the vector that they make: it is about to be taken.
void requireFinite(std::string_view function, std::string_view argument, std::initializer_list<double> numbers);
}  // namespace ZR::ZRMath
