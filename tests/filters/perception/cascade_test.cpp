// What a cascade file may do to OpenCV, which believes it: nothing. And what OpenCV reads is read.

#include "filters/perception/cascade.h"

#include "filters/generic/xmltext.h"
#include "foundation/ku/temporaryfolder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using testing::HasSubstr;
using testing::ThrowsMessage;

// The windows that a classifier takes for what it looks for.
std::vector<cv::Rect> search(cv::CascadeClassifier& classifier, const cv::Mat& image)
{
  std::vector<cv::Rect> found;
  classifier.detectMultiScale(image, found, 1.2, 0);
  std::ranges::sort(found, {}, [](const cv::Rect& box) { return std::tuple(box.y, box.x, box.width, box.height); });
  return found;
}

// Smooth blots, which every cascade takes for something here and there.
cv::Mat blots()
{
  cv::Mat image(160, 240, CV_8U);
  cv::RNG random(3);
  random.fill(image, cv::RNG::UNIFORM, 0, 256);
  cv::GaussianBlur(image, image, cv::Size(15, 15), 4);
  cv::normalize(image, image, 0, 255, cv::NORM_MINMAX);
  return image;
}

TEST(Cascade, EachOfTheSystemsFindsWhatItFindsWithoutChecks)
{
  const cv::Mat image = blots();
  std::size_t cascades = 0;
  std::size_t hits = 0;
  for (const char* const folder : {"haarcascades", "lbpcascades"})
  {
    const auto path = std::filesystem::path("/usr/share/opencv4") / folder;
    if (!std::filesystem::is_directory(path))
      continue;
    for (const auto& file : std::filesystem::directory_iterator(path))
    {
      SCOPED_TRACE(file.path());
      const auto checked = readCascade(readSmallFile(file.path()));
      cv::CascadeClassifier plain(file.path().string());
      const auto found = search(*checked, image);
      EXPECT_EQ(found, search(plain, image));
      ++cascades;
      hits += found.empty() ? 0 : 1;
    }
  }
  if (cascades == 0)
    GTEST_SKIP() << "no cascades in /usr/share/opencv4";
  EXPECT_GT(hits, cascades / 4) << "or the images have nothing to compare";
}

// The parts of a small cascade of each format; each row replaces one.
struct Parts
{
  std::string window = "<width>20</width><height>20</height>";
  std::string kind = "<stageType>BOOST</stageType><featureType>HAAR</featureType>";
  std::string categories = "<maxCatCount>0</maxCatCount>";
  std::string nodes = "1 0 0 0.5 -1 -2 1 0.5";  // two of them, the second to the left of the first
  std::string leaves = "0.5 -0.5 0.25";
  std::string feature = "<rects><_>0 0 20 10 -1.</_><_>0 0 20 5 2.</_></rects><tilted>0</tilted>";
  std::string front;
  std::string back;
};

std::string toText(const Parts& parts)
{
  return fmt::format("<?xml version=\"1.0\"?>\n{}<opencv_storage><cascade type_id=\"opencv-cascade-classifier\">{}{}"
                     "<featureParams>{}</featureParams><stages><_><stageThreshold>-1e9</stageThreshold>"
                     "<weakClassifiers><_><internalNodes>{}</internalNodes><leafValues>{}</leafValues></_>"
                     "</weakClassifiers></_></stages><features><_>{}</_><_>{}</_></features></cascade>{}"
                     "</opencv_storage>",
                     parts.front, parts.kind, parts.window, parts.categories, parts.nodes, parts.leaves, parts.feature,
                     parts.feature, parts.back);
}

Parts lbp()
{
  Parts parts;
  parts.kind = "<stageType>BOOST</stageType><featureType>LBP</featureType>";
  parts.categories = "<maxCatCount>256</maxCatCount>";
  parts.nodes = "0 -1 1 1 2 3 4 5 6 7 8";
  parts.leaves = "0.5 -0.5";
  parts.feature = "<rect>2 2 6 6</rect>";
  return parts;
}

std::string olderText(std::string_view node, std::string_view feature)
{
  return fmt::format("<?xml version=\"1.0\"?>\n<opencv_storage><plates type_id=\"opencv-haar-classifier\">"
                     "<size>20 20</size><stages><_><trees><_><_><feature>{}</feature>{}</_></_></trees>"
                     "<stage_threshold>-1e9</stage_threshold><parent>-1</parent><next>-1</next></_></stages></plates>"
                     "</opencv_storage>",
                     feature, node);
}

constexpr const char* olderNode = "<threshold>0.5</threshold><left_val>0.5</left_val><right_val>-0.5</right_val>";
constexpr const char* olderFeature = "<rects><_>0 0 20 10 -1.</_><_>0 0 20 5 2.</_></rects><tilted>0</tilted>";

TEST(Cascade, SmallOnesOfEachKindFindWhatTheyFindWithoutChecks)
{
  const ku::TemporaryFolder folder;
  const auto file = folder.path() / "cascade.xml";
  for (const std::string& text : {toText(Parts()), toText(lbp()), olderText(olderNode, olderFeature)})
  {
    SCOPED_TRACE(text);
    std::ofstream(file) << text;
    cv::CascadeClassifier plain(file.string());
    const auto found = search(*readCascade(text), blots());
    EXPECT_FALSE(found.empty()) << "their thresholds let everything pass";
    EXPECT_EQ(found, search(plain, blots()));
    (void)search(*readCascade(text), cv::Mat::zeros(48, 64, CV_8U));
  }
}

std::string repeat(std::string_view text, int count)
{
  std::string all;
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

Parts with(std::string Parts::*part, std::string text, Parts parts = {})
{
  parts.*part = std::move(text);
  return parts;
}

struct Hostile
{
  const char* name;
  std::string text;
  const char* complaint;
};

class HostileCascadeTest : public testing::TestWithParam<Hostile>
{
};

TEST_P(HostileCascadeTest, IsRefused)
{
  EXPECT_THAT([] { (void)readCascade(GetParam().text); },
              ThrowsMessage<std::exception>(HasSubstr(GetParam().complaint)));
}

constexpr const char* bomb = "<!DOCTYPE a [<!ENTITY b \"bbbbbbbb\"><!ENTITY c \"&b;&b;&b;&b;\">]>";

INSTANTIATE_TEST_SUITE_P(
    Texts, HostileCascadeTest,
    testing::Values(
        Hostile{"Nothing", "", ""}, Hostile{"NoXml", "no cascade", ""},
        Hostile{"TooLong", std::string(largestXmlFile + 1, ' '), "expected at most 8388608 bytes"},
        Hostile{"Nested50000Deep", toText(with(&Parts::back, repeat("<a>", 50'000))), "expected at most 64 elements"},
        Hostile{"TwoMillionElements", toText(with(&Parts::back, repeat("<a/>", 2'000'000))), "expected at most 262144"},
        Hostile{"EntitiesThatGrow", toText(with(&Parts::front, bomb)), "expected no document type"},
        Hostile{"InstructionsForElements", toText(with(&Parts::back, repeat("<?a?>", 50'000))),
                "expected no processing instruction"},
        Hostile{"Literally", toText(with(&Parts::back, "<![CDATA[<a>]]>")), "expected elements and comments"},
        Hostile{"Binary", toText(with(&Parts::back, "<a type_id=\"binary\">abc</a>")),
                "expected elements and comments"},
        Hostile{"NoElementWithOthers", "<?xml version=\"1.0\"?><opencv_storage><a>1</a></opencv_storage>",
                "expected a cascade"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Numbers, HostileCascadeTest,
    testing::Values(
        Hostile{"FeatureBeyondTheLast", toText(with(&Parts::nodes, "1 0 0 0.5 -1 -2 2 0.5")),
                "expected one of 2 features, got 2"},
        Hostile{"NegativeFeature", toText(with(&Parts::nodes, "1 0 -1000000 0.5 -1 -2 1 0.5")), "got -1000000"},
        Hostile{"FeatureOfAStump", toText(with(&Parts::nodes, "0 -1 99999999 1 2 3 4 5 6 7 8", lbp())),
                "expected one of 2 features, got 99999999"},
        Hostile{"BranchBeyondTheLast", toText(with(&Parts::nodes, "2 0 0 0.5 -1 -2 1 0.5")), "got 2 in node 0"},
        Hostile{"BranchThatGoesRound", toText(with(&Parts::nodes, "1 0 0 0.5 1 -2 1 0.5")), "got 1 in node 1"},
        Hostile{"LeafBeyondTheLast", toText(with(&Parts::nodes, "1 -1000000 0 0.5 -1 -2 1 0.5")), "got -1000000"},
        Hostile{"TooFewLeaves", toText(with(&Parts::leaves, "0.5 -0.5")), "expected 3 leaves, got 2"},
        Hostile{"OneLeaf", toText(with(&Parts::leaves, "0.5", lbp())), "expected a list as \"leafValues\""},
        Hostile{"NodesThatBreakOff", toText(with(&Parts::nodes, "1 0 0 0.5 -1 -2")), "expected 4 numbers a node"},
        Hostile{"TooFewCategories", toText(with(&Parts::categories, "<maxCatCount>32</maxCatCount>", lbp())),
                "expected 256 categories of features of type LBP, got 32"},
        Hostile{"CategoriesOfNumbers", toText(with(&Parts::categories, "<maxCatCount>256</maxCatCount>")),
                "expected 0 categories"},
        Hostile{"NegativeCategories", toText(with(&Parts::categories, "<maxCatCount>-64</maxCatCount>")), "got -64"},
        Hostile{"FeatureOutsideOfTheWindow",
                toText(with(&Parts::feature, "<rects><_>0 0 20 1000000 1.</_></rects><tilted>0</tilted>")),
                "expected a rectangle in a window of 20 x 20"},
        Hostile{"FeatureAcrossTheEdge",
                toText(with(&Parts::feature, "<rects><_>10 0 11 5 1.</_></rects><tilted>0</tilted>")),
                "got 11 x 5 at 10, 0"},
        Hostile{"TiltedAcrossTheEdge",
                toText(with(&Parts::feature, "<rects><_>4 0 5 5 1.</_></rects><tilted>1</tilted>")),
                "got 5 x 5 at 4, 0, tilted"},
        Hostile{"BlocksAcrossTheEdge", toText(with(&Parts::feature, "<rect>3 2 6 6</rect>", lbp())),
                "got blocks of 6 x 6 at 3, 2"},
        Hostile{"FourRectangles",
                toText(with(&Parts::feature, "<rects>" + repeat("<_>0 0 5 5 1.</_>", 4) + "</rects>")),
                "expected at most 3 rectangles"},
        Hostile{"RectangleOfThreeNumbers", toText(with(&Parts::feature, "<rect>3 2 6</rect>", lbp())),
                "expected a rectangle of 4 numbers"},
        Hostile{"NoWindow", toText(with(&Parts::window, "<width>0</width><height>20</height>")), "got 0 x 20"},
        Hostile{"GiganticWindow", toText(with(&Parts::window, "<width>20</width><height>2147483647</height>")),
                "got 20 x 2147483647"},
        Hostile{"TextAsWindow", toText(with(&Parts::window, "<width>abc</width><height>20</height>")),
                "expected a whole number as \"width\""},
        Hostile{"ThresholdThatIsNoNumber", toText(with(&Parts::nodes, "1 0 0 .Nan -1 -2 1 0.5")),
                "expected a number as a threshold"},
        Hostile{"AnotherKind", toText(with(&Parts::kind, "<stageType>BOOST</stageType><featureType>HOG</featureType>")),
                "expected stages of type BOOST"},
        Hostile{"OlderBranchBeyondTheLast",
                olderText("<threshold>0.5</threshold><left_node>7</left_node><right_val>1.</right_val>", olderFeature),
                "got 7 in node 0"},
        Hostile{"OlderWithoutALeaf", olderText("<threshold>0.5</threshold><left_val>0.5</left_val>", olderFeature),
                "expected a number as right_val"},
        Hostile{"OlderFeatureAcrossTheEdge", olderText(olderNode, "<rects><_>0 0 21 5 1.</_></rects>"),
                "expected a rectangle in a window of 20 x 20"},
        Hostile{"OlderWithoutAFeature", olderText(olderNode, "<tilted>0</tilted>"), "expected a list as \"rects\""}),
    [](const auto& row) { return std::string(row.param.name); });
}  // namespace
}  // namespace ZR::Filtrix::Filters
