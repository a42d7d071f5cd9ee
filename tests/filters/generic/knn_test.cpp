#include "filters/filterkit.h"
#include "filters/generic/knnclassification.h"
#include "filters/generic/xmltext.h"
#include "filtrix/ku/log.h"
#include "foundation/ku/temporaryfolder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <ostream>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr int huge = std::numeric_limits<int>::max();

std::string file(const std::string& rows, const std::string& size = "2", const std::string& count = "2",
                 const std::string& type = "knn")
{
  return fmt::format("<data><properties><type>{}</type><size>{}</size><count>{}</count></properties>"
                     "<descriptors>{}</descriptors></data>",
                     type, size, count, rows);
}

const std::string twoRows = "<d>1 0 0</d><d>2 4 3</d>";

std::string repeat(const std::string& text, std::size_t times)
{
  std::string out;
  out.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i)
    out += text;
  return out;
}

std::shared_ptr<KNNClassification> load(const std::string& text)
{
  const ku::TemporaryFolder folder;
  auto filter = std::make_shared<KNNClassification>();
  filter->load(folder.write("table.xml", text));
  return filter;
}

std::string errorOf(const std::string& text)
{
  try
  {
    (void)load(text);
  }
  catch (const std::runtime_error& error)
  {
    return error.what();
  }
  return "no error";
}

DataPtr arrayOf(const std::vector<float>& values)
{
  DataArray elements;
  for (const float value : values)
    elements.push_back(makeData(value));
  return makeData(elements);
}

// The stated steps, one by one: k slots, the farthest of which a nearer row takes.
std::int32_t vote(const std::vector<std::vector<float>>& rows, const std::vector<int>& labels,
                  const std::vector<float>& descriptor, std::size_t k)
{
  std::vector<std::pair<float, int>> slots(k, {std::numeric_limits<float>::max(), 0});
  for (std::size_t row = 0; row < rows.size(); ++row)
  {
    float distance = 0.0F;
    for (std::size_t i = 0; i < descriptor.size(); ++i)
      distance += (descriptor[i] - rows[row][i]) * (descriptor[i] - rows[row][i]);
    const auto farthest =
        std::max_element(slots.begin(), slots.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    if (distance < farthest->first)
      *farthest = {distance, labels[row]};
  }
  std::map<int, int> votes;
  for (const auto& [distance, label] : slots)
    ++votes[label];
  return std::max_element(votes.begin(), votes.end(), [](const auto& a, const auto& b) { return a.second < b.second; })
      ->first;
}

// Whole numbers, so that sums are exact in any order, and few of them, so that distances and votes often tie.
TEST(KNNClassification, DecidesAsTheStatedStepsDo)
{
  std::mt19937 random(20);
  const auto upTo = [&](int highest) { return std::uniform_int_distribution(0, highest)(random); };
  for (int round = 0; round < 300; ++round)
  {
    const auto size = static_cast<std::size_t>(1 + upTo(19));
    const auto count = static_cast<std::size_t>(1 + upTo(29));
    const auto descriptor = [&]
    {
      std::vector<float> values(size);
      for (float& value : values)
        value = static_cast<float>(upTo(round % 3 + 1));
      return values;
    };
    std::vector<std::vector<float>> rows;
    std::vector<int> labels;
    std::string text;
    for (std::size_t row = 0; row < count; ++row)
    {
      rows.push_back(descriptor());
      labels.push_back(upTo(6) - 3);
      text += fmt::format("<d>{} {}</d>", labels.back(), fmt::join(rows.back(), " "));
    }
    FilterBench filter(load(file(text, std::to_string(size), std::to_string(count))));
    const std::vector<float> asked = descriptor();
    for (const std::size_t k : {std::size_t{1}, std::size_t{2}, std::size_t{5}, count, count + 3})
      ASSERT_EQ(filter.first({arrayOf(asked), makeData(static_cast<int>(k))})->toInt(), vote(rows, labels, asked, k))
          << "round " << round << ", k " << k;
  }
}

struct DecisionCase
{
  const char* name;
  DataList inputs;
  int label;
};

class DecisionTest : public testing::TestWithParam<DecisionCase>
{
};

TEST_P(DecisionTest, OnFiveRowsOnALine)
{
  FilterBench filter(load(file("<d>5 1</d><d>5 2</d><d>3 3</d><d>3 4</d><d>9 10</d>", "1", "5")));
  EXPECT_EQ(filter.first(GetParam().inputs)->toInt(), GetParam().label);
}

const float notANumber = std::numeric_limits<float>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(Edges, DecisionTest,
                         testing::Values(DecisionCase{"WithoutK", {arrayOf({2.4F})}, 5},
                                         DecisionCase{"NullK", {arrayOf({9.0F}), nullptr}, 9},
                                         DecisionCase{"KIsNoInteger", {arrayOf({9.0F}), makeData(4.0F)}, 9},
                                         DecisionCase{"NegativeK", {arrayOf({9.0F}), makeData(-huge)}, 9},
                                         DecisionCase{"LowestOfEqualVotes", {arrayOf({2.0F}), makeData(4)}, 3},
                                         DecisionCase{"FirstOfEqualDistances", {arrayOf({2.5F})}, 5},
                                         DecisionCase{"HugeKVotesForZero", {arrayOf({2.0F}), makeData(huge)}, 0},
                                         DecisionCase{"NoNumberIsNearNothing", {arrayOf({notANumber})}, 0},
                                         DecisionCase{"NullElementsAreZero", {makeData(DataArray{nullptr})}, 5}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(KNNClassification, GivesNothingOnWrongInputs)
{
  FilterBench filter(load(file(twoRows)));
  const DataList wrong[] = {{}, {nullptr}, {makeData(1)}, {arrayOf({1, 2, 3})}, {arrayOf({}), makeData(2)}};
  for (const DataList& inputs : wrong)
    EXPECT_THAT(filter(inputs), IsEmpty()) << "case " << &inputs - wrong;
}

TEST(KNNClassification, StaysEmptyForAFileOfAnotherType)
{
  const ku::log::Capture log;
  FilterBench filter(load(file(twoRows, "2", "2", "svm")));
  EXPECT_THAT(filter({arrayOf({0, 0})}), IsEmpty());
  EXPECT_THAT(log.texts("filtrix.filter.knnclassification"),
              ElementsAre(HasSubstr("table.xml: expected the type \"knn\", got \"svm\"")));
}

TEST(KNNClassification, KeepsItsTableWhenAFileIsBad)
{
  const ku::TemporaryFolder folder;
  const auto filter = load(file(twoRows));
  EXPECT_THROW(filter->load(folder.write("bad.xml", file("<d>7 0 0</d>"))), std::runtime_error);
  EXPECT_EQ(FilterBench(filter).first({arrayOf({4, 3})})->toInt(), 2);
}

TEST(KNNClassification, ReadsWhatXmlWritersWrite)
{
  const std::string text = "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!-- made by <hand> -->\n" +
                           file("<!-- </d> --><d id='1 > 0'>\n  1\t+0.5 -1e-60\n</d><d>-2 <![CDATA[1e2 .5]]></d>\n");
  FilterBench filter(load(text));
  EXPECT_EQ(filter.first({arrayOf({0.5F, 0.0F})})->toInt(), 1);
  EXPECT_EQ(filter.first({arrayOf({100.0F, 0.5F})})->toInt(), -2);
}

struct HostileCase
{
  const char* name;
  std::string text;
  const char* error;

  friend void PrintTo(const HostileCase& row, std::ostream* out) { *out << row.name; }
};

class HostileFileTest : public testing::TestWithParam<HostileCase>
{
};

TEST_P(HostileFileTest, IsToldWithItsNameAndWhatWasExpected)
{
  EXPECT_THAT(errorOf(GetParam().text), AllOf(HasSubstr("table.xml: "), HasSubstr(GetParam().error)));
}

std::string secondRow(const std::string& text)
{
  return file("<d>1 0 0</d><d>" + text + "</d>");
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, HostileFileTest,
    testing::Values(
        HostileCase{"NoSize", "<data><properties><type>knn</type></properties></data>",
                    "expected \"data.properties.size\" from 1 to 16777216, got none"},
        HostileCase{"NegativeSize", file(twoRows, "-2"), "got \"-2\""},
        HostileCase{"ZeroSize", file(twoRows, "0"), "got \"0\""},
        HostileCase{"SizeOf32Bits", file(twoRows, "4294967295"), "got \"4294967295\""},
        HostileCase{"SizeBeyond32Bits", file(twoRows, "4294967298"), "got \"4294967298\""},
        HostileCase{"SizeIsAWord", file(twoRows, "two"), "\"data.properties.size\" from 1 to 16777216, got \"two\""},
        HostileCase{"CountIsAFraction", file(twoRows, "2", "2.5"),
                    "\"data.properties.count\" from 1 to 16777216, got \"2.5\""},
        HostileCase{"ProductTooLarge", file(twoRows, "65536", "65536"),
                    "expected at most 16777216 values, got 65536 rows of 65536"},
        HostileCase{"HugeSizeOfFewValues", file("<d>1 0</d>", "16777216", "1"),
                    "row 1 has 1 values, expected a label and 16777216 values"},
        HostileCase{"CountBelowTheRows", file(twoRows, "2", "1"), "expected 1 rows (\"data.properties.count\"), got 2"},
        HostileCase{"CountAboveTheRows", file(twoRows, "2", "3"), "expected 3 rows"},
        HostileCase{"NoDescriptors",
                    "<data><properties><type>knn</type><size>1</size><count>1</count></properties></data>",
                    "expected \"data.descriptors\", got none"},
        HostileCase{"RowTooShort", secondRow("2 1"), "row 2 has 1 values, expected a label and 2 values"},
        HostileCase{"RowTooLong", secondRow("2 1 2 3"), "row 2 has 3 values"},
        HostileCase{"EmptyRow", secondRow(""), "row 2 has 0 values"},
        HostileCase{"LabelIsAFraction", secondRow("2.5 1 1"), "row 2: expected a whole number as label, got \"2.5\""},
        HostileCase{"LabelTooLarge", secondRow("2147483648 1 1"), "row 2: expected a whole number as label"},
        HostileCase{"ValueIsAWord", secondRow("2 1 1x"), "row 2: expected a number as value 2, got \"1x\""},
        HostileCase{"ValueIsNoNumber", secondRow("2 nan 1"), "row 2: expected a number as value 1, got \"nan\""},
        HostileCase{"ValueIsInfinite", secondRow("2 inf 1"), "row 2: expected a number as value 1"},
        HostileCase{"ValueTooLargeForAFloat", secondRow("2 1e39 1"), "row 2: expected a number as value 1"},
        HostileCase{"LongWordIsCut", secondRow("2 " + std::string(1'000'000, '1') + "x 1"),
                    "got \""
                    "1111111111"}),
    [](const auto& row) { return std::string(row.param.name); });

// Each nests or grows in a way that a careless check would not see.
INSTANTIATE_TEST_SUITE_P(
    Markup, HostileFileTest,
    testing::Values(
        HostileCase{"Empty", "", "expected \"data.properties.type\", got none"},
        HostileCase{"NoXml", "knn 2 2", "expected XML"},
        HostileCase{"NotClosed", "<data>\n<properties>", "line 2: expected XML"},
        HostileCase{"Deep", repeat("<a>", 60'000), "line 1: expected at most 64 elements within one another"},
        HostileCase{"DeepBehindEnds", repeat("</a>", 60'000) + repeat("<a>", 60'000),
                    "expected an element, got the end of one"},
        HostileCase{"DeepByEndsInComments", repeat("<a><!--</a>-->", 60'000), "at most 64 elements"},
        HostileCase{"DeepByEndsInCdata", repeat("<a><![CDATA[</a>]]>", 60'000), "at most 64 elements"},
        HostileCase{"DeepByEndsInInstructions", repeat("<a><?x </a>?>", 60'000), "at most 64 elements"},
        HostileCase{"DeepByEndsInAttributes", repeat("<a b='</a>'>", 60'000), "expected the closing quote"},
        HostileCase{"DeepByQuotesInNames", repeat("<a=\">\"/>", 60'000), "expected \">\""},
        HostileCase{"DeepByQuotesInAttributeNames", repeat("<a b'=''>", 60'000), "expected \"=\""},
        HostileCase{"DeepByTagsInNames", repeat("<a<b/>", 60'000), "expected \">\""},
        HostileCase{"DocumentType", "<!DOCTYPE data [<!ENTITY a 'aaaa'>]>" + file(twoRows), "no document type"},
        HostileCase{"ManyElements", file(repeat("<a/>", 300'000)), "expected at most 262144 elements"},
        HostileCase{"ManyAttributes", "<a " + repeat("b='' ", 300'000) + "/>", "expected at most 262144 elements"},
        HostileCase{"CommentNotClosed", file(twoRows) + "<!-- ", "expected \"-->\""},
        HostileCase{"TagNotClosed", "<data", "expected \">\""}, HostileCase{"LoneBracket", "<", "expected a name"},
        HostileCase{"TooLong", std::string(largestXmlFile + 1, ' '), "expected at most 8388608 bytes"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(KNNClassification, OpensNothingButFilesAndWaitsForNobody)
{
  const ku::TemporaryFolder folder;
  const std::filesystem::path pipe = folder.path() / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const std::pair<std::filesystem::path, const char*> cases[] = {
      {pipe, "expected a regular file"},
      {"/dev/zero", "expected a regular file"},
      {folder.path(), "expected a regular file"},
      {folder.path() / "absent", "expected a file that can be read: No such file or directory"}};
  for (const auto& [path, text] : cases)
  {
    try
    {
      KNNClassification().load(path);
      ADD_FAILURE() << path << " was read";
    }
    catch (const std::runtime_error& error)
    {
      EXPECT_THAT(error.what(), AllOf(StartsWith(path.string() + ": "), HasSubstr(text)));
    }
  }
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
