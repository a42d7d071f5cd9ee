#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"
#include "filters/perception/propertydump.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <ostream>

namespace ZR::Filtrix::Test
{
namespace
{
namespace H = HumanProperty;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

HumanPtr atDistance(std::uint64_t id, std::int32_t millimetres)
{
  auto human = makeBelievableHuman(id);
  human->getObject3D("3D")->setProperty(Object3DProperty::Distance, makeData(millimetres));
  return human;
}

// Known from the colour image alone.
HumanPtr inImageAtDistance(std::uint64_t id, std::int32_t millimetres)
{
  auto image = std::make_shared<Type::Object2D>();
  image->setProperty(Object2DProperty::Distance, makeData(millimetres));
  auto human = makeHuman(id);
  human->setObject2D(ObjectName::bodyImage, image);
  return human;
}

HumanPtr withScore(std::uint64_t id, float score)
{
  auto human = makeHuman(id);
  human->setScore("BodySize", score);
  return human;
}

HumanPtr withProperty(std::uint64_t id, std::int32_t key, const DataPtr& value)
{
  auto human = makeHuman(id);
  if (value)
    human->setProperty(key, value);
  return human;
}

HumanPtr seen(std::uint64_t id, bool isSeen)
{
  return withProperty(id, H::IsVisible, makeData(isSeen));
}

struct SelectionCase
{
  const char* name;
  std::shared_ptr<UserFilter> (*make)();
  DataList inputs;
  std::vector<std::string> expected;  ///< the identities on each output
};

void PrintTo(const SelectionCase& row, std::ostream* out)
{
  *out << row.name;
}

class SelectionTest : public testing::TestWithParam<SelectionCase>
{
};

TEST_P(SelectionTest, ChoosesPeople)
{
  const SelectionCase& row = GetParam();
  const ku::log::Capture log;
  std::vector<std::string> ids;
  for (const DataPtr& output : row.make()->run(row.inputs))
    ids.push_back(idsIn(output));
  EXPECT_EQ(ids, row.expected);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Choice, SelectionTest, testing::Values(
    SelectionCase{"ByScoreKeepsBothBounds", Filters::makeFilterPopulationByScore,
                  {population({withScore(1, 0.5F), withScore(2, 0.49F), withScore(3, 1.0F), withScore(4, 1.01F),
                               withScore(5, nan), makeHuman(6)}), makeData("BodySize"), makeData(0.5F)}, {"1 3"}},
    SelectionCase{"ByScoreOfAnotherName", Filters::makeFilterPopulationByScore,
                  {population({withScore(1, 0.5F)}), makeData("VisibleSize"), makeData(0.0F)}, {""}},
    SelectionCase{"ByScoreAboveNoNumber", Filters::makeFilterPopulationByScore,
                  {population({withScore(1, 0.5F)}), makeData("BodySize"), makeData(nan)}, {""}},
    SelectionCase{"ByIdInTheOrderOfThePopulation", Filters::makeFilterByID,
                  {population({makeHuman(3), makeHuman(1), makeHuman(2), makeHuman(3)}),
                   makeData(DataArray{makeData(1), nullptr, makeData("2"), makeData(-3), makeData(3U)})}, {"3 1 3"}},
    SelectionCase{"ByIdDoesNotCutLongOnes", Filters::makeFilterByID,
                  {population({makeHuman((1ULL << 32U) + 7), makeHuman(~0ULL)}),
                   makeData(DataArray{makeData(7), makeData(-1)})}, {""}},
    SelectionCase{"NearKeepsBothBounds", Filters::makeNearPopulation,
                  {populationWithRubbish({atDistance(1, 1300), atDistance(2, 1301), atDistance(3, 0), atDistance(4, -1),
                                          inImageAtDistance(5, 1300), inImageAtDistance(6, 1400), makeHuman(7)}),
                   makeData(1.3F)}, {"1 3 5"}},
    SelectionCase{"NearestOfEqualOnesIsTheFirst", Filters::makeNearestHuman,
                  {population({makeHuman(1), atDistance(2, 1500), inImageAtDistance(3, 900), atDistance(4, 900)})}, {"3"}},
    SelectionCase{"NearestOfNobody", Filters::makeNearestHuman, {population({})}, {}},
    SelectionCase{"NearestOfPeopleWithoutDistance", Filters::makeNearestHuman, {population({makeHuman(1)})}, {}},
    SelectionCase{"VisibleAndNot", Filters::makeDispatchVisiblePeople,
                  {populationWithRubbish({seen(1, true), seen(2, false), makeHuman(3), seen(4, true),
                                          withProperty(5, H::IsVisible, makeData(1))})}, {"1 4", "2 3 5"}},
    SelectionCase{"LookingAndNot", Filters::makeDispatchLookingPeople,
                  {population({withProperty(1, H::IsLookingAtRobot, makeData(false)),
                               withProperty(2, H::IsLookingAtRobot, makeData(true)), seen(3, true)})}, {"2", "1 3"}}),
    [](const auto& row) { return std::string(row.param.name); });

// clang-format on

TEST(Selection, RefusesInputsOfOtherTypes)
{
  struct Row
  {
    std::shared_ptr<UserFilter> (*make)();
    DataList inputs;
    const char* message;
  };

  const DataPtr nobody = population({});
  const DataPtr number = makeData(1);
  const Row rows[] = {{Filters::makeFilterPopulationByScore, {nobody, number, makeData(0.5F)}, "Invalid inputs."},
                      {Filters::makeFilterByID, {nobody, number}, "Invalid inputs."},
                      {Filters::makeNearPopulation, {nobody}, "Invalid inputs."},
                      {Filters::makeNearestHuman, {nullptr}, "Invalid inputs."},
                      {Filters::makeDispatchVisiblePeople, {number}, "DispatchVisiblePeople : invalid inputs"},
                      {Filters::makeDispatchLookingPeople, {number}, "DispatchLookingPeople : invalid inputs"},
                      {Filters::makeCheckFaceDetection, {number}, "CheckFaceDetection : invalid inputs"},
                      {Filters::makeCheckMovementDetection, {number}, "CheckMovementDetection : invalid inputs"}};
  for (const auto& [make, inputs, message] : rows)
  {
    const ku::log::Capture log;
    EXPECT_TRUE(make()->run(inputs).empty()) << message;
    EXPECT_EQ(log.texts(), std::vector<std::string>{message});
  }
}

TEST(Dispatch, TellsWhoCannotBeJudged)
{
  const ku::log::Capture log;
  Filters::makeDispatchVisiblePeople()->run({makeData(DataArray{makeData(1), makeData(makeHuman(1))})});
  Filters::makeDispatchLookingPeople()->run({population({makeHuman(1)})});
  EXPECT_EQ(log.texts(),
            (std::vector<std::string>{"DispatchVisiblePeople: wrong input type, not Humans",
                                      "DispatchVisiblePeople: human does not have a 'IsVisible' property",
                                      "DispatchLookingPeople: human does not have a 'IsLookingAtRobot' property"}));
}

HumanPtr withFaces(HumanPtr human)
{
  human->setProperty(H::HasFaceDetectionRun, nullptr);  // its presence is all that counts
  return human;
}

HumanPtr withMovements(HumanPtr human)
{
  auto body = makeBody();
  body->setProperty(Object3DProperty::HasMovementData, makeData(0));
  human->setObject3D("3D", body);
  return human;
}

TEST(Checks, AskTheFirstPersonSeen)
{
  struct Row
  {
    DataPtr people;
    bool hasFaces;
    bool hasMovements;
  };

  const Row rows[] = {
      {population({}), true, true},
      {population({seen(1, false)}), true, true},
      {population({seen(1, false), seen(2, true), withMovements(withFaces(seen(3, true)))}), false, false},
      {population({seen(1, false), withFaces(makeHuman(2)), seen(3, true)}), true, false},
      {populationWithRubbish({withMovements(seen(1, true)), withFaces(seen(2, true))}), false, true},
  };
  for (const auto& [people, hasFaces, hasMovements] : rows)
  {
    const ku::log::Capture log;
    const DataList faces = Filters::makeCheckFaceDetection()->run({people});
    const DataList movements = Filters::makeCheckMovementDetection()->run({people});
    ASSERT_EQ(faces.size(), 2U);
    ASSERT_EQ(movements.size(), 2U);
    EXPECT_EQ(faces[0], people);
    EXPECT_EQ(movements[0], people);
    EXPECT_EQ(faces[1]->toBool(), hasFaces);
    EXPECT_EQ(movements[1]->toBool(), hasMovements);
  }
  const ku::log::Capture log;
  Filters::makeCheckMovementDetection()->run({population({seen(1, true)})});
  EXPECT_EQ(log.texts(), std::vector<std::string>{"CheckMovementDetection: human does not have an Object3D"});
}

TEST(Dump, NamesProperties)
{
  const auto human = makeHuman(3);
  human->setName("anna");
  human->setScore("BodySize", 1.0F);
  human->setProperty(H::Height, makeData(1.5F));
  human->setProperty(H::BodyWidth, nullptr);
  human->setProperty(4711, makeData(1));
  auto body = std::make_shared<Type::Object3D>();
  body->setProperty(Object3DProperty::Distance, makeData(2000));
  human->setObject3D("3D", body);
  human->setObject2D("BodyImage", nullptr);
  EXPECT_EQ(Filters::dump(*human), "Human 3 \"anna\"\n"
                                   "  score \"BodySize\" = 1\n"
                                   "  BodyWidth = null\n"
                                   "  Height = 1.5f\n"
                                   "  4711 = 1\n"
                                   "  Object2D \"BodyImage\" = null\n"
                                   "  Object3D \"3D\"\n"
                                   "    Distance = 2000\n");
  EXPECT_EQ(Filters::dump(*body), "Object3D\n  Distance = 2000\n");
}
}  // namespace
}  // namespace ZR::Filtrix::Test
