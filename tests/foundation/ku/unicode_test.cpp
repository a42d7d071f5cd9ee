#include "filtrix/ku/unicode.h"

#include "filtrix/ku/os.h"
#include "foundation/ku/temporaryfolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <random>
#include <stdexcept>

namespace ku
{
namespace
{
constexpr auto npos = std::string_view::npos;
#define MARK "\xEF\xBF\xBD"

struct Utf8Case
{
  const char* name;
  std::string text;
  std::size_t bad;
  std::string mended;
};

class Utf8Test : public testing::TestWithParam<Utf8Case>
{
};

TEST_P(Utf8Test, IsTrueToTheBorders)
{
  const auto& [name, text, bad, mended] = GetParam();
  EXPECT_EQ(findInvalidUtf8(text), bad);
  EXPECT_EQ(isValidUtf8(text), bad == npos);
  EXPECT_EQ(toValidUtf8(text), mended);
}

INSTANTIATE_TEST_SUITE_P(Texts, Utf8Test,
                         testing::Values(Utf8Case{"Empty", "", npos, ""},
                                         Utf8Case{"AllWidths", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\xA4\x96", npos,
                                                  "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\xA4\x96"},
                                         Utf8Case{"LastCharacter", "\xF4\x8F\xBF\xBF", npos, "\xF4\x8F\xBF\xBF"},
                                         Utf8Case{"BeyondTheLast", "\xF4\x90\x80\x80", 0, MARK MARK MARK MARK},
                                         Utf8Case{"Overlong", "a\xC0\xAF", 1, "a" MARK MARK},
                                         Utf8Case{"Surrogate", "ab\xED\xA0\x80", 2, "ab" MARK MARK MARK},
                                         Utf8Case{"CutShort", "\xE2\x82\xAC\xE2\x82", 3, "\xE2\x82\xAC" MARK MARK},
                                         Utf8Case{"LoneFollower", "\x80z", 0, MARK "z"}),
                         [](const auto& row) { return std::string(row.param.name); });
#undef MARK

TEST(Utf8, MendsEveryTextToAValidOne)
{
  std::mt19937 random(7);
  std::uniform_int_distribution<int> byte(0, 255);
  for (int i = 0; i < 2000; ++i)
  {
    std::string text(static_cast<std::size_t>(i % 23), ' ');
    for (char& c : text)
      c = static_cast<char>(byte(random));
    const std::string mended = toValidUtf8(text);
    ASSERT_TRUE(isValidUtf8(mended)) << "round " << i;
    ASSERT_EQ(mended == text, isValidUtf8(text)) << "round " << i;
  }
}

TEST(UnicodeFacet, KeepsEveryByteOfAPath)
{
  const TemporaryFolder folder;
  const std::string name = "latin\xE9 and \xF0\x9F\xA4\x96";
  const std::filesystem::path path = folder.path() / unicodeFacet.toPath(name);
  ASSERT_TRUE(os::fopen(path, "w"));
  EXPECT_TRUE(os::fopen(path, "rb"));
  EXPECT_EQ(unicodeFacet.toText(path.filename()), name);
}

TEST(UnicodeFacet, RefusesAZeroByte)
{
  try
  {
    (void)unicodeFacet.toPath({"a.fxs\0.txt", 10});
    FAIL();
  }
  catch (const std::invalid_argument& error)
  {
    EXPECT_STREQ(error.what(), "a path holds a zero byte at offset 5, behind \"a.fxs\"");
  }
}

TEST(Fopen, SaysWhyItFails)
{
  const TemporaryFolder folder;
  EXPECT_FALSE(os::fopen(folder.path() / "absent", "r"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(os::fopen(folder.path(), "r"));
  EXPECT_EQ(errno, EISDIR);
  EXPECT_FALSE(os::fopen(folder.write("a").native() + std::string("\0b", 2), "r"));
  EXPECT_EQ(errno, EINVAL);
}
}  // namespace
}  // namespace ku
