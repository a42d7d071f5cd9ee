#pragma once

#include "filtrix/human.h"

#include <string_view>

namespace ZR::Filtrix::Filters
{
/// Makes an observation the newest one of a track: it takes the identity, the long-lived attributes and the count of
/// detections over from the track's last one, which may be dropped afterwards. What is missing is logged and left out.
///
/// A track is confirmed by its fourth detection in a row, and stays so. The greatest height seen is kept. The name of
/// the shirt's colour is put to the vote of all detections, and the shares of its colours are smoothed.
void continueTrack(Type::Human& observation, const Type::Human& track, std::string_view category);
}  // namespace ZR::Filtrix::Filters
