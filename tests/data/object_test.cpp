#include "filtrix/human.h"

#include "filtrix/ku/log.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace ZR::Filtrix::Type
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Object, KeepsPropertiesUnderTheirKeys)
{
  const ku::log::Capture log;
  Object2D object(std::make_shared<Region2>(Vector2(1, 2), Vector2(3, 4)));
  object.setProperty(-3, makeData(1));
  object.setProperty(-3, makeData(2));
  object.setProperty(5, nullptr);
  EXPECT_EQ(object.getProperty(-3)->toInt(), 2);
  EXPECT_TRUE(object.hasProperty(5)) << "a property may hold null";
  EXPECT_EQ(object.getProperty(5), nullptr);
  EXPECT_FALSE(object.hasProperty(6));
  EXPECT_EQ(object.getProperty(6), nullptr);
  object.removeProperty(-3);
  EXPECT_THAT(log.entries(), IsEmpty());
  object.removeProperty(-3);
  EXPECT_THAT(log.entries(),
              ElementsAre(ku::log::Entry{ku::log::Level::Warning, "Object", "Object does not have any property -3"}));
  EXPECT_EQ(object.toText(), "{ 5 = }");
  EXPECT_EQ(object.getRegion()->end, Vector2(3, 4));
  object.setRegion(nullptr);
  EXPECT_EQ(object.getRegion(), nullptr);
}

// The order is that of a chained table: equal to a plain one filled alike, whatever the keys.
TEST(Object, PrintsInTheOrderOfItsTable)
{
  Object3D object;
  std::unordered_map<std::int32_t, int> table;
  for (int i = 0; i < 50; ++i)
  {
    const int key = (i * 37) % 101 - 20;
    object.setProperty(key, makeData(i));
    table[key] = i;
  }
  std::string expected;
  for (const auto& [key, value] : table)
    expected += "{ " + std::to_string(key) + " = " + std::to_string(value) + "}";
  EXPECT_EQ(object.toText(), expected);
}

TEST(Human, GathersWhatFiltersFind)
{
  Human human(7, "anna");
  human.setScore("height", 0.5F);
  human.setScore("height", 0.75F);
  EXPECT_EQ(human.getScore("height"), 0.75F);
  EXPECT_EQ(human.getScores().size(), 1U);
  EXPECT_TRUE(std::isnan(human.getScore("unknown"))) << "and not 0";
  EXPECT_FALSE(human.hasScore("unknown"));

  const auto body = std::make_shared<Object2D>();
  human.setObject2D("BodyImage", body);
  EXPECT_EQ(human.getObject2D("BodyImage"), body);
  EXPECT_FALSE(human.hasObject3D("BodyImage")) << "2D and 3D are told apart";
  EXPECT_EQ(human.getObject3D("BodyImage"), nullptr);
  human.setProperty(1, nullptr);
  EXPECT_TRUE(human.hasProperty(1));
  EXPECT_EQ(human.getProperty(2), nullptr);
  human.setId(std::numeric_limits<std::uint64_t>::max());
  human.setName("berta");
  human.setData(makeData(3));
  EXPECT_EQ(toText(Data(std::make_shared<Human>(human.getId(), human.getName()))),
            "{Human Id=18446744073709551615 Name=berta}");
  EXPECT_EQ(human.getData()->toInt(), 3);
}

TEST(Human, RemovingWhatIsNotThereIsLoggedAndNoMore)
{
  const ku::log::Capture log;
  Human human(7, "anna");
  human.setScore("s", 1.0F);
  human.setObject2D("o", nullptr);
  human.setObject3D("o", nullptr);
  human.setProperty(3, nullptr);
  for (int round = 0; round < 2; ++round)
  {
    human.removeObject2D("o");
    human.removeObject3D("o");
    human.removeScore("s");
    human.removeProperty(3);
  }
  EXPECT_THAT(log.texts("Human"),
              ElementsAre("Human 7 does not have any Object2D called \" o\"",
                          "Human 7 does not have any Object3D called \" o\"",
                          "Human 7 does not have any score called \" s\"", "Human 7 does not have any property 3"));
  EXPECT_EQ(log.entries().front().level, ku::log::Level::Warning);
}
}  // namespace
}  // namespace ZR::Filtrix::Type
