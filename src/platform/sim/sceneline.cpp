#include "platform/sim/sceneline.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <optional>
#include <utility>

namespace ZR::Sim
{
namespace
{
struct NamedColor
{
  std::string_view name;
  Color color;
};

const NamedColor namedColors[] = {
    {"black", {28, 28, 30}},    {"gray", {128, 128, 128}},  {"white", {235, 235, 232}}, {"red", {190, 30, 35}},
    {"orange", {230, 120, 25}}, {"yellow", {235, 205, 40}}, {"green", {40, 140, 60}},   {"cyan", {40, 170, 185}},
    {"blue", {40, 75, 185}},    {"navy", {28, 36, 80}},     {"purple", {120, 45, 150}}, {"pink", {235, 130, 165}},
    {"brown", {105, 70, 45}},   {"beige", {215, 200, 170}}, {"blond", {205, 170, 105}}, {"fair", {232, 190, 165}},
    {"tan", {196, 146, 110}},   {"dark", {150, 106, 80}},   {"wood", {160, 118, 76}},   {"jeans", {62, 84, 128}},
};

std::optional<Color> hexColor(std::string_view text)
{
  if (text.size() != 7 || text.front() != '#')
    return std::nullopt;
  unsigned rgb = 0;
  const auto [end, error] = std::from_chars(text.data() + 1, text.data() + 7, rgb, 16);
  if (error != std::errc() || end != text.data() + 7)
    return std::nullopt;
  return Color(static_cast<float>(rgb >> 16), static_cast<float>(rgb >> 8 & 255U), static_cast<float>(rgb & 255U));
}

// A '#' begins a comment at a word's start, unless it is a colour.
bool beginsComment(std::string_view word)
{
  return word.front() == '#' && !hexColor(word);
}
}  // namespace

SceneLine::SceneLine(std::string_view text, std::string place_) : place(std::move(place_))
{
  constexpr std::string_view blanks = " \t\r";
  std::size_t at = 0;
  while ((at = text.find_first_not_of(blanks, at)) != std::string_view::npos)
  {
    const std::size_t end = std::min(text.find_first_of(blanks, at), text.size());
    const std::string_view word = text.substr(at, end - at);
    if (beginsComment(word))
      return;
    words.emplace_back(word);
    at = end;
  }
}

bool SceneLine::accept(std::string_view word)
{
  if (isAtEnd() || words[next] != word)
    return false;
  ++next;
  return true;
}

std::string SceneLine::takeWord(std::string_view what)
{
  if (isAtEnd())
    fail(what);
  return words[next++];
}

float SceneLine::takeNumber(std::string_view what, float low, float high)
{
  const std::string expected = fmt::format("{}, a number from {} to {}", what, low, high);
  if (isAtEnd())
    fail(expected);
  const std::string& word = words[next];
  float value = 0.0F;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || end != word.data() + word.size() || !(value >= low && value <= high))
    fail(expected);
  ++next;
  return value;
}

float SceneLine::takeAngle(std::string_view what)
{
  return takeNumber(std::string(what) + " in degrees", -360.0F, 360.0F) * std::numbers::pi_v<float> / 180.0F;
}

Color SceneLine::takeColor(std::string_view what)
{
  std::string known;
  for (const auto& [name, color] : namedColors)
  {
    if (accept(name))
      return color;
    known += std::string(name) + ", ";
  }
  const auto color = isAtEnd() ? std::nullopt : hexColor(words[next]);
  if (!color)
    fail(fmt::format("{}, one of {}or #rrggbb", what, known));
  ++next;
  return *color;
}

void SceneLine::expectEnd() const
{
  if (!isAtEnd())
    fail("the end of the line");
}

void SceneLine::fail(std::string_view expected) const
{
  throw SceneError(fmt::format("{}: expected {}, got {}", place, expected, _next()));
}

std::string SceneLine::_next() const
{
  constexpr std::size_t longest = 60;
  return isAtEnd() ? "the end of the line" : fmt::format("\"{}\"", words[next].substr(0, longest));
}
}  // namespace ZR::Sim
