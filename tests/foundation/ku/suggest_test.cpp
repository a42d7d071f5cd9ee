#include "filtrix/ku/suggest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace ku
{
namespace
{
// The definition, without the table: the last letters are kept, replaced, dropped, inserted or swapped.
std::size_t plainDistance(std::string_view a, std::string_view b)
{
  if (a.empty() || b.empty())
    return a.size() + b.size();
  const auto cut = [](std::string_view text, std::size_t letters) { return text.substr(0, text.size() - letters); };
  std::size_t best = std::min({plainDistance(cut(a, 1), b) + 1, plainDistance(a, cut(b, 1)) + 1,
                               plainDistance(cut(a, 1), cut(b, 1)) + (a.back() == b.back() ? 0 : 1)});
  if (a.size() > 1 && b.size() > 1 && a.back() == b[b.size() - 2] && b.back() == a[a.size() - 2])
    best = std::min(best, plainDistance(cut(a, 2), cut(b, 2)) + 1);
  return best;
}

TEST(EditDistance, IsThatOfTheDefinition)
{
  std::mt19937 random(11);
  const auto word = [&random]
  {
    std::string text(random() % 6, ' ');
    for (char& c : text)
      c = static_cast<char>('a' + random() % 3);
    return text;
  };
  for (int i = 0; i < 500; ++i)
  {
    const std::string a = word();
    const std::string b = word();
    ASSERT_EQ(editDistance(a, b), plainDistance(a, b)) << '"' << a << "\" and \"" << b << '"';
  }
}

TEST(DidYouMean, NamesTheFirstOfTheNearest)
{
  const std::vector<std::string> known = {"getFilters", "getFilterInputs", "getSources", "slim", "slam", "GetData"};
  EXPECT_EQ(didYouMean("getFilterz", known), " Did you mean \"getFilters\"?");
  EXPECT_EQ(didYouMean("egtSources", known), " Did you mean \"getSources\"?");
  EXPECT_EQ(didYouMean("slm", known), " Did you mean \"slim\"?");
  EXPECT_EQ(didYouMean("slamm", known), " Did you mean \"slam\"?");
  EXPECT_EQ(didYouMean("getdata", known), " Did you mean \"GetData\"?");
  EXPECT_EQ(didYouMean("setWhatever", known), "");
  EXPECT_EQ(didYouMean("", {"", "x"}), " Did you mean \"x\"?");
  EXPECT_EQ(didYouMean(std::string(100'000, 'x'), known), "");
  EXPECT_EQ(didYouMean("slim", {}), "");
}
}  // namespace
}  // namespace ku
