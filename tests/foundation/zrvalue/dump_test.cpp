#include "filtrix/zrvalue.h"

#include <gtest/gtest.h>

namespace ZR
{
namespace
{
TEST(ZRValueDump, IndentsByTwoBlanksALevel)
{
  const ZRValue value = ZRValue::array("Human", ZRValue::map({{"height", 1.75F}, {"at", ZRValue::array(1.0, -2.0)}}),
                                       ZRValue::array(), nullptr, ZRValue::Blob{0, 10, 255});
  EXPECT_EQ(value.dump(), R"(array of 5
  "Human"
  map of 2
    "at": array of 2
      1.0
      -2.0
    "height": 1.75f
  array of 0
  null
  blob <00 0a ff> (3 bytes)
)");
}

TEST(ZRValueDump, CutsLongStringsAndBlobsShort)
{
  EXPECT_EQ(ZRValue(std::string(60, 'a')).dump(), '"' + std::string(60, 'a') + "\"\n");
  EXPECT_EQ(ZRValue(std::string(61, 'a')).dump(), '"' + std::string(60, 'a') + "\"... (61 bytes)\n");
  EXPECT_EQ(ZRValue(ZRValue::Blob(16)).dump(), "blob <00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00> (16 bytes)\n");
  EXPECT_EQ(ZRValue(ZRValue::Blob(921600, 1)).dump(),
            "blob <01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 ...> (921600 bytes)\n");
}

TEST(ZRValueDump, DoesNotCutACharacterInTwo)
{
  const std::string before(58, 'a');
  EXPECT_EQ(ZRValue(before + "\xf0\x9f\xa4\x96").dump(), '"' + before + "\"... (62 bytes)\n");
  // Bytes that only look like the rest of a character drive the cut back by no more than one.
  std::string rest = "\"";
  for (int i = 0; i < 56; ++i)
    rest += "\\x80";
  EXPECT_EQ(ZRValue(std::string(70, '\x80')).dump(), rest + "\"... (70 bytes)\n");
}
}  // namespace
}  // namespace ZR
