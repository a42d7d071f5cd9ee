#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/perception/facedetector.h"
#include "filters/perception/peoplekit.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/ku/path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <fstream>
#include <latch>
#include <limits>
#include <ostream>
#include <thread>

namespace ZR::Filtrix::Test
{
namespace
{
constexpr const char* photograph = "/usr/share/doc/opencv-doc/examples/data/messi5.jpg";
constexpr const char* imageCategory = "vision.filter.facedetectionfromimage";
constexpr const char* populationCategory = "vision.filter.facedetectionfrompopulation";

/// A point on the nose of the only face in the part of the photograph that is used, enlarged to 560x440 pixels.
const cv::Point nose(210, 150);

cv::Mat loadPhotograph()
{
  const cv::Mat bgr = cv::imread(photograph);
  cv::Mat rgb;
  if (bgr.empty())
    return rgb;
  // The face is a small one, which is found or not by the pixel; at twice the size it is safe.
  cv::resize(bgr(cv::Rect(140, 40, 280, 220)), rgb, cv::Size(), 2.0, 2.0);
  cv::cvtColor(rgb, rgb, cv::COLOR_BGR2RGB);
  return rgb;
}

DataPtr regionValue(float left, float top, float right, float bottom)
{
  return makeData(Type::Region2({left, top}, {right, bottom}));
}

std::vector<Type::Region2> regionsIn(const DataPtr& array)
{
  std::vector<Type::Region2> regions;
  for (const DataPtr& value : array->toArray())
    regions.push_back(*value->get<Type::Region2>());
  return regions;
}

bool holds(const Type::Region2& box, const cv::Point& point)
{
  const auto x = static_cast<float>(point.x);
  const auto y = static_cast<float>(point.y);
  return box.start.x <= x && x <= box.end.x && box.start.y <= y && y <= box.end.y;
}

class FaceDetectionTest : public testing::Test
{
protected:
  void SetUp() override
  {
    photo = loadPhotograph();
    if (photo.empty())
      GTEST_SKIP() << "no " << photograph;
  }

  DataList search(const DataPtr& image, const DataPtr& regions = nullptr, const DataPtr& size = nullptr)
  {
    return Filters::makeFaceDetectionFromImage()->run({image, regions, size});
  }

  cv::Mat photo;
};

TEST_F(FaceDetectionTest, MakesAnObjectOfAFace)
{
  const DataList out = search(image<Type::ColorImage>(photo));
  ASSERT_EQ(out.size(), 2U);
  const auto boxes = regionsIn(out[1]);
  ASSERT_EQ(boxes.size(), 1U);
  EXPECT_TRUE(holds(boxes[0], nose));
  const auto face = out[0]->toArray().at(0)->share<Type::Object2D>();
  ASSERT_TRUE(face);
  EXPECT_EQ(*face->getRegion(), boxes[0]);
  EXPECT_EQ(*face->getProperty(Object2DProperty::Region2D)->get<Type::Region2>(), boxes[0]);
  EXPECT_EQ(*face->getProperty(Object2DProperty::SizeImage)->get<Type::Vector2>(), Type::Vector2(560, 440));
  const cv::Mat crop = face->getProperty(Object2DProperty::Image)->get<Type::ColorImage>()->cvMat();
  const cv::Rect box(static_cast<int>(boxes[0].start.x), static_cast<int>(boxes[0].start.y), crop.cols, crop.rows);
  EXPECT_EQ(static_cast<float>(crop.cols), boxes[0].end.x - boxes[0].start.x + 1.0F);
  EXPECT_EQ(cv::norm(crop, photo(box), cv::NORM_INF), 0.0);
}

TEST_F(FaceDetectionTest, SeesAColourImageAsItsLuminance)
{
  const DataPtr gray = FilterBench(Filters::makeLuminance()).first({image<Type::ColorImage>(photo)});
  const DataList out = search(gray);
  EXPECT_EQ(regionsIn(out.at(1)), regionsIn(search(image<Type::ColorImage>(photo)).at(1)));
  const auto face = out[0]->toArray().at(0)->share<Type::Object2D>();
  EXPECT_TRUE(face->hasProperty(Object2DProperty::GrayscaleImage));
  EXPECT_FALSE(face->hasProperty(Object2DProperty::Image));
}

/// A region of an image of another size, and whether it holds the face.
struct RegionCase
{
  const char* name;
  Type::Vector2 size;
  Type::Region2 region;
  std::size_t faces;
};

void PrintTo(const RegionCase& row, std::ostream* out)
{
  *out << row.name;
}

class FaceRegionTest : public FaceDetectionTest, public testing::WithParamInterface<RegionCase>
{
};

TEST_P(FaceRegionTest, SearchesTheRegionAlone)
{
  const RegionCase& row = GetParam();
  const DataList out =
      search(image<Type::ColorImage>(photo), makeData(DataArray{makeData(row.region)}), makeData(row.size));
  ASSERT_EQ(out.size(), 2U);
  const auto boxes = regionsIn(out[1]);
  EXPECT_EQ(boxes.size(), row.faces);
  for (const Type::Region2& box : boxes)
    EXPECT_TRUE(holds(box, nose));
}

INSTANTIATE_TEST_SUITE_P(Regions, FaceRegionTest,
                         testing::Values(RegionCase{"Whole", {560, 440}, {{0, 0}, {559, 439}}, 1},
                                         RegionCase{"AboutTheFace", {560, 440}, {{120, 40}, {320, 240}}, 1},
                                         RegionCase{"HalfTheSize", {280, 220}, {{60, 20}, {160, 120}}, 1},
                                         RegionCase{"AxesOfTheirOwn", {1120, 220}, {{240, 20}, {640, 120}}, 1},
                                         RegionCase{"BesideTheFace", {560, 440}, {{320, 60}, {559, 439}}, 0},
                                         RegionCase{"HalfTheFace", {560, 440}, {{210, 60}, {500, 240}}, 0},
                                         RegionCase{"BeyondTheImage", {560, 440}, {{-1e9F, -1e9F}, {1e9F, 1e9F}}, 1},
                                         RegionCase{"OutsideTheImage", {560, 440}, {{600, 500}, {700, 600}}, 0},
                                         RegionCase{"Inverted", {560, 440}, {{320, 240}, {120, 40}}, 0},
                                         RegionCase{"OnePixel", {560, 440}, {{210, 150}, {210, 150}}, 0}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(FaceDetectionTest, PassesOverWhatIsNoRegion)
{
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  const ku::log::Capture log;
  const DataPtr regions =
      makeData(DataArray{nullptr, makeData(7), regionValue(nan, 0, 100, 100), regionValue(0, 0, 559, 439)});
  EXPECT_EQ(regionsIn(search(image<Type::ColorImage>(photo), regions).at(1)).size(), 1U);
  EXPECT_EQ(log.texts(imageCategory).size(), 5U);  // loaded, three complaints, found
}

TEST_F(FaceDetectionTest, SearchesOnSeveralThreadsAtOnce)
{
  const auto filter = Filters::makeFaceDetectionFromImage();
  const DataPtr value = image<Type::ColorImage>(photo);
  const auto alone = regionsIn(filter->run({value, nullptr, nullptr})[1]);
  std::latch start(3);
  std::vector<std::vector<Type::Region2>> found(3);
  std::vector<std::thread> threads;
  for (auto& result : found)
    threads.emplace_back(
        [&]
        {
          start.arrive_and_wait();
          result = regionsIn(filter->run({value, nullptr, nullptr})[1]);
        });
  for (std::thread& thread : threads)
    thread.join();
  for (const auto& result : found)
    EXPECT_EQ(result, alone);
}

TEST(FaceDetectionFromImage, RefusesOtherInputs)
{
  const auto filter = Filters::makeFaceDetectionFromImage();
  const DataPtr gray = image<Type::GrayscaleImage>(cv::Mat::zeros(48, 64, CV_8UC1));
  const DataPtr regions = makeData(DataArray{regionValue(0, 0, 10, 10)});
  const DataList wrong[] = {{},
                            {nullptr, nullptr, nullptr},
                            {makeData(std::shared_ptr<Type::ColorImage>()), nullptr, nullptr},
                            {image<Type::DepthImage>(cv::Mat::zeros(48, 64, CV_16UC1)), nullptr, nullptr},
                            {gray, makeData(1), nullptr},
                            {gray, regions, makeData(1.0F)}};
  for (const DataList& inputs : wrong)
  {
    const ku::log::Capture log;
    EXPECT_TRUE(filter->run(inputs).empty());
    EXPECT_EQ(log.texts(imageCategory), std::vector<std::string>{"Missing inputs or incorrect type."});
  }
  const ku::log::Capture log;
  EXPECT_TRUE(filter->run({gray, regions, makeData(0.0F, 48.0F)}).empty());
  EXPECT_EQ(log.texts(imageCategory), std::vector<std::string>{"expected a sizeImage above 0, got 0 x 48"});
}

TEST(FaceDetectionFromImage, FindsNothingInAnEmptyImage)
{
  const DataList out =
      Filters::makeFaceDetectionFromImage()->run({image<Type::ColorImage>(cv::Mat(0, 0, CV_8UC3)), nullptr, nullptr});
  ASSERT_EQ(out.size(), 2U);
  EXPECT_TRUE(out[0]->toArray().empty());
}

// The file that is found first is the one that counts, and a broken one is told of when it is loaded and at every run.
TEST(FaceDetector, TellsOfACascadeThatIsNone)
{
  const auto folder = std::filesystem::path(testing::TempDir()) / "filtrix-broken-cascade";
  const auto file = folder / "zorqa/vision/lbpcascades/lbpcascade_frontalface.xml";
  std::filesystem::create_directories(file.parent_path());
  for (const char* const text : {"", "no cascade", "<?xml version=\"1.0\"?><opencv_storage></opencv_storage>"})
  {
    std::ofstream(file) << text;
    const ku::path::ScopedDataPath path(folder);
    const ku::log::Capture log;
    const auto fromImage = Filters::makeFaceDetectionFromImage();
    const auto fromPopulation = Filters::makeFaceDetectionFromPopulation();
    const DataPtr people = population({makeHuman(1)});
    EXPECT_TRUE(
        fromImage->run({image<Type::GrayscaleImage>(cv::Mat::zeros(48, 64, CV_8UC1)), nullptr, nullptr}).empty());
    EXPECT_EQ(idsIn(fromPopulation->run({people}).at(0)), "1");
    for (const char* const category : {imageCategory, populationCategory})
      EXPECT_THAT(log.texts(category),
                  testing::ElementsAre(testing::StartsWith("Could not load cascade file " + file.string() + ": "),
                                       "Classifier uninitialized!"));
  }
  std::filesystem::remove_all(folder);
}

HumanPtr makeHumanWithImage(std::uint64_t id, const cv::Mat& photo)
{
  auto human = makeHuman(id);
  auto body = std::make_shared<Type::Object2D>();
  body->setProperty(Object2DProperty::Image, image<Type::ColorImage>(photo));
  human->setObject2D(ObjectName::bodyImage, body);
  return human;
}

TEST_F(FaceDetectionTest, MarksThePeopleWhoAreSeen)
{
  const HumanPtr facing = makeHumanWithImage(1, photo(cv::Rect(80, 20, 280, 420)));
  const HumanPtr turned = makeHumanWithImage(2, cv::Mat::zeros(200, 100, CV_8UC3));
  const HumanPtr hidden = makeHumanWithImage(3, photo);
  hidden->setProperty(HumanProperty::IsVisible, makeData(false));
  const DataPtr people = population({facing, turned, hidden});
  const DataList out = Filters::makeFaceDetectionFromPopulation()->run({people});
  ASSERT_EQ(out.size(), 1U);
  EXPECT_EQ(out[0], people);
  EXPECT_TRUE(Filters::isTrue(*facing, HumanProperty::FaceDetected));
  ASSERT_TRUE(turned->hasProperty(HumanProperty::FaceDetected));
  EXPECT_FALSE(Filters::isTrue(*turned, HumanProperty::FaceDetected));
  EXPECT_TRUE(turned->hasProperty(HumanProperty::HasFaceDetectionRun));
  EXPECT_FALSE(hidden->hasProperty(HumanProperty::FaceDetected));
  EXPECT_FALSE(hidden->hasProperty(HumanProperty::HasFaceDetectionRun));
  const auto body = facing->getObject2D(ObjectName::bodyImage);
  const auto boxes = regionsIn(body->getProperty(Object2DProperty::FaceRegions));
  ASSERT_EQ(boxes.size(), 1U);
  EXPECT_TRUE(holds(boxes[0], nose - cv::Point(80, 20)));
}

TEST(FaceDetectionFromPopulation, TellsWhatIsMissing)
{
  const auto filter = Filters::makeFaceDetectionFromPopulation();
  const HumanPtr bare = makeHuman(1);
  const HumanPtr blind = makeHuman(2);
  blind->setObject2D(ObjectName::bodyImage, std::make_shared<Type::Object2D>());
  const HumanPtr flat = makeHumanWithImage(3, cv::Mat(0, 0, CV_8UC3));
  const ku::log::Capture log;
  EXPECT_EQ(filter->run({populationWithRubbish({bare, blind, flat})}).size(), 1U);
  EXPECT_EQ(log.texts(populationCategory),
            (std::vector<std::string>{"wrong input type, not Humans", "wrong input type, not Humans",
                                      "wrong input type, not Humans", "human 1 doesn't have Object2D(\"BodyImage\")",
                                      "human 2: object2D doesn't have \"Image\" attribute"}));
  EXPECT_FALSE(bare->hasProperty(HumanProperty::FaceDetected));
  EXPECT_FALSE(Filters::isTrue(*flat, HumanProperty::FaceDetected));
  EXPECT_TRUE(filter->run({makeData(1)}).empty());
}
}  // namespace
}  // namespace ZR::Filtrix::Test
