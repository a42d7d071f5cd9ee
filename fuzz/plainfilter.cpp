#include "randomgraph.h"

#include <algorithm>

namespace ZR::Fuzz
{
namespace
{
constexpr std::int64_t modulus = 100'003;

Numbers sumOf(const Numbers& given)
{
  std::int64_t sum = 1;
  for (const Number& value : given)
    sum += value.value_or(0);
  const std::int64_t x = sum % modulus;
  return {x, x % 2 == 0 ? Number(2 * x) : std::nullopt};
}

Number firstOf(const Numbers& given)
{
  for (const Number& value : given)
  {
    if (value)
      return value;
  }
  return std::nullopt;
}

Number greatest(const Number& value, const std::string& place, States& states)
{
  if (value)
  {
    std::int64_t& state = states.emplace(place, *value).first->second;
    state = std::max(state, *value);
  }
  const auto state = states.find(place);
  return state == states.end() ? std::nullopt : Number(state->second);
}
}  // namespace

Numbers PlainFilter::evaluate(const Numbers& given, const std::string& place, States& states) const
{
  switch (kind)
  {
  case Kind::Sum:
    return sumOf(given);
  case Kind::First:
    return {firstOf(given)};
  case Kind::Greatest:
    return {greatest(given[0], place, states)};
  case Kind::Composite:
    break;
  }
  std::map<std::size_t, Numbers> done;
  Numbers results;
  for (const Exposed& output : exposed)
    results.push_back(_pull(output.node, given, place, states, done)[output.output]);
  return results;
}

const Numbers& PlainFilter::_pull(std::size_t node, const Numbers& given, const std::string& place, States& states,
                                  std::map<std::size_t, Numbers>& done) const
{
  if (const auto known = done.find(node); known != done.end())
    return known->second;
  Numbers values;
  for (const Feed& feed : nodes[node].feeds)
  {
    if (feed.from == Feed::From::Outside)
      values.push_back(given[feed.index]);
    else if (feed.from == Feed::From::Node)
      values.push_back(_pull(feed.index, given, place, states, done)[feed.output]);
    else
      values.push_back(std::nullopt);
  }
  return done[node] = nodes[node].filter->evaluate(values, place + "/" + std::to_string(node), states);
}
}  // namespace ZR::Fuzz
