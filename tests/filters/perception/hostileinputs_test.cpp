// Every filter of both libraries on values that no sensor should give: numbers that are none or have no end, images
// without pixels or of one row, arrays of everything, people who know nothing, and nothing at all. A run may fail, with
// an exception that says why. It may not break anything, nor change an image that others read too, nor give what the
// ports do not declare.

#include "filters/filterkit.h"
#include "filters/generic/genericfilters.h"
#include "filters/perception/perceptionfilters.h"
#include "filtrix/audiobuffer.h"
#include "filtrix/histogram.h"
#include "filtrix/human.h"
#include "filtrix/ku/log.h"
#include "graph/lambda.h"
#include "graph/lambdafactory.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <exception>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using Test::image;

constexpr int rounds = 1000;
constexpr float numbers[] = {0.0F,
                             0.5F,
                             -1.0F,
                             3.0F,
                             1e30F,
                             -1e30F,
                             3e9F,
                             std::numeric_limits<float>::denorm_min(),
                             std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::quiet_NaN()};
constexpr std::int32_t integers[] = {0,
                                     1,
                                     -1,
                                     3,
                                     255,
                                     2001,
                                     100'000,
                                     std::numeric_limits<std::int32_t>::max(),
                                     std::numeric_limits<std::int32_t>::min()};

// The images of all kinds, with a copy of their pixels.
struct Picture
{
  DataPtr value;
  cv::Mat pixels;
  cv::Mat before;
};

std::vector<Picture> makePictures()
{
  std::vector<Picture> pictures;
  cv::RNG random(5);
  const auto add = [&]<typename Image>(int type, double most, const Image*)
  {
    for (const cv::Size size : {cv::Size(0, 0), cv::Size(1, 1), cv::Size(1, 9), cv::Size(9, 1), cv::Size(40, 30)})
    {
      cv::Mat pixels(size, type);
      if (!pixels.empty())
        random.fill(pixels, cv::RNG::UNIFORM, 0.0, most);
      pictures.push_back({image<Image>(pixels), pixels, pixels.clone()});
    }
  };
  add(CV_8UC3, 256, static_cast<Type::ColorImage*>(nullptr));
  add(CV_8UC1, 256, static_cast<Type::GrayscaleImage*>(nullptr));
  add(CV_8UC1, 2, static_cast<Type::BinaryImage*>(nullptr));
  add(CV_32SC1, 1e6, static_cast<Type::LabelImage*>(nullptr));
  add(CV_16UC1, 5000, static_cast<Type::DepthImage*>(nullptr));
  add(CV_32FC3, 4, static_cast<Type::XYZImage*>(nullptr));
  add(CV_32FC1, 4, static_cast<Type::MatrixImage*>(nullptr));
  // Points that were not measured, and labels that are none.
  cv::Mat points(7, 7, CV_32FC3, cv::Scalar::all(std::numeric_limits<double>::quiet_NaN()));
  pictures.push_back({image<Type::XYZImage>(points), points, points.clone()});
  cv::Mat labels(7, 7, CV_32SC1, cv::Scalar::all(std::numeric_limits<int>::min()));
  labels.at<int>(3, 3) = std::numeric_limits<int>::max();
  pictures.push_back({image<Type::LabelImage>(labels), labels, labels.clone()});
  return pictures;
}

// Makes values at random, of a type or of any.
class Maker final
{
public:
  explicit Maker(unsigned seed) : random(seed) {}

  DataPtr make(int depth = 0) { return make(static_cast<TypeTag>(1 + _below(typeTagCount - 1)), depth); }

  DataPtr make(TypeTag tag, int depth = 0)
  {
    switch (tag)
    {
    case TypeTag::Boolean:
      return makeData(_below(2) == 0);
    case TypeTag::Integer:
      return makeData(_of(integers));
    case TypeTag::UnsignedInteger:
      return makeData(static_cast<std::uint32_t>(_of(integers)));
    case TypeTag::Float:
      return makeData(_number());
    case TypeTag::Double:
      return makeData(static_cast<double>(_number()));
    case TypeTag::String:
      return makeData(std::string(_below(3) * 200, 'x'));
    case TypeTag::Color:
      return makeData(Type::Color{255, 0, 7});
    case TypeTag::Vector2:
      return makeData(_number(), _number());
    case TypeTag::Vector3:
      return makeData(_number(), _number(), _number());
    case TypeTag::Vector4:
      return makeData(_number(), _number(), _number(), _number());
    case TypeTag::Vector6:
      return makeData(_number(), _number(), _number(), _number(), _number(), _number());
    case TypeTag::Region2:
      return makeData(*_region());
    case TypeTag::Array:
      return makeData(_array(depth));
    case TypeTag::Human:
      return makeData(_human(depth));
    case TypeTag::Object2D:
      return makeData(_object(depth));
    case TypeTag::Object3D:
      return makeData(std::make_shared<Type::Object3D>());
    case TypeTag::Time:
      return makeData(Time(_below(2) == 0 ? std::numeric_limits<std::int64_t>::max() : -1));
    case TypeTag::Duration:
      return makeData(Duration(std::numeric_limits<std::int64_t>::min()));
    case TypeTag::Histogram:
      return makeData(Type::Histogram(static_cast<std::uint32_t>(_below(2) * 3)));
    case TypeTag::Lambda:
      return makeData(std::make_shared<Type::Lambda>(makeIdentity()));
    default:
      return _picture(tag);
    }
  }

  // What a port may be given: mostly of its types, at times nothing, or of another one.
  DataPtr makeFor(const Port& port)
  {
    const auto& types = port.getTypes();
    switch (_below(8))
    {
    case 0:
      return nullptr;
    case 1:
      return make();
    default:
      return types.empty() ? make() : make(types[_below(types.size())]);
    }
  }

  void expectPicturesUnchanged() const
  {
    for (const Picture& picture : pictures)
    {
      const std::size_t size = picture.before.total() * picture.before.elemSize();
      EXPECT_TRUE(size == 0 || std::memcmp(picture.pixels.data, picture.before.data, size) == 0)
          << "an image of type " << Type::typeName(picture.value->type()) << " has been written to";
    }
  }

private:
  std::size_t _below(std::size_t end) { return random() % end; }

  template <typename Value, std::size_t size>
  Value _of(const Value (&values)[size])
  {
    return values[_below(size)];
  }

  float _number() { return _of(numbers); }

  DataPtr _picture(TypeTag tag)
  {
    std::vector<DataPtr> fitting;
    for (const Picture& picture : pictures)
    {
      if (picture.value->type() == tag)
        fitting.push_back(picture.value);
    }
    return fitting.empty() ? makeData() : fitting[_below(fitting.size())];
  }

  std::shared_ptr<Type::Region2> _region()
  {
    return std::make_shared<Type::Region2>(Type::Vector2{_number(), _number()}, Type::Vector2{_number(), _number()});
  }

  std::shared_ptr<Type::Object2D> _object(int depth)
  {
    auto object = _below(2) == 0 ? std::make_shared<Type::Object2D>() : std::make_shared<Type::Object2D>(_region());
    for (std::int32_t key = 0; key < 40 && depth < 3; key += 1 + static_cast<std::int32_t>(_below(8)))
      object->setProperty(key, make(depth + 2));
    return object;
  }

  std::shared_ptr<Type::Human> _human(int depth)
  {
    auto human = std::make_shared<Type::Human>(_below(3), "x");
    if (_below(3) == 0)
      return human;
    human->setObject2D(_below(2) == 0 ? "BodyImage" : "Face", _below(4) == 0 ? nullptr : _object(depth));
    human->setObject3D("3D", _below(4) == 0 ? nullptr : std::make_shared<Type::Object3D>());
    human->setScore("x", _number());
    for (std::int32_t key = 0; key < 60 && depth < 3; key += 1 + static_cast<std::int32_t>(_below(8)))
      human->setProperty(key, make(depth + 2));
    return human;
  }

  DataArray _array(int depth)
  {
    DataArray array;
    const TypeTag tag = _below(2) == 0 ? TypeTag::Human : static_cast<TypeTag>(1 + _below(typeTagCount - 1));
    for (auto size = depth < 3 ? _below(6) : 0; size > 0; --size)
      array.push_back(_below(6) == 0 ? nullptr : make(tag, depth + 1));
    return array;
  }

  std::mt19937 random;
  const std::vector<Picture> pictures = makePictures();
};

class Library final : public LambdaFactory
{
public:
  [[nodiscard]] std::shared_ptr<Type::Lambda> createLambda(const std::string&) const override
  {
    return std::make_shared<Type::Lambda>(makeIdentity());
  }
};

void expectWithstands(const FilterPtr& filter, unsigned seed)
{
  SCOPED_TRACE(filter->getName());
  FilterBench run(filter);
  Maker maker(seed);
  int done = 0;
  for (int round = 0; round < rounds; ++round)
  {
    DataList inputs;
    for (const PortPtr& input : filter->getInputs())
      inputs.push_back(maker.makeFor(*input));
    DataList outputs;
    try
    {
      outputs = run(inputs, round % 3 == 0 ? "other" : "test");
      ++done;
    }
    catch (const std::exception& error)
    {
      EXPECT_STRNE(error.what(), "") << "a run fails with a reason";
      continue;
    }
    ASSERT_LE(outputs.size(), filter->getOutputs().size());
    for (std::size_t i = 0; i < outputs.size(); ++i)
    {
      const Port& port = *filter->getOutputs()[i];
      EXPECT_TRUE(!outputs[i] || port.acceptsType(outputs[i]->type()))
          << port.getName() << " gave a value of type " << Type::typeName(outputs[i]->type());
    }
  }
  EXPECT_GT(done, 0) << "it never came through";
  maker.expectPicturesUnchanged();
}

class HostileInputs : public testing::Test
{
protected:
  const ku::log::Capture silence{ku::log::Level::Debug};
};

TEST_F(HostileInputs, AreWithstoodByTheGenericLibrary)
{
  unsigned seed = 0;
  for (const FilterPtr& filter : makeGenericFilters())
    expectWithstands(filter, ++seed);
}

TEST_F(HostileInputs, AreWithstoodByThePerceptionLibrary)
{
  const Library library;
  unsigned seed = 1000;
  for (const auto& filter : makePerceptionFilters(library))
    expectWithstands(std::make_shared<FilterAdapter>(filter), ++seed);
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
