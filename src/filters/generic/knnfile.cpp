#include "filters/generic/knntable.h"
#include "filters/generic/xmltext.h"
#include "foundation/text/split.h"

#include <boost/property_tree/ptree.hpp>
#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ZR::Filtrix::Filters
{
namespace
{
using boost::property_tree::ptree;

template <typename Number>
std::optional<Number> readNumber(std::string_view word)
{
  if (word.starts_with('+') && !word.starts_with("+-"))
    word.remove_prefix(1);
  Number number{};
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size())
    return std::nullopt;
  return number;
}

// By way of double: what is too small for a float is 0 and no error.
std::optional<float> readValue(std::string_view word)
{
  const auto number = readNumber<double>(word);
  if (!number || !(std::abs(*number) <= static_cast<double>(std::numeric_limits<float>::max())))
    return std::nullopt;
  return static_cast<float>(*number);
}

// What a message quotes, not so much that it floods the log.
std::string quote(std::string_view text)
{
  return fmt::format("\"{:.40}\"", text);
}

std::string readType(const ptree& tree)
{
  const auto text = tree.get_optional<std::string>("data.properties.type");
  if (!text)
    throw std::runtime_error("expected \"data.properties.type\", got none");
  return std::string(trim(*text));
}

std::size_t readAmount(const ptree& tree, const char* path)
{
  const auto text = tree.get_optional<std::string>(path);
  const auto amount = text ? readNumber<std::uint32_t>(trim(*text)) : std::nullopt;
  if (!amount || *amount < 1 || *amount > KnnTable::mostValues)
    throw std::runtime_error(
        fmt::format("expected \"{}\" from 1 to {}, got {}", path, KnnTable::mostValues, text ? quote(*text) : "none"));
  return *amount;
}

// Appends as many values as the text really has: memory follows the file's length, not its word.
void readRow(std::size_t number, const std::string& text, std::size_t size, std::vector<std::int32_t>* labels,
             std::vector<float>* values)
{
  const std::vector<std::string_view> words = splitWords(text);
  if (words.size() != size + 1)
    throw std::runtime_error(
        fmt::format("row {} has {} values, expected a label and {} values (\"data.properties.size\")", number,
                    words.empty() ? 0 : words.size() - 1, size));
  const auto label = readNumber<std::int32_t>(words.front());
  if (!label)
    throw std::runtime_error(
        fmt::format("row {}: expected a whole number as label, got {}", number, quote(words.front())));
  labels->push_back(*label);
  for (std::size_t i = 1; i < words.size(); ++i)
  {
    const auto value = readValue(words[i]);
    if (!value)
      throw std::runtime_error(
          fmt::format("row {}: expected a number as value {}, got {}", number, i, quote(words[i])));
    values->push_back(*value);
  }
}

std::vector<const ptree*> findRows(const ptree& tree)
{
  const auto descriptors = tree.get_child_optional("data.descriptors");
  if (!descriptors)
    throw std::runtime_error("expected \"data.descriptors\", got none");
  std::vector<const ptree*> rows;
  for (const auto& [name, child] : *descriptors)
    if (name != "<xmlattr>")
      rows.push_back(&child);
  return rows;
}
}  // namespace

std::optional<KnnTable> parseKnnTable(const std::string& text, std::string* type)
{
  const ptree tree = parseXml(text);
  *type = readType(tree);
  if (*type != "knn")
    return std::nullopt;

  const std::size_t size = readAmount(tree, "data.properties.size");
  const std::size_t count = readAmount(tree, "data.properties.count");
  if (size * count > KnnTable::mostValues)
    throw std::runtime_error(
        fmt::format("expected at most {} values, got {} rows of {}", KnnTable::mostValues, count, size));
  const std::vector<const ptree*> rows = findRows(tree);
  if (rows.size() != count)
    throw std::runtime_error(fmt::format("expected {} rows (\"data.properties.count\"), got {}", count, rows.size()));

  std::vector<std::int32_t> labels;
  std::vector<float> values;
  for (std::size_t i = 0; i < rows.size(); ++i)
    readRow(i + 1, rows[i]->data(), size, &labels, &values);
  return KnnTable(size, std::move(labels), std::move(values));
}
}  // namespace ZR::Filtrix::Filters
