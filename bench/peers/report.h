#pragma once

#include "bench/peers/rounds.h"

#include <optional>
#include <string>
#include <vector>

namespace ZR::Filtrix::Bench
{
/// What a figure is to stay below, and what it is hoped to reach where that is said.
struct Goal
{
  double most;
  std::optional<double> aim = std::nullopt;
};

/// One line of the table. A figure without a goal is there to judge the others by.
struct Row
{
  std::string what;
  std::string against;
  double value = 0.0;
  std::string unit;  ///< "x" for a ratio
  std::optional<Goal> goal;
  std::optional<Comparison> times;  ///< behind a ratio
};

/// The figures of one run of the program, as a table that grows while they come in, or as JSON at the end.
class Report final
{
public:
  /// How the figures are told: `quiet` prints no table.
  explicit Report(bool quiet);

  void add(Row row);

  /// The ratio of a comparison.
  void add(const std::string& what, const std::string& against, const Comparison& comparison,
           std::optional<Goal> goal = std::nullopt);

  /// An array of objects: what, against, value, unit, and where they are known most, aim, ours_ns and theirs_ns.
  [[nodiscard]] std::string toJson() const;

  /// True when no figure is above its goal.
  [[nodiscard]] bool allReached() const;

private:
  const bool quiet;
  std::vector<Row> rows;
};
}  // namespace ZR::Filtrix::Bench
