#include "filters/generic/knntable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr float farthest = std::numeric_limits<float>::max();

struct Neighbour
{
  float distance;
  std::size_t place;
  std::int32_t label;
};

// Of a heap with this order, the top is the farthest neighbour, of equal ones the one in the lowest place.
bool goesLater(const Neighbour& a, const Neighbour& b)
{
  return a.distance != b.distance ? a.distance < b.distance : a.place > b.place;
}

std::int32_t mostFrequent(const std::map<std::int32_t, std::size_t>& votes)
{
  const auto fewer = [](const auto& a, const auto& b) { return a.second < b.second; };
  return std::max_element(votes.begin(), votes.end(), fewer)->first;
}
}  // namespace

KnnTable::KnnTable(std::size_t size_, std::vector<std::int32_t> labels_, std::vector<float> descriptors_)
    : size(size_), labels(std::move(labels_)), descriptors(std::move(descriptors_))
{
}

std::int32_t KnnTable::nearest(const float* descriptor) const
{
  float best = farthest;
  std::int32_t label = 0;
  for (std::size_t row = 0; row < labels.size(); ++row)
  {
    const float distance = _distance(descriptor, row);
    if (distance < best)
    {
      best = distance;
      label = labels[row];
    }
  }
  return label;
}

std::int32_t KnnTable::vote(const float* descriptor, std::size_t k) const
{
  const std::size_t places = std::min(k, labels.size());
  std::vector<Neighbour> neighbours;
  neighbours.reserve(places);
  for (std::size_t place = 0; place < places; ++place)
    neighbours.push_back({farthest, place, 0});
  std::ranges::make_heap(neighbours, goesLater);

  for (std::size_t row = 0; row < labels.size(); ++row)
  {
    const float distance = _distance(descriptor, row);
    if (!(distance < neighbours.front().distance))
      continue;
    std::ranges::pop_heap(neighbours, goesLater);
    neighbours.back().distance = distance;
    neighbours.back().label = labels[row];
    std::ranges::push_heap(neighbours, goesLater);
  }

  std::map<std::int32_t, std::size_t> votes;
  if (k > places)
    votes[0] = k - places;
  for (const Neighbour& neighbour : neighbours)
    ++votes[neighbour.label];
  return votes.empty() ? 0 : mostFrequent(votes);
}

// Eight sums side by side are what the vector registers hold; one running sum would wait for each addition.
float KnnTable::_distance(const float* descriptor, std::size_t row) const
{
  constexpr std::size_t lanes = 8;
  const float* const values = descriptors.data() + row * size;
  std::array<float, lanes> sums{};
  std::size_t i = 0;
  for (; i + lanes <= size; i += lanes)
    for (std::size_t lane = 0; lane < lanes; ++lane)
    {
      const float difference = descriptor[i + lane] - values[i + lane];
      sums[lane] += difference * difference;
    }
  for (; i < size; ++i)
  {
    const float difference = descriptor[i] - values[i];
    sums[0] += difference * difference;
  }
  return ((sums[0] + sums[4]) + (sums[1] + sums[5])) + ((sums[2] + sums[6]) + (sums[3] + sums[7]));
}
}  // namespace ZR::Filtrix::Filters
