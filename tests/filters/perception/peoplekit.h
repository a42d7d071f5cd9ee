#pragma once

#include "filters/perception/population.h"
#include "filtrix/image.h"
#include "filtrix/ku/log.h"
#include "filtrix/userfilter.h"

#include <opencv2/core.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// People for the tests of the filters that judge, choose and follow them.
namespace ZR::Filtrix::Test
{
using HumanPtr = std::shared_ptr<Type::Human>;

inline HumanPtr makeHuman(std::uint64_t id = 0)
{
  return std::make_shared<Type::Human>(id);
}

inline DataPtr population(const std::vector<HumanPtr>& people)
{
  return Filters::toArray(people);
}

/// An array that also holds what is no person: null, a number, and a person's value without a person.
inline DataPtr populationWithRubbish(const std::vector<HumanPtr>& people)
{
  DataArray values{nullptr, makeData(7), makeData(HumanPtr())};
  for (const HumanPtr& human : people)
    values.push_back(makeData(human));
  return makeData(std::move(values));
}

/// The identities of the people in an array, with spaces between them; "-" when it is no array.
inline std::string idsIn(const DataPtr& array)
{
  const auto* const values = array ? array->get<DataArray>() : nullptr;
  if (values == nullptr)
    return "-";
  std::string ids;
  for (const DataPtr& value : *values)
    ids += (ids.empty() ? "" : " ") + std::to_string(Filters::personIn(value)->getId());
  return ids;
}

/// The body of a person whom all scores approve of: 120x200 pixels of 320x240 at 2 m, solid, whole, one head.
inline std::shared_ptr<Type::Object3D> makeBody()
{
  auto body = std::make_shared<Type::Object3D>();
  const cv::Mat mask(200, 120, CV_8UC1, cv::Scalar(1));
  body->setProperty(Object3DProperty::Mask,
                    makeData(std::make_shared<Type::BinaryImage>(mask, "test", Time(1), 0.375F, 0.75F)));
  body->setProperty(Object3DProperty::SizeImage, makeData(320.0F, 240.0F));
  body->setProperty(Object3DProperty::Region2D, makeData(Type::Region2({100, 20}, {219, 219})));
  body->setProperty(Object3DProperty::PixelCount, makeData(120 * 200));
  body->setProperty(Object3DProperty::RealVisibleSize, makeData(0.5F, 1.7F));
  body->setProperty(Object3DProperty::TopBorderTouched, makeData(false));
  body->setProperty(Object3DProperty::HiddenByOtherBlob, makeData(false));
  body->setProperty(Object3DProperty::PossibleHeads, makeData(DataArray{makeData(std::uint32_t{60})}));
  body->setProperty(Object3DProperty::MainPlaneEquation, makeData(-1.0F, 0.0F, 0.0F, 2.0F));
  body->setProperty(Object3DProperty::CameraPositionRobot, makeData(0.0F, 0.0F, 1.1F, 0.0F, 0.0F, 0.0F));
  body->setProperty(Object3DProperty::Distance, makeData(2000));
  return body;
}

inline HumanPtr makeBelievableHuman(std::uint64_t id = 0)
{
  auto human = makeHuman(id);
  human->setObject3D(ObjectName::object3D, makeBody());
  human->setProperty(HumanProperty::BodyWidth, makeData(0.5F));
  human->setProperty(HumanProperty::Height, makeData(1.75F));
  human->setProperty(HumanProperty::ShoulderRoi, makeData(Type::Region2({110, 30}, {209, 219})));
  human->setProperty(HumanProperty::HeadCount, makeData(1));
  return human;
}
}  // namespace ZR::Filtrix::Test
