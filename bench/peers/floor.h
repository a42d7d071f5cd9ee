#pragma once

#include "bench/peers/rounds.h"

#include <cstddef>

namespace ZR::Filtrix::Bench
{
/// What every hop is held against, the least that one needs: a virtual call through a shared pointer, which makes one
/// fresh shared value, takes one lock that nobody else wants, and makes and erases one entry of a hash map. The map
/// lives as long as the stage and has room beforehand.
Loop makeFloor(std::size_t stages);
}  // namespace ZR::Filtrix::Bench
