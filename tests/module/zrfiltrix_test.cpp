#include "module/modulekit.h"

#include "filtrix/image.h"
#include "filtrix/ku/object.h"
#include "filtrix/zrimage.h"
#include "graph/nodesource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace ZR::Filtrix::Test
{
namespace
{
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

template <typename Use>
std::string errorOf(const Use& use)
{
  try
  {
    use();
  }
  catch (const std::exception& error)
  {
    return error.what();
  }
  return "no error";
}

// A sum of two sources that a caller sets.
constexpr const char* sumProgram = "source a { 1 } source b { 2 }"
                                   "process p(Add, 1, 20.0) { left <= a; right <= b; out => sum; }";

TEST(Module, IsMadeOnceByItsEntryPoint)
{
  const Host host;
  EXPECT_EQ(_createModule(host.broker()), 0);
  EXPECT_NE(host.broker()->find("ZRFiltrix"), nullptr);
  EXPECT_THROW(_createModule(host.broker()), ZRServiceError);
  EXPECT_THROW(_createModule(nullptr), std::invalid_argument);
  EXPECT_EQ(_closeModule(), 0);
  EXPECT_NE(host.broker()->find("ZRFiltrix"), nullptr);
}

TEST(Module, BindsItsMethodsInOrderAndDescribesThem)
{
  ModuleBench bench;
  std::vector<std::string> names;
  std::vector<std::string> withExample;
  for (const MethodDescription& method : bench.module->getMethodDescriptions())
  {
    names.push_back(method.name);
    if (!method.examples.empty())
      withExample.push_back(method.name);
    EXPECT_FALSE(method.text.empty()) << method.name;
  }
  EXPECT_THAT(names,
              ElementsAre("getFiltrix", "loadProgram", "loadProgramFromFile", "getData", "getLastData", "getImageLocal",
                          "getImageRemote", "getFilters", "getFilterDescription", "getFilterInputs", "getFilterOutputs",
                          "deleteFilter", "getSources", "isSourceBinded", "getSourceFrequency", "getSourceData",
                          "getSourceData", "setData", "deleteSource", "getRobotHeightOffset", "setRobotHeightOffset",
                          "getProcesses", "isProcesses", "getProcessDescription", "getProcessSources",
                          "getProcessSinks", "getProcessAggregatedSinks", "getProcessPriority", "getProcessFrequency",
                          "setProcessPriority", "setProcessFrequency", "setProcessTolerance", "resetProcess",
                          "isProcessEnable", "isProcessZombie", "enableProcess", "disableProcess", "deleteProcess",
                          "getScheduledJobs", "startScheduler", "stopScheduler", "getInstrumentationResult",
                          "getDotGraph", "_startMotionWorker", "_stopMotionWorker", "_setMotionSource",
                          "_setMotionSources", "getInstrumentationValue"));
  EXPECT_THAT(withExample, ElementsAre("getFiltrix", "loadProgram"));
  EXPECT_EQ(bench.module->getModuleDescription(),
            "ZRFiltrixis a filter management system based on a filter graph.The users of this module can add, modify, "
            "delete or use filters that are stored in a library.");
}

TEST(Module, TellsWhatAMethodTakesWhenItIsCalledWrongly)
{
  ModuleBench bench;
  EXPECT_THAT(errorOf([&] { bench.call("getProcessPriority"); }),
              AllOf(HasSubstr("getProcessPriority"), HasSubstr("string name")));
  EXPECT_THAT(errorOf([&] { bench.call("setProcessFrequency", "p", "often"); }), HasSubstr("float frequency"));
  EXPECT_THAT(errorOf([&] { bench.call("setProcessPriority", "p", -1); }), HasSubstr("-1"));
  EXPECT_THAT(errorOf([&] { bench.call("getFilter"); }), HasSubstr("Did you mean \"getFilters\"?"));
}

TEST(Module, RunsAProgram)
{
  ModuleBench bench;
  EXPECT_TRUE(bench.call("loadProgram", sumProgram).asBoolean());
  EXPECT_EQ(bench.call("getData", "p:sum"), ZRValue::array("Integer", 3));
  bench.call("setData", "a", ZRValue::array("Integer", 40));
  bench.call("resetProcess", "p");
  EXPECT_EQ(bench.call("getLastData", "p:sum"), ZRValue::array("Null", nullptr));
  EXPECT_EQ(bench.call("getData", "p:sum"), ZRValue::array("Integer", 42));
  EXPECT_EQ(bench.call("getSourceData", "a"), ZRValue::array("Integer", 40));
  EXPECT_EQ(bench.call("getSourceData", "a", "p"), ZRValue::array("Integer", 40));
  EXPECT_EQ(bench.call("getScheduledJobs"), ZRValue::array("p"));
  EXPECT_EQ(bench.call("getProcessSinks", "p"), ZRValue::array("sum"));
  EXPECT_THAT(bench.log.texts(), IsEmpty());
  EXPECT_THAT(errorOf([&] { bench.call("getData", "abc"); }), HasSubstr("Can't get last data(\"abc\"):"));
}

TEST(Module, SetsASourceToItsOwnTypeOnly)
{
  ModuleBench bench;
  bench.call("loadProgram", "source gain { 0.5 } source empty { }");
  EXPECT_EQ(errorOf([&] { bench.call("setData", "gain", ZRValue::array("Integer", 1)); }),
            "Value type mismatches with the source data type:Float");
  EXPECT_EQ(errorOf([&] { bench.call("setData", "gain", 43); }),
            R"(Value must be an array of {"Type", value}, for example ["Integer", 43])");
  EXPECT_EQ(errorOf([&] { bench.call("setData", "gain", ZRValue::array("Vector3", 1)); }),
            "Type not supported:Vector3");
  bench.call("setData", "gain", ZRValue::array("Float", 0.25F));
  EXPECT_EQ(bench.call("getSourceData", "gain"), ZRValue::array("Float", 0.25F));
  bench.call("setData", "empty", ZRValue::array("String", "first"));
  EXPECT_EQ(bench.call("getSourceData", "empty"), ZRValue::array("String", "first"));
}

TEST(Module, TellsTheHighestRateOfThoseWhoReadASource)
{
  ModuleBench bench;
  bench.call("loadProgram", "source s { 1 } source unread { 1 }"
                            "process slow(Identity, 1, 2.0) { in <= s; out => o; }"
                            "process fast(Identity, 1, 30.0) { in <= also; out => o; }");
  EXPECT_EQ(bench.call("getSourceFrequency", "s"), ZRValue(2.0F));
  bench.registry().createSourceAlias("also", "s");
  bench.call("loadProgram", "process fast(Identity, 1, 30.0) { in <= also; out => o; }");
  EXPECT_EQ(bench.call("getSourceFrequency", "also"), ZRValue(30.0F));
  bench.call("disableProcess", "fast");
  EXPECT_EQ(bench.call("getSourceFrequency", "also"), ZRValue(2.0F));
  EXPECT_EQ(bench.call("getSourceFrequency", "unread"), ZRValue(0.0F));
  EXPECT_TRUE(bench.call("isSourceBinded", "s").asBoolean());
  EXPECT_FALSE(bench.call("isSourceBinded", "unread").asBoolean());
}

TEST(Module, TakesTheRobotsHeightOffset)
{
  ModuleBench bench;
  EXPECT_EQ(bench.call("getRobotHeightOffset"), ZRValue(0.0F));
  bench.call("setRobotHeightOffset", 0.25);
  EXPECT_EQ(bench.call("getRobotHeightOffset"), ZRValue(0.25F));
  bench.registry().setData("RobotHeightOffset", makeData(std::int32_t{2}));
  EXPECT_EQ(bench.call("getRobotHeightOffset"), ZRValue(2.0F));
  bench.registry().setData("RobotHeightOffset", makeData(std::string("high")));
  EXPECT_EQ(bench.call("getRobotHeightOffset"), ZRValue(0.0F));
}

TEST(Module, TakesPositionsOfSixCoordinates)
{
  ModuleBench bench;
  bench.registry().createSource("head");
  bench.registry().createSource("hand");
  const std::vector<float> position{1, 2, 3, 0.1F, 0.2F, 0.3F};
  const auto coordinates = [&](const char* source) { return bench.call("getSourceData", source).at(1); };

  bench.module->setMotionSource("head", {1, 2, 3, 4, 5});
  bench.module->setMotionSources({"head", "hand"}, {position, position, position});
  EXPECT_TRUE(coordinates("head").isNull());
  EXPECT_THAT(bench.log.texts("vision.zrfiltrix"),
              ElementsAre("data must contain 6 coordinates", "source name list and data list have different size!"));
  bench.call("_setMotionSources", ZRValue::array("head", "hand"),
             ZRValue::array(ZRValue::array(1, 2, 3, 0.1, 0.2, 0.3), ZRValue::array(1, 2)));
  EXPECT_FALSE(coordinates("head").isNull());
  EXPECT_TRUE(coordinates("hand").isNull());

  bench.log.clear();
  bench.module->setMotionSource("hand", {1, 2, std::nanf(""), 4, 5, 6});
  EXPECT_THAT(bench.log.texts("vision.zrfiltrix"),
              ElementsAre("the data of the motion source \"hand\" should be 6 finite coordinates, got 1 2 nan 4 5 6"));
}

TEST(Module, HandsImagesOut)
{
  ModuleBench bench;
  bench.registry().createSource("camera");
  bench.call("loadProgram", "process p(Identity, 1, 10.0) { in <= camera; out => image; }");
  EXPECT_EQ(bench.module->getImageLocal("p:image"), nullptr);
  EXPECT_TRUE(bench.call("getImageRemote", "p:image").isNull());

  const cv::Mat pixels(2, 3, CV_8UC3, cv::Scalar(10, 20, 30));
  bench.registry().setData("camera",
                           makeData(std::make_shared<Type::ColorImage>(pixels, "camera", Type::Time(5), 1.0F, 0.5F)));
  bench.call("getData", "p:image");
  const std::unique_ptr<ZRImage> image(static_cast<ZRImage*>(bench.module->getImageLocal("p:image")));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 3);
  EXPECT_EQ(image->height(), 2);
  EXPECT_GE(bench.call("getImageRemote", "p:image").size(), 12U);
}

TEST(Module, TellsThePortsOfAFilter)
{
  ModuleBench bench;
  EXPECT_EQ(bench.call("getFilterInputs", "Labelize").toText(),
            R"([["in",["BinaryImage","DepthImage","GrayscaleImage"]],["tolerance",["Integer"],"optional"]])");
  EXPECT_EQ(bench.call("getFilterOutputs", "Labelize").toText(), R"([["out",["LabelImage"]]])");
  EXPECT_EQ(bench.call("getFilterInputs", "Nothing").toText(), "[]");
  EXPECT_THAT(bench.log.texts(), Contains("getFilterInputs(\"Nothing\"): filter not found."));
}

TEST(Module, TellsWhatRunsHaveCost)
{
  ModuleBench bench;
  bench.call("loadProgram", "filter Twice { Add inner; inner:left <= left; inner:right <= right; inner:out => out; }"
                            "source a { 1 }"
                            "process p(Twice, 1, 20.0) { left <= a; right <= a; out => sum; }");
  bench.call("getData", "p:sum");
  bench.call("getData", "p:sum");
  const ZRValue value = bench.call("getInstrumentationValue").at("processes").at(0);
  EXPECT_EQ(value.at("name"), ZRValue("p"));
  EXPECT_EQ(value.at("runs"), ZRValue(1));
  EXPECT_EQ(value.at("early"), ZRValue(1));
  EXPECT_EQ(value.at("nodes").size(), 2U);
  EXPECT_EQ(value.at("nodes").at(1).at("path"), ZRValue("Twice/inner"));
  EXPECT_EQ(value.at("nodes").at(1).at("calls"), ZRValue(1));
  EXPECT_THAT(bench.call("getInstrumentationResult").asString(),
              AllOf(HasSubstr("runs 1, failures 0, too early 1"), HasSubstr("Twice/inner (Add)")));
}
}  // namespace
}  // namespace ZR::Filtrix::Test
