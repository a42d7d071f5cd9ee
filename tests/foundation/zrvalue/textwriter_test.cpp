#include "filtrix/zrvalue.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace ZR
{
namespace
{
struct TextCase
{
  ZRValue value;
  std::string_view text;
};

class ZRValueTextTest : public testing::TestWithParam<TextCase>
{
};

TEST_P(ZRValueTextTest, IsWrittenAndReadBack)
{
  const auto& [value, text] = GetParam();
  EXPECT_EQ(value.toText(), text);
  EXPECT_EQ(ZRValue::fromText(text), value);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, ZRValueTextTest,
    testing::Values(TextCase{nullptr, "null"}, TextCase{true, "true"}, TextCase{false, "false"}, TextCase{-43, "-43"},
                    TextCase{std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
                    TextCase{std::numeric_limits<std::int64_t>::max(), "9223372036854775807"}, TextCase{1.0, "1.0"},
                    TextCase{-0.0, "-0.0"}, TextCase{0.1, "0.1"}, TextCase{1e300, "1e+300"}, TextCase{5e-324, "5e-324"},
                    TextCase{std::nextafter(1.0, 2.0), "1.0000000000000002"}, TextCase{1.5F, "1.5f"},
                    TextCase{0.1F, "0.1f"}, TextCase{1e-45F, "1e-45f"}, TextCase{16777216.0F, "16777216.0f"},
                    TextCase{std::numeric_limits<double>::quiet_NaN(), "nan"},
                    TextCase{-std::numeric_limits<float>::quiet_NaN(), "nanf"},
                    TextCase{-std::numeric_limits<double>::infinity(), "-inf"},
                    TextCase{std::numeric_limits<float>::infinity(), "inff"}));

INSTANTIATE_TEST_SUITE_P(
    Bytes, ZRValueTextTest,
    testing::Values(TextCase{"", R"("")"}, TextCase{"a\"b\\c/'", R"("a\"b\\c/'")"},
                    TextCase{std::string_view("\n\r\t\0\x1f\x7f", 6), R"("\n\r\t\x00\x1f\x7f")"},
                    TextCase{"Zo\xc3\xab \xe2\x82\xac \xf0\x9f\xa4\x96",
                             "\"Zo\xc3\xab \xe2\x82\xac \xf0\x9f\xa4\x96\""},
                    TextCase{"\xc3", R"("\xc3")"}, TextCase{"\xe2\x82", R"("\xe2\x82")"},            // cut short
                    TextCase{"\xc3(", R"("\xc3(")"}, TextCase{"\xff\xc3\xab", "\"\\xff\xc3\xab\""},  // in the middle
                    TextCase{"\xc0\xaf", R"("\xc0\xaf")"},                                           // too long a form
                    TextCase{"\xed\xa0\x80", R"("\xed\xa0\x80")"},                                   // half of a pair
                    TextCase{"\xc2\x9b", R"("\xc2\x9b")"},                                           // a control
                    TextCase{ZRValue::Blob{}, R"(b"")"}, TextCase{ZRValue::Blob{'f'}, R"(b"Zg==")"},
                    TextCase{ZRValue::Blob{'f', 'o'}, R"(b"Zm8=")"},
                    TextCase{ZRValue::Blob{'f', 'o', 'o'}, R"(b"Zm9v")"},
                    TextCase{ZRValue::Blob{0xfb, 0xff, 0xfe, 0}, R"(b"+//+AA==")"}));

INSTANTIATE_TEST_SUITE_P(
    Nested, ZRValueTextTest,
    testing::Values(TextCase{ZRValue::array(), "[]"}, TextCase{ZRValue::map(), "{}"},
                    TextCase{ZRValue::array("Vector2", ZRValue::array(1.0F, -2.5F)), R"(["Vector2",[1.0f,-2.5f]])"},
                    TextCase{ZRValue::map({{"", ZRValue::map()}, {"b", ZRValue::array(nullptr)}, {"a\n", 1}}),
                             R"({"":{},"a\n":1,"b":[null]})"}));

TEST(ZRValueText, KeepsTheSignOfZero)
{
  EXPECT_TRUE(std::signbit(ZRValue::fromText("-0.0").asDouble()));
  EXPECT_TRUE(std::signbit(ZRValue::fromText("-0.0f").asFloat()));
}

// Values of every kind, from all bit patterns of numbers and all bytes.
class RandomValues final
{
public:
  explicit RandomValues(unsigned seed) : engine(seed) {}

  ZRValue next(int depth)
  {
    switch (_upTo(depth > 0 ? 8 : 6))
    {
    case 0:
      return {};
    case 1:
      return _upTo(1) == 1;
    case 2:
      return std::bit_cast<std::int64_t>(engine() >> _upTo(63));
    case 3:
      return std::bit_cast<float>(static_cast<std::uint32_t>(engine()));
    case 4:
      return std::bit_cast<double>(engine());
    case 5:
      return _bytes<std::string>();
    case 6:
      return _bytes<ZRValue::Blob>();
    case 7:
      return _array(depth);
    default:
      return _map(depth);
    }
  }

private:
  std::uint64_t _upTo(std::uint64_t greatest) { return engine() % (greatest + 1); }

  template <typename Bytes>
  Bytes _bytes()
  {
    Bytes bytes(_upTo(20), {});
    for (auto& byte : bytes)
      byte = static_cast<typename Bytes::value_type>(engine());
    return bytes;
  }

  ZRValue _array(int depth)
  {
    ZRValue items = ZRValue::array();
    for (auto count = _upTo(6); count > 0; --count)
      items.push_back(next(depth - 1));
    return items;
  }

  ZRValue _map(int depth)
  {
    ZRValue entries = ZRValue::map();
    for (auto count = _upTo(6); count > 0; --count)
      entries.insert(_bytes<std::string>(), next(depth - 1));
    return entries;
  }

  std::mt19937_64 engine;
};

TEST(ZRValueText, ReadsBackEveryValueAndIsWrittenTheSameAgain)
{
  for (unsigned seed = 0; seed < 3000; ++seed)
  {
    const ZRValue value = RandomValues(seed).next(5);
    const std::string text = value.toText();
    const ZRValue read = ZRValue::fromText(text);
    ASSERT_EQ(read, value) << "seed " << seed;
    ASSERT_EQ(read.toText(), text) << "seed " << seed;
  }
}
}  // namespace
}  // namespace ZR
