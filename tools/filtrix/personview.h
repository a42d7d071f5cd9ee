#pragma once

#include "filtrix/human.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ZR::Filtrix::Tool
{
/// What is known of a person at one moment, for people and for tools to read.
struct PersonView
{
  std::uint64_t id = 0;
  std::optional<float> distance;  ///< metres on the ground, from the robot
  std::optional<float> bearing;   ///< degrees, to the left positive
  std::optional<float> height;    ///< metres
  std::optional<int> zone;
  bool visible = true;
  bool looking = false;
  bool waving = false;
  bool sitting = false;
  std::string shirt;
  double since = 0.0;               ///< seconds since the person was first seen
  std::vector<std::string> events;  ///< what has happened in this run: "appeared", "waved"
};

[[nodiscard]] PersonView viewOf(const Type::Human& human);

/// The people of a population, by id.
[[nodiscard]] std::vector<PersonView> viewsOf(const DataPtr& population);

/// A table with a line for each person.
[[nodiscard]] std::string tableOf(const std::vector<PersonView>& people);

[[nodiscard]] nlohmann::json toJson(const PersonView& person);
}  // namespace ZR::Filtrix::Tool
