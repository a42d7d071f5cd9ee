#include "filters/filterkit.h"
#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>

namespace ZR::Filtrix::Test
{
namespace
{
constexpr const char* category = "vision.filter.islookingatrobot";
constexpr float threshold = 0.5F;

/// What is seen of somebody in one run: h is a hit and e one exactly at the threshold, m a miss, x no score, v out of
/// sight. Out of sight the person of the run before is handed on, as the tracker does.
HumanPtr see(char what, const HumanPtr& before)
{
  HumanPtr human = what == 'v' && before ? before : makeHuman(7);
  human->setProperty(HumanProperty::IsVisible, makeData(what != 'v'));
  if (what != 'v' && what != 'x')
    human->setScore(ScoreName::lookingAtRobot, what == 'h' ? 1.0F : what == 'e' ? threshold : 0.0F);
  return human;
}

/// 1 for looking and 0 for not; + and - where the filter says that it has begun or ended in this run.
std::string decision(const Type::Human& human)
{
  std::string text = Filters::isTrue(human, HumanProperty::IsLookingAtRobot) ? "1" : "0";
  text += human.hasProperty(HumanProperty::StartedLooking) ? "+" : "";
  text += human.hasProperty(HumanProperty::StoppedLooking) ? "-" : "";
  return text;
}

struct GazeCase
{
  const char* name;
  const char* seen;
  const char* decisions;
};

void PrintTo(const GazeCase& row, std::ostream* out)
{
  *out << row.name;
}

class GazeTest : public testing::TestWithParam<GazeCase>
{
};

TEST_P(GazeTest, ToleratesThreeMisses)
{
  FilterBench bench(Filters::makeIsLookingAtRobot());
  const ku::log::Capture log;
  HumanPtr human;
  std::string decisions;
  for (const char* what = GetParam().seen; *what != '\0'; ++what)
  {
    human = see(*what, human);
    ASSERT_EQ(bench({population({human}), makeData(threshold)}).size(), 1U);
    decisions += (decisions.empty() ? "" : " ") + decision(*human);
  }
  EXPECT_EQ(decisions, GetParam().decisions);
}

INSTANTIATE_TEST_SUITE_P(Sequences, GazeTest,
                         testing::Values(GazeCase{"NobodyLooksBeforeAHit", "mmh", "0 0 1+"},
                                         GazeCase{"TheThresholdItselfIsAHit", "e", "1+"},
                                         GazeCase{"TheFourthMissEnds", "hmmmmm", "1+ 1 1 1 0- 0"},
                                         GazeCase{"AHitGivesNewTolerance", "hmmmhmmmm", "1+ 1 1 1 1 1 1 1 0-"},
                                         GazeCase{"OutOfSightTakesTheTolerance", "hvm", "1+ 1 0-"},
                                         GazeCase{"OutOfSightChangesNothing", "hvvvvvh", "1+ 1 1 1 1 1 1"},
                                         GazeCase{"OutOfSightFromTheBeginning", "vh", "0 1+"},
                                         GazeCase{"NoScoreIsAMiss", "hxxxx", "1+ 1 1 1 0-"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(IsLookingAtRobot, TellsWhatIsMissing)
{
  FilterBench bench(Filters::makeIsLookingAtRobot());
  const HumanPtr human = makeHuman(7);
  const ku::log::Capture log;
  bench({population({human}), makeData(threshold)});
  EXPECT_EQ(log.texts(category), std::vector<std::string>{"Human 7 does not have a score 'LookingAtRobot'"});
  EXPECT_EQ(human->getProperty(HumanProperty::LookingMissCount)->type(), TypeTag::UnsignedInteger);
}

TEST(IsLookingAtRobot, KeepsPeopleApart)
{
  FilterBench bench(Filters::makeIsLookingAtRobot());
  const auto run = [&](const std::vector<std::pair<std::uint64_t, float>>& scores)
  {
    std::vector<HumanPtr> people;
    for (const auto& [id, score] : scores)
    {
      people.push_back(makeHuman(id));
      people.back()->setScore(ScoreName::lookingAtRobot, score);
    }
    bench({population(people), makeData(threshold)});
    std::string decisions;
    for (const HumanPtr& human : people)
      decisions += decision(*human) + " ";
    return decisions;
  };
  EXPECT_EQ(run({{1, 1.0F}, {2, 0.0F}}), "1+ 0 ");
  EXPECT_EQ(run({{2, 1.0F}, {1, 0.0F}}), "1+ 1 ");
  EXPECT_EQ(run({{3, 0.0F}}), "0 ");
  EXPECT_EQ(run({{1, 0.0F}}), "0 ") << "who was away for a run is a stranger";
}

TEST(IsLookingAtRobot, RefusesOtherInputs)
{
  const HumanPtr human = makeHuman(1);
  const DataList wrong[] = {{},
                            {nullptr, makeData(0.5F)},
                            {population({human}), makeData(1)},
                            {makeData(1), makeData(0.5F)},
                            {populationWithRubbish({human}), makeData(0.5F)}};
  for (const DataList& inputs : wrong)
  {
    const ku::log::Capture log;
    EXPECT_TRUE(Filters::makeIsLookingAtRobot()->run(inputs).empty());
    EXPECT_EQ(log.texts(category), std::vector<std::string>{"Invalid inputs"});
  }
  EXPECT_FALSE(human->hasProperty(HumanProperty::IsLookingAtRobot));
}

TEST(HeadPoseAnalysis, ScoresByTheFace)
{
  const HumanPtr facing = makeHuman(1);
  facing->setProperty(HumanProperty::FaceDetected, makeData(true));
  const HumanPtr turned = makeHuman(2);
  turned->setProperty(HumanProperty::FaceDetected, makeData(false));
  const HumanPtr hidden = makeHuman(3);
  hidden->setProperty(HumanProperty::IsVisible, makeData(false));
  hidden->setProperty(HumanProperty::FaceDetected, makeData(true));
  hidden->setScore(ScoreName::lookingAtRobot, 0.25F);
  const HumanPtr hiddenAnew = makeHuman(4);
  hiddenAnew->setProperty(HumanProperty::IsVisible, makeData(false));
  hiddenAnew->setProperty(HumanProperty::FaceDetected, makeData(true));
  const HumanPtr unknown = makeHuman(5);
  const ku::log::Capture log;
  ASSERT_EQ(Filters::makeHeadPoseAnalysis()->run({population({facing, turned, hidden, hiddenAnew, unknown})}).size(),
            1U);
  EXPECT_EQ(facing->getScore(ScoreName::lookingAtRobot), 1.0F);
  EXPECT_EQ(turned->getScore(ScoreName::lookingAtRobot), 0.0F);
  EXPECT_EQ(hidden->getScore(ScoreName::lookingAtRobot), 0.25F);
  EXPECT_EQ(hiddenAnew->getScore(ScoreName::lookingAtRobot), 1.0F);
  EXPECT_FALSE(unknown->hasScore(ScoreName::lookingAtRobot));
  EXPECT_EQ(log.entries(), (std::vector<ku::log::Entry>{{ku::log::Level::Error, "vision.filter.headposeanalysis",
                                                         "No face detection has been done"}}));
}

TEST(HeadPoseAnalysis, RefusesWhatIsNoPopulation)
{
  for (const DataPtr& input : {DataPtr(), makeData(1), populationWithRubbish({})})
  {
    const ku::log::Capture log;
    EXPECT_TRUE(Filters::makeHeadPoseAnalysis()->run({input}).empty());
    EXPECT_EQ(log.texts(), std::vector<std::string>{"Wrong input type, not Humans"});
  }
}
}  // namespace
}  // namespace ZR::Filtrix::Test
