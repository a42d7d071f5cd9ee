#include "bench/peers/report.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace ZR::Filtrix::Bench
{
namespace
{
std::string_view verdict(const Row& row)
{
  if (!row.goal)
    return "";
  if (row.goal->aim && row.value <= *row.goal->aim)
    return "aim reached";
  return row.value <= row.goal->most ? "reached" : "missed";
}

void print(const Row& row)
{
  std::string goal = row.goal ? fmt::format("{:g}", row.goal->most) : std::string();
  if (row.goal && row.goal->aim)
    goal += fmt::format(" ({:g})", *row.goal->aim);
  const std::string times =
      row.times ? fmt::format("{:.0f} : {:.0f} ns", row.times->ours, row.times->theirs) : std::string();
  fmt::print("{:<44} {:<26} {:>9.3f} {:<3} {:<13} {:<12} {}\n", row.what, row.against, row.value, row.unit, goal,
             verdict(row), times);
  std::fflush(stdout);
}
}  // namespace

Report::Report(bool quiet_) : quiet(quiet_)
{
  if (!quiet)
    fmt::print("{:<44} {:<26} {:>9} {:<3} {:<13} {:<12} {}\n", "what", "against", "figure", "", "goal (aim)", "",
               "ours : theirs");
}

void Report::add(Row row)
{
  if (!quiet)
    print(row);
  rows.push_back(std::move(row));
}

void Report::add(const std::string& what, const std::string& against, const Comparison& comparison,
                 std::optional<Goal> goal)
{
  add({what, against, comparison.ratio, "x", goal, comparison});
}

std::string Report::toJson() const
{
  auto all = nlohmann::json::array();
  for (const Row& row : rows)
  {
    nlohmann::json entry{{"what", row.what}, {"against", row.against}, {"value", row.value}, {"unit", row.unit}};
    if (row.goal)
    {
      entry["most"] = row.goal->most;
      if (row.goal->aim)
        entry["aim"] = *row.goal->aim;
    }
    if (row.times)
    {
      entry["ours_ns"] = row.times->ours;
      entry["theirs_ns"] = row.times->theirs;
    }
    all.push_back(std::move(entry));
  }
  return all.dump(2);
}

bool Report::allReached() const
{
  return std::ranges::all_of(rows, [](const Row& row) { return !row.goal || row.value <= row.goal->most; });
}
}  // namespace ZR::Filtrix::Bench
