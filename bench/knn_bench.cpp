#include "filters/generic/knntable.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <random>
#include <string>
#include <vector>

namespace ZR::Filtrix::Bench
{
namespace
{
using Filters::KnnTable;

constexpr std::size_t rows = 10'000;
constexpr std::size_t size = 64;

std::vector<float> randomValues(std::size_t count)
{
  std::mt19937 random(1);
  std::vector<float> values(count);
  for (float& value : values)
    value = std::uniform_real_distribution(0.0F, 1.0F)(random);
  return values;
}

KnnTable makeTable()
{
  std::vector<std::int32_t> labels(rows);
  for (std::size_t row = 0; row < rows; ++row)
    labels[row] = static_cast<std::int32_t>(row % 10);
  return {size, labels, randomValues(rows * size)};
}

// One classification; the argument is how many neighbours vote.
void classify(benchmark::State& state)
{
  const KnnTable table = makeTable();
  const std::vector<float> descriptor = randomValues(size);
  const auto k = static_cast<std::size_t>(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(k < 2 ? table.nearest(descriptor.data()) : table.vote(descriptor.data(), k));
  state.SetItemsProcessed(static_cast<std::int64_t>(rows) * state.iterations());
}

// The table from its text, about four megabytes.
void parse(benchmark::State& state)
{
  const std::vector<float> values = randomValues(rows * size);
  std::string text = fmt::format("<data><properties><type>knn</type><size>{}</size><count>{}</count></properties>\n"
                                 "<descriptors>\n",
                                 size, rows);
  for (std::size_t row = 0; row < rows; ++row)
  {
    text += fmt::format("<descriptor>{}", row % 10);
    for (std::size_t i = 0; i < size; ++i)
      text += fmt::format(" {:.3f}", values[row * size + i]);
    text += "</descriptor>\n";
  }
  text += "</descriptors></data>";
  for (auto _ : state)
  {
    std::string type;
    benchmark::DoNotOptimize(Filters::parseKnnTable(text, &type));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

BENCHMARK(classify)->Arg(1)->Arg(5)->Arg(100)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(parse)->Unit(benchmark::kMillisecond);
}  // namespace
}  // namespace ZR::Filtrix::Bench
