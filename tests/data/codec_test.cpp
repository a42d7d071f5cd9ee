#include "filtrix/codec.h"

#include "filtrix/audiobuffer.h"
#include "filtrix/histogram.h"
#include "filtrix/human.h"
#include "filtrix/image.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <functional>
#include <random>

namespace ZR::Filtrix::Type
{
namespace
{
using testing::HasSubstr;
using testing::StartsWith;

using Bytes = std::vector<std::byte>;

// Random values of every kind that can be written.
class Maker
{
public:
  explicit Maker(unsigned seed) : random(seed) {}

  DataPtr value(int depth = 0)
  {
    DataPtr data = payload(depth);
    if (data)
      data->setTimestamp(Time(static_cast<std::int64_t>(pick(1000)) - 500));
    return data;
  }

private:
  std::uint32_t pick(std::uint32_t below) { return static_cast<std::uint32_t>(random() % below); }

  // Any bits at all: infinities and NaN among them.
  float number() { return std::bit_cast<float>(static_cast<std::uint32_t>(random())); }

  std::string text() { return std::string(pick(6), static_cast<char>(pick(256))); }

  template <typename ImageClass>
  DataPtr image()
  {
    auto result = std::make_shared<ImageClass>(static_cast<int>(pick(5)), static_cast<int>(pick(5)), text(),
                                               Time(1 + pick(9)), number(), number());
    auto* const bytes = reinterpret_cast<unsigned char*>(result->data());
    const std::size_t size = result->cvMat().total() * result->cvMat().elemSize();
    for (std::size_t i = 0; i < size; ++i)
      bytes[i] = static_cast<unsigned char>(random());
    return makeData(std::move(result));
  }

  template <typename ObjectClass, typename RegionClass>
  std::shared_ptr<ObjectClass> object(int depth)
  {
    auto result = std::make_shared<ObjectClass>(pick(2) == 0 ? std::make_shared<RegionClass>() : nullptr);
    for (std::uint32_t i = pick(4); i > 0; --i)
      result->setProperty(static_cast<std::int32_t>(random()), value(depth + 1));
    return result;
  }

  DataPtr human(int depth)
  {
    auto person = std::make_shared<Human>(random(), text());
    person->setData(value(depth + 1));
    person->setScore(text(), number());
    person->setObject2D(text(), pick(3) == 0 ? nullptr : object<Object2D, Region2>(depth + 1));
    person->setObject3D(text(), object<Object3D, Region3>(depth + 1));
    person->setProperty(5, value(depth + 1));
    return makeData(std::move(person));
  }

  DataPtr payload(int depth)
  {
    switch (pick(depth < 4 ? 27 : 22))
    {
    case 0:
      return nullptr;
    case 1:
      return makeData();
    case 2:
      return makeData(pick(2) == 0);
    case 3:
      return makeData(static_cast<std::int32_t>(random()));
    case 4:
      return makeData(static_cast<std::uint32_t>(random()));
    case 5:
      return makeData(number());
    case 6:
      return makeData(static_cast<double>(number()) * 1e100);
    case 7:
      return makeData(text());
    case 8:
      return image<ColorImage>();
    case 9:
      return image<LabelImage>();
    case 10:
      return image<DepthImage>();
    case 11:
      return image<XYZImage>();
    case 12:
      return image<MatrixImage>();
    case 13:
      return makeData(Histogram(pick(9), 1 + pick(3)));
    case 14:
    {
      auto buffer = std::make_shared<AudioBuffer>(pick(9), 1 + pick(2));
      buffer->capture = {Time(3), 48000, {"left", text()}};
      return makeData(std::move(buffer));
    }
    case 15:
      return makeData(Color{number(), 2, 3});
    case 16:
      return makeData(number(), number());
    case 17:
      return makeData(number(), 2.0F, 3.0F, 4.0F, 5.0F, number());
    case 18:
      return makeData(Region3({1, number(), 3}, {4, 5, 6}));
    case 19:
      return makeData(Time(static_cast<std::int64_t>(random())));
    case 20:
      return makeData(Duration(-static_cast<std::int64_t>(random())));
    case 21:
      return makeData(std::shared_ptr<Human>());
    case 22:
      return makeData(object<Object2D, Region2>(depth));
    case 23:
      return makeData(object<Object3D, Region3>(depth));
    case 24:
      return human(depth);
    default:
    {
      DataArray array;
      for (std::uint32_t i = pick(5); i > 0; --i)
        array.push_back(value(depth + 1));
      return makeData(std::move(array));
    }
    }
  }

  std::mt19937_64 random;
};

// What is decoded encodes to as many bytes with the same content; the order of properties is the table's own, so values
// with several of them are compared by a sorted copy of their bytes.
Bytes sorted(Bytes bytes)
{
  std::ranges::sort(bytes);
  return bytes;
}

TEST(Codec, RandomValuesComeBackTheSame)
{
  for (unsigned seed = 1; seed <= 2000; ++seed)
  {
    const DataPtr value = Maker(seed).value();
    const Bytes bytes = encode(value);
    const DataPtr back = decode(bytes);
    ASSERT_EQ(back == nullptr, value == nullptr) << "seed " << seed;
    if (!value)
      continue;
    ASSERT_EQ(back->type(), value->type()) << "seed " << seed;
    ASSERT_EQ(back->timestamp(), value->timestamp()) << "seed " << seed;
    ASSERT_EQ(sorted(encode(back)), sorted(bytes)) << "seed " << seed;
  }
}

TEST(Codec, APersonComesBackWhole)
{
  const auto person = std::make_shared<Human>(7, "anna");
  person->setScore("NotLevitating", 0.25F);
  person->setProperty(3, makeData(1.0F, 2.0F, 3.0F));
  const auto body = std::make_shared<Object2D>(std::make_shared<Region2>(Vector2(1, 2), Vector2(30, 40)));
  const cv::Mat frame(6, 8, CV_16UC1, cv::Scalar(1500));
  body->setProperty(9,
                    makeData(std::make_shared<DepthImage>(frame(cv::Rect(2, 1, 4, 3)), "depth", Time(5), 1.0F, 0.5F)));
  person->setObject2D("BodyImage", body);

  const DataPtr back = decode(encode(makeData(person)));
  const auto* const copy = back->get<Human>();
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->getId(), 7U);
  EXPECT_EQ(copy->getScore("NotLevitating"), 0.25F);
  EXPECT_EQ(*copy->getProperty(3)->get<Vector3>(), Vector3(1, 2, 3));
  EXPECT_EQ(copy->getObject2D("BodyImage")->getRegion()->end, Vector2(30, 40));
  const DataPtr mask = copy->getObject2D("BodyImage")->getProperty(9);
  const auto* const image = mask->get<DepthImage>();
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 4) << "a part of a larger matrix is written without the gaps between its rows";
  EXPECT_EQ(image->at(3, 2), 1500);
  EXPECT_EQ(image->sourceName(), "depth");
}

std::string failure(const std::function<void()>& call)
{
  try
  {
    call();
  }
  catch (const CodecError& error)
  {
    return error.what();
  }
  return "nothing thrown";
}

TEST(Codec, WhatMeansNothingElsewhereIsRefusedWithThePathToIt)
{
  const auto opaque = makeData(std::shared_ptr<void>(std::make_shared<int>(1)));
  EXPECT_EQ(failure([&] { (void)encode(opaque); }), "encode: a value of type Unknown can not be written");
  const auto person = std::make_shared<Human>();
  person->setObject2D("body", std::make_shared<Object2D>());
  person->getObject2D("body")->setProperty(4, opaque);
  EXPECT_EQ(failure(
                [&] {
                  (void)encode(makeData(DataArray{nullptr, makeData(person)}));
                }),
            "encode: [1].object(body).property(4): a value of type Unknown can not be written");

  const auto endless = makeData(DataArray());
  endless->get<DataArray>()->push_back(endless);
  EXPECT_THAT(failure([&] { (void)encode(endless); }), HasSubstr("expected at most 64 levels of nesting"));
  endless->get<DataArray>()->clear();
}

TEST(Codec, NestsToItsLimitAndNoFurther)
{
  DataPtr value = makeData(1);
  for (std::size_t i = 0; i < maxCodecDepth; ++i)
    value = makeData(DataArray{value});
  Bytes bytes = encode(value);
  EXPECT_EQ(toText(*decode(bytes)), toText(*value));
  const DataPtr around = makeData(DataArray());
  around->get<DataArray>()->push_back(value);
  EXPECT_THAT(failure([&] { (void)encode(around); }), HasSubstr("levels of nesting"));

  // One level more, put around it by hand: an array of one element.
  Bytes deeper{std::byte{1}, std::byte{23}};
  deeper.resize(10);
  deeper.push_back(std::byte{1});
  deeper.insert(deeper.end(), {std::byte{1}, std::byte{0}, std::byte{0}, std::byte{0}});
  deeper.insert(deeper.end(), bytes.begin() + 1, bytes.end());
  EXPECT_THAT(failure([&] { (void)decode(deeper); }), HasSubstr("levels of nesting"));
}

// Bytes cut short anywhere, and with any one byte changed: a value or an error that names the byte, never anything
// else.
TEST(Codec, SpoiltBytesGiveAValueOrAnError)
{
  for (unsigned seed = 1; seed <= 40; ++seed)
  {
    const Bytes bytes = encode(Maker(seed).value());
    for (std::size_t length = 0; length < std::min<std::size_t>(bytes.size(), 400); ++length)
      EXPECT_THAT(failure([&] { (void)decode(std::span(bytes).first(length)); }), StartsWith("decode: byte "));
    for (std::size_t at = 0; at < std::min<std::size_t>(bytes.size(), 400); ++at)
    {
      for (const unsigned flip : {1U, 0x80U, 0xFFU})
      {
        Bytes spoilt = bytes;
        spoilt[at] ^= static_cast<std::byte>(flip);
        try
        {
          (void)encode(decode(spoilt));
        }
        catch (const CodecError& error)
        {
          ASSERT_THAT(error.what(), StartsWith("decode: byte "));
        }
      }
    }
  }
}

TEST(Codec, ErrorsTellWhatWasExpectedAndWhatCame)
{
  const auto bytes = [](std::initializer_list<int> values)
  {
    Bytes out;
    for (const int value : values)
      out.push_back(static_cast<std::byte>(value));
    return out;
  };
  EXPECT_EQ(failure([&] { (void)decode({}); }), "decode: byte 0: expected 1 bytes for the version, got 0");
  EXPECT_EQ(failure([&] { (void)decode(bytes({2})); }), "decode: byte 0: expected version 1, got 2");
  EXPECT_EQ(failure([&] { (void)decode(bytes({1, 255, 0})); }), "decode: byte 2: expected the end, got 1 more bytes");
  EXPECT_EQ(failure(
                [&] {
                  (void)decode(bytes({1, 99, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
                }),
            "decode: byte 1: expected a tag that can be written, got 99");
  EXPECT_EQ(failure(
                [&] {
                  (void)decode(bytes({1, 6, 0, 0, 0, 0, 0, 0, 0, 0, 1, 255, 255, 255, 127}));
                }),
            "decode: byte 11: expected at most 0 items or bytes for a string, as the bytes left allow, got 2147483647");
  // An image of 2^31 - 1 by 2^31 - 1 pixels in a few bytes.
  EXPECT_THAT(failure(
                  [&]
                  {
                    Bytes image = bytes({1, 11, 0, 0, 0, 0, 0, 0, 0, 0, 1, 255, 255, 255, 127, 255, 255, 255, 127});
                    image.resize(image.size() + 4 + 8 + 8 + 100);
                    (void)decode(image);
                  }),
              HasSubstr("expected an image of at most 50 pixels"));
}
}  // namespace
}  // namespace ZR::Filtrix::Type
