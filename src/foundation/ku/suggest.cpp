#include "filtrix/ku/suggest.h"

#include <fmt/core.h>

#include <algorithm>
#include <numeric>

namespace ku
{
namespace
{
std::string lowerCase(std::string_view text)
{
  std::string lower(text);
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z')
      c = static_cast<char>(c - 'A' + 'a');
  return lower;
}
}  // namespace

std::size_t editDistance(std::string_view a, std::string_view b)
{
  // Rows of the table of distances between the beginnings of a and of b: two rows ago, the last one and this one.
  std::vector<std::size_t> older(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> current(b.size() + 1);
  std::iota(current.begin(), current.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i)
  {
    older.swap(last);
    last.swap(current);
    current[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j)
    {
      const std::size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      current[j] = std::min({last[j] + 1, current[j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        current[j] = std::min(current[j], older[j - 2] + 1);
    }
  }
  return current[b.size()];
}

std::optional<std::string> closest(std::string_view word, const std::vector<std::string>& known)
{
  const std::string wanted = lowerCase(word);
  std::optional<std::string> best;
  std::size_t limit = std::max<std::size_t>(1, word.size() / 3);
  for (const std::string& name : known)
  {
    // The lengths alone rule most names out, which keeps an overlong word cheap.
    const std::size_t difference = std::max(name.size(), word.size()) - std::min(name.size(), word.size());
    if (name.empty() || difference > limit)
      continue;
    const std::size_t distance = editDistance(wanted, lowerCase(name));
    if (distance > limit)
      continue;
    best = name;
    if (distance == 0)
      break;
    limit = distance - 1;
  }
  return best;
}

std::string didYouMean(std::string_view word, const std::vector<std::string>& known)
{
  const auto name = closest(word, known);
  return name ? fmt::format(" Did you mean \"{}\"?", *name) : std::string();
}
}  // namespace ku
