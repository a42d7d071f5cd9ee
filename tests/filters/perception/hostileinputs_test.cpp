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
#include "filtrix/properties.h"
#include "graph/lambda.h"
#include "graph/lambdafactory.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
using Test::FilterBench;
using Test::image;

constexpr int rounds = 1000;
constexpr int finiteRounds = 500;
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
constexpr float soundNumbers[] = {0.0F, 0.5F, 1.0F, 3.0F, 100.0F};
constexpr std::int32_t integers[] = {0,
                                     1,
                                     -1,
                                     3,
                                     255,
                                     2001,
                                     100'000,
                                     std::numeric_limits<std::int32_t>::max(),
                                     std::numeric_limits<std::int32_t>::min()};

struct Property
{
  std::int32_t key;
  TypeTag type;
};

#define FILTRIX_PROPERTY(name, key, type, doc) {(key), TypeTag::type},
constexpr Property ofPeople[] = {FILTRIX_HUMAN_PROPERTIES(FILTRIX_PROPERTY)};
constexpr Property ofObjects2D[] = {FILTRIX_OBJECT2D_PROPERTIES(FILTRIX_PROPERTY)};
constexpr Property ofObjects3D[] = {FILTRIX_OBJECT3D_PROPERTIES(FILTRIX_PROPERTY)};
#undef FILTRIX_PROPERTY

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
  explicit Maker(unsigned seed, std::span<const float> usual_ = numbers) : random(seed), usual(usual_) {}

  // The number that is made after so many others is this one.
  void spoil(int after, float number)
  {
    left = after;
    spoilt = number;
  }

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
    case TypeTag::Region3:
      return makeData(*_box());
    case TypeTag::Array:
      return makeData(_array(depth));
    case TypeTag::Human:
      return makeData(_human(depth));
    case TypeTag::Object2D:
      return makeData(_object(depth));
    case TypeTag::Object3D:
      return makeData(_object3D(depth));
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

  // A value that a port takes.
  DataPtr makeSoundFor(const Port& port)
  {
    const auto& types = port.getTypes();
    return types.empty() ? make() : make(types[_below(types.size())]);
  }

  // What a port may be given: mostly of its types, at times nothing, or of another one.
  DataPtr makeFor(const Port& port)
  {
    switch (_below(8))
    {
    case 0:
      return nullptr;
    case 1:
      return make();
    default:
      return makeSoundFor(port);
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

  float _number() { return left-- == 0 ? spoilt : usual[_below(usual.size())]; }

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

  std::shared_ptr<Type::Region3> _box()
  {
    return std::make_shared<Type::Region3>(Type::Vector3{_number(), _number(), _number()},
                                           Type::Vector3{_number(), _number(), _number()});
  }

  // All of the properties or half of them, mostly of their types.
  template <typename Holder>
  void _describe(Holder& holder, std::span<const Property> properties, int depth)
  {
    const bool isWhole = _below(2) == 0;
    for (const auto& [key, type] : properties)
    {
      if (depth < 3 && (isWhole || _below(2) == 0))
        holder.setProperty(key, _below(32) == 0 ? make(depth + 2) : make(type, depth + 2));
    }
  }

  std::shared_ptr<Type::Object2D> _object(int depth)
  {
    auto object = _below(2) == 0 ? std::make_shared<Type::Object2D>() : std::make_shared<Type::Object2D>(_region());
    _describe(*object, ofObjects2D, depth);
    return object;
  }

  std::shared_ptr<Type::Object3D> _object3D(int depth)
  {
    auto object = _below(4) == 0 ? std::make_shared<Type::Object3D>() : std::make_shared<Type::Object3D>(_box());
    _describe(*object, ofObjects3D, depth);
    return object;
  }

  std::shared_ptr<Type::Human> _human(int depth)
  {
    auto human = std::make_shared<Type::Human>(_below(3), "x");
    if (_below(3) == 0)
      return human;
    human->setObject2D(_below(2) == 0 ? "BodyImage" : "Face", _below(4) == 0 ? nullptr : _object(depth));
    human->setObject3D("3D", _below(4) == 0 ? nullptr : _object3D(depth));
    human->setScore("x", _number());
    _describe(*human, ofPeople, depth);
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
  std::span<const float> usual;
  int left = -1;
  float spoilt = 0.0F;
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

// Looks through values for numbers that are none or have no end, and that were not there before.
class NumberSearch final
{
public:
  // What is in there is given, and may be passed on, also in a value of its own.
  void know(const DataPtr& value)
  {
    given.push_back(value);
    _walk(value.get(), "", false);
  }

  // Where the first one is that is new; nothing when there is none.
  std::string find(const DataPtr& value)
  {
    found.clear();
    seen.clear();
    _walk(value.get(), "", true);
    return found;
  }

private:
  void _walk(const Data* value, const std::string& where, bool looks)
  {
    if (value == nullptr || !(looks ? seen : known).insert(value).second || (looks && known.contains(value)))
      return;
    const std::string name = where + "/" + std::string(Type::typeName(value->type()));
    const auto check = [&](auto... parts)
    {
      if ((std::isfinite(parts) && ...))
        return;
      if (!looks && sizeof...(parts) > 1)
        knownVectors.insert(Type::toText(*value));
      if (looks && !knownVectors.contains(Type::toText(*value)))
        found = name;
    };
    switch (value->type())
    {
    case TypeTag::Float:
      return check(*value->get<float>());
    case TypeTag::Double:
      return check(*value->get<double>());
    case TypeTag::Vector2:
      return check(value->get<Type::Vector2>()->x, value->get<Type::Vector2>()->y);
    case TypeTag::Vector3:
    {
      const auto& [x, y, z] = *value->get<Type::Vector3>();
      return check(x, y, z);
    }
    case TypeTag::Vector4:
    {
      const auto& [x, y, z, w] = *value->get<Type::Vector4>();
      return check(x, y, z, w);
    }
    case TypeTag::Vector6:
    {
      const auto& [x, y, z, wx, wy, wz] = *value->get<Type::Vector6>();
      return check(x, y, z, wx, wy, wz);
    }
    case TypeTag::Region2:
      return _region(value->get<Type::Region2>(), name, looks);
    case TypeTag::Region3:
      return _region(value->get<Type::Region3>(), name, looks);
    case TypeTag::Array:
      for (const DataPtr& element : *value->get<DataArray>())
        _walk(element.get(), name, looks);
      return;
    case TypeTag::Object2D:
      return _object(value->share<Type::Object2D>().get(), name, looks);
    case TypeTag::Object3D:
      return _object(value->share<Type::Object3D>().get(), name, looks);
    case TypeTag::Human:
      return _human(value->share<Type::Human>().get(), name, looks);
    default:
      return;
    }
  }

  template <typename Region>
  void _region(const Region* region, const std::string& name, bool looks)
  {
    if (region == nullptr || !(looks ? seen : known).insert(region).second || (looks && known.contains(region)))
      return;
    const auto sum = [](const auto& corner)
    {
      if constexpr (requires { corner.z; })
        return corner.x * 0.0F + corner.y * 0.0F + corner.z * 0.0F;
      else
        return corner.x * 0.0F + corner.y * 0.0F;
    };
    if (looks && !(sum(region->start) == 0.0F && sum(region->end) == 0.0F))
      found = name;
  }

  template <typename Object>
  void _object(const Object* object, const std::string& name, bool looks)
  {
    if (object == nullptr)
      return;
    _region(object->getRegion().get(), name + "/region", looks);
    _properties(object->getProperties(), name, looks);
  }

  void _properties(const Type::PropertyTable& table, const std::string& name, bool looks)
  {
    for (const auto& [key, value] : table)
      _walk(value.get(), name + " " + std::to_string(key), looks);
  }

  void _human(const Type::Human* human, const std::string& name, bool looks)
  {
    if (human == nullptr)
      return;
    for (const auto& [score, number] : human->getScores())
    {
      if (!looks && !std::isfinite(number))
        knownScores.insert(score);
      if (looks && !std::isfinite(number) && !knownScores.contains(score))
        found = name + " score " + score;
    }
    for (const auto& [object, body] : human->getObjects2D())
      _object(body.get(), name + " " + object, looks);
    for (const auto& [object, body] : human->getObjects3D())
      _object(body.get(), name + " " + object, looks);
    _properties(human->getProperties(), name, looks);
  }

  std::vector<DataPtr> given;
  std::set<const void*> known;
  std::set<const void*> seen;
  std::set<std::string> knownVectors;
  std::set<std::string> knownScores;
  std::string found;
};

constexpr float spoiltNumbers[] = {std::numeric_limits<float>::quiet_NaN(),
                                   std::numeric_limits<float>::infinity(),
                                   -std::numeric_limits<float>::infinity(),
                                   1e30F,
                                   -1e30F,
                                   std::numeric_limits<float>::denorm_min()};

// Inputs of the types that a filter takes, in which one number is not sound: nothing that the filter makes of them is
// no number or without end, in this run or in one of the next ones, which have the same state.
void expectFinite(const FilterPtr& filter, unsigned seed)
{
  SCOPED_TRACE(filter->getName());
  constexpr int runsOfAState = 4;
  constexpr int fewNumbers = 17;
  constexpr int manyNumbers = 331;
  FilterBench run(filter);
  Maker maker(seed, soundNumbers);
  std::set<std::string> failures;
  std::optional<NumberSearch> search;
  for (int round = 0; round < finiteRounds; ++round)
  {
    if (round % runsOfAState == 0)
      search.emplace();
    DataList inputs;
    // Each of the numbers in each input: as its first one, as one of its next ones, as any.
    const auto choice = static_cast<std::size_t>(round);
    const std::size_t numberCount = std::size(spoiltNumbers);
    const float spoilt = spoiltNumbers[choice % numberCount];
    const int within[] = {1, fewNumbers, manyNumbers};
    const int after = round % within[choice / numberCount % 3];
    const std::size_t spoiltInput = choice / (3 * numberCount) % std::max<std::size_t>(1, filter->getInputs().size());
    for (const PortPtr& input : filter->getInputs())
    {
      if (inputs.size() == spoiltInput)
        maker.spoil(after, spoilt);
      inputs.push_back(maker.makeSoundFor(*input));
      search->know(inputs.back());
    }
    DataList outputs;
    try
    {
      outputs = run(inputs, fmt::format("{}", round / runsOfAState));
    }
    catch (const std::exception&)
    {
      continue;
    }
    for (const DataPtr& output : outputs)
    {
      const std::string where = search->find(output);
      if (!where.empty())
        failures.insert(fmt::format("{} of {}", where, spoilt));
    }
  }
  EXPECT_THAT(failures, testing::IsEmpty());
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

TEST_F(HostileInputs, AreMadeFiniteByTheGenericLibrary)
{
  unsigned seed = 2000;
  for (const FilterPtr& filter : makeGenericFilters())
  {
    // Arithmetic on numbers is that of the numbers.
    if (!std::set<std::string>{"Add", "Max", "Min", "Multiply", "Sub"}.contains(filter->getName()))
      expectFinite(filter, ++seed);
  }
}

TEST_F(HostileInputs, AreMadeFiniteByThePerceptionLibrary)
{
  const Library library;
  unsigned seed = 3000;
  for (const auto& filter : makePerceptionFilters(library))
    expectFinite(std::make_shared<FilterAdapter>(filter), ++seed);
}
}  // namespace
}  // namespace ZR::Filtrix::Filters
