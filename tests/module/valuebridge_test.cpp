#include "module/valuebridge.h"

#include "filtrix/histogram.h"
#include "filtrix/human.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace ZR::Filtrix::ValueBridge
{
namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

// The text that `use` throws, which must be logged too.
template <typename Use>
std::string errorOf(const Use& use)
{
  const ku::log::Capture log;
  try
  {
    use();
  }
  catch (const std::runtime_error& error)
  {
    EXPECT_THAT(log.entries(), ElementsAre(ku::log::Entry{ku::log::Level::Error, "filtrix.valuebridge", error.what()}));
    return error.what();
  }
  return "no error";
}

std::string textOf(const DataPtr& value)
{
  return toZRValue(value).toText();
}

struct Settable
{
  const char* name;
  const char* tagged;
  TypeTag type;
  const char* out;  // the same value on its way out
};

class SettableTest : public testing::TestWithParam<Settable>
{
};

TEST_P(SettableTest, IsReadInItsType)
{
  const DataPtr value = toData(ZRValue::fromText(GetParam().tagged));
  ASSERT_TRUE(value);
  EXPECT_EQ(value->type(), GetParam().type);
  EXPECT_EQ(textOf(value), GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(
    Values, SettableTest,
    testing::Values(Settable{"Integer", R"(["Integer",-2147483648])", TypeTag::Integer, R"(["Integer",-2147483648])"},
                    Settable{"WholeDouble", R"(["Integer",43.0])", TypeTag::Integer, R"(["Integer",43])"},
                    Settable{"Boolean", R"(["Boolean",true])", TypeTag::Boolean, R"(["Boolean",true])"},
                    Settable{"Float", R"(["Float",1.5])", TypeTag::Float, R"(["Float",1.5f])"},
                    Settable{"FloatOfAnInteger", R"(["Float",2])", TypeTag::Float, R"(["Float",2.0f])"},
                    Settable{"Double", R"(["Double",0.1])", TypeTag::Double, R"(["Double",0.1])"},
                    Settable{"String", R"(["String","\x00\n"])", TypeTag::String, R"(["String","\x00\n"])"}),
    [](const auto& test) { return std::string(test.param.name); });

struct Refused
{
  const char* name;
  const char* tagged;
  const char* error;
};

class RefusedTest : public testing::TestWithParam<Refused>
{
};

TEST_P(RefusedTest, IsLoggedAndThrown)
{
  const ZRValue tagged = ZRValue::fromText(GetParam().tagged);
  EXPECT_EQ(errorOf([&] { static_cast<void>(toData(tagged)); }), GetParam().error);
}

constexpr const char* noTag = R"(Value must be an array of {"Type", value}, for example ["Integer", 43])";

INSTANTIATE_TEST_SUITE_P(
    Values, RefusedTest,
    testing::Values(Refused{"BareNumber", "43", noTag}, Refused{"ThreeItems", R"(["Integer",43,44])", noTag},
                    Refused{"TagThatIsNoString", "[43,43]", noTag},
                    Refused{"Vector", R"(["Vector3",[1,2,3]])", "Type not supported:Vector3"},
                    Refused{"OtherCase", R"(["integer",43])", "Type not supported:integer"},
                    Refused{"MoreThan32Bits", R"(["Integer",2147483648])",
                            "Value of type Integer: expected an Integer of 32 bits, came 2147483648"},
                    Refused{"AnotherKind", R"(["String",43])",
                            "Value of type String: ZRValue: expected String, came Integer"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ValueBridge, WritesPlainValuesUnderTheirNames)
{
  EXPECT_EQ(textOf(makeData(std::numeric_limits<std::uint32_t>::max())), R"(["Integer",4294967295])");
  EXPECT_EQ(textOf(makeData(Time(1'500'000))), R"(["Integer",1500000])");
  EXPECT_EQ(textOf(makeData(Duration(-7))), R"(["Integer",-7])");
  EXPECT_EQ(textOf(makeData(1.0F, 2.0F)), R"(["Vector2",[1.0f,2.0f]])");
  EXPECT_EQ(textOf(makeData(Type::Color{1, 2, 3})), R"(["Vector3",[1.0f,2.0f,3.0f]])");
  EXPECT_EQ(textOf(makeData(1.0F, 2.0F, 3.0F, 4.0F)), R"(["Vector4",[1.0f,2.0f,3.0f,4.0f]])");
  EXPECT_EQ(textOf(makeData(1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F)), R"(["Vector6",[1.0f,2.0f,3.0f,4.0f,5.0f,6.0f]])");
  EXPECT_EQ(textOf(makeData(Type::Region2({1, 2}, {3, 4}))), R"(["Region2",[[1.0f,2.0f],[3.0f,4.0f]]])");
  EXPECT_EQ(textOf(makeData(DataArray{makeData(true), nullptr, makeData(DataArray{})})),
            R"(["Array",[["Boolean",true],["Null",null],["Array",[]]]])");
}

TEST(ValueBridge, WritesNullForWhatHasNoForm)
{
  const DataPtr values[] = {nullptr, makeData(), makeData(std::shared_ptr<Type::Human>()), makeData(Type::Histogram(3)),
                            makeData(std::shared_ptr<void>(std::make_shared<int>(1)))};
  for (const DataPtr& value : values)
    EXPECT_EQ(textOf(value), R"(["Null",null])") << "case " << &value - values;
}

TEST(ValueBridge, WritesAPersonWithAllThatBelongsToIt)
{
  const auto body =
      std::make_shared<Type::Object2D>(std::make_shared<Type::Region2>(Type::Vector2{1, 2}, Type::Vector2{3, 4}));
  for (const int key : {30, -1, 7})
    body->setProperty(key, makeData(key));
  const auto human = std::make_shared<Type::Human>(std::numeric_limits<std::uint64_t>::max(), "Anna");
  human->setData(makeData("near"));
  human->setScore("B", 0.5F);
  human->setScore("A", 1.0F);
  human->setObject2D("BodyImage", body);
  human->setObject2D("None", nullptr);
  human->setObject3D("3D", std::make_shared<Type::Object3D>());
  human->setProperty(2, nullptr);
  const std::string bodyText =
      R"([[[1.0f,2.0f],[3.0f,4.0f]],[[-1,["Integer",-1]],[7,["Integer",7]],[30,["Integer",30]]]])";
  EXPECT_EQ(textOf(makeData(human)), R"(["Human",[-1,"Anna",["String","near"],[["A",1.0f],["B",0.5f]],[["BodyImage",)" +
                                         bodyText + R"(],["None",null]],[["3D",[null,[]]]],[[2,["Null",null]]]]])");
  EXPECT_EQ(textOf(makeData(body)), R"(["Object2D",)" + bodyText + "]");
}

// `levels` arrays around a number.
DataPtr nested(std::size_t levels)
{
  DataPtr value = makeData(1);
  for (std::size_t i = 1; i < levels; ++i)
    value = makeData(DataArray{value});
  return value;
}

TEST(ValueBridge, BoundsWhatHoldsItself)
{
  EXPECT_NO_THROW(static_cast<void>(toZRValue(nested(maxLevels))));
  EXPECT_EQ(errorOf([&] { static_cast<void>(toZRValue(nested(maxLevels + 1))); }),
            "Value is nested more than 32 levels deep");

  DataPtr doubled = makeData(1);
  for (std::size_t i = 0; i + 1 < maxLevels; ++i)
    doubled = makeData(DataArray{doubled, doubled});
  EXPECT_EQ(errorOf([&] { static_cast<void>(toZRValue(doubled)); }), "Value holds more than 1000000 values");

  // The form that nests deepest for each level: a person that is a property of its own body.
  const auto human = std::make_shared<Type::Human>();
  const auto body = std::make_shared<Type::Object3D>();
  human->setObject3D("3D", body);
  body->setProperty(0, makeData(human));
  EXPECT_EQ(errorOf([&] { static_cast<void>(toZRValue(makeData(human))); }),
            "Value is nested more than 32 levels deep");
  body->removeProperty(0);
}

template <typename Image>
std::shared_ptr<Image> image()
{
  auto made = std::make_shared<Image>(3, 2, "VideoDevice_TopCamera<QVGA>", Time(2'000'005), 1.0F, 0.5F);
  for (int y = 0; y < 2; ++y)
    for (int i = 0; i < 3 * Image::channels; ++i)
      made->row(y)[i] = static_cast<typename Image::PixelType>(1000 * y + i);
  return made;
}

template <typename Image>
void expectRecord(int colorSpace)
{
  const auto source = image<Image>();
  const auto record = toZRImage(makeData(source));
  ASSERT_TRUE(record);
  ZRImageHeader expected;
  expected.width = 3;
  expected.height = 2;
  expected.nbLayers = static_cast<std::int32_t>(source->cvMat().elemSize());
  expected.colorSpace = colorSpace;
  expected.timestamp = 2'000'005;
  expected.cameraId = -1;
  expected.angles = {0.5F, 0.25F, -0.5F, -0.25F};
  EXPECT_EQ(record->header(), expected);
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(source->data());
  EXPECT_TRUE(std::ranges::equal(record->bytes(), std::span(bytes, record->bytes().size())));
}

TEST(ValueBridge, HandsImagesOutAsRecords)
{
  expectRecord<Type::ColorImage>(11);
  expectRecord<Type::GrayscaleImage>(0);
  expectRecord<Type::BinaryImage>(0);
  expectRecord<Type::LabelImage>(100);
  expectRecord<Type::DepthImage>(17);
}

TEST(ValueBridge, ClosesTheGapsBetweenTheRowsOfACroppedMatrix)
{
  const auto whole = image<Type::DepthImage>();
  const auto right = std::make_shared<Type::DepthImage>(whole->cvMat().colRange(1, 3), "crop", Time(1), 1.0F, 1.0F);
  const auto record = toZRImage(makeData(right));
  ASSERT_TRUE(record);
  std::vector<std::uint16_t> pixels(4);
  ASSERT_EQ(record->bytes().size(), 8U);
  std::memcpy(pixels.data(), record->data(), 8);
  EXPECT_THAT(pixels, ElementsAre(1, 2, 1001, 1002));
}

TEST(ValueBridge, WritesAnImageAsItsRecordAndItsSource)
{
  const DataPtr value = makeData(image<Type::ColorImage>());
  ZRValue expected = toRemoteImage(value);
  ASSERT_EQ(expected.size(), 12U);
  expected.push_back("VideoDevice_TopCamera<QVGA>");
  EXPECT_EQ(toZRValue(value), ZRValue::array("ColorImage", expected));
  EXPECT_TRUE(ZRImage::fromZRValue(expected));
}

TEST(ValueBridge, GivesNoRecordForWhatIsNoImage)
{
  const ku::log::Capture log;
  EXPECT_FALSE(toZRImage(nullptr));
  EXPECT_TRUE(toRemoteImage(nullptr).isNull());
  EXPECT_FALSE(toZRImage(makeData(std::shared_ptr<Type::ColorImage>())));
  EXPECT_THAT(log.texts(), IsEmpty());
  EXPECT_FALSE(toZRImage(makeData(image<Type::XYZImage>())));
  EXPECT_TRUE(toRemoteImage(makeData(43)).isNull());
  EXPECT_THAT(log.texts("filtrix.valuebridge"),
              ElementsAre("A value of type XYZImage cannot be handed out as an image",
                          "A value of type Integer cannot be handed out as an image"));
}
}  // namespace
}  // namespace ZR::Filtrix::ValueBridge
