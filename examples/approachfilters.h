#pragma once

#include "filtrix/userfilter.h"

#include <cstdint>
#include <string>
#include <vector>

/// The two filters of the examples.
namespace ZR::Filtrix::Examples
{
/// The mean of the new value and the last result, for each place that uses the filter.
class Smooth final : public UserFilter
{
public:
  std::string getName() override { return "Smooth"; }

  std::string getDescription() override { return "Takes the noise out of a distance in metres."; }

  std::vector<std::string> getInputs() override { return {"range [Float]"}; }

  std::vector<std::string> getOutputs() override { return {"distance"}; }

  bool isStateful() override { return true; }

  DataList run(const DataList& inputs) override
  {
    const float range = inputs[0]->toFloat();
    setMemory(makeData(getMemory() ? (3.0F * getMemory()->toFloat() + range) / 4.0F : range));
    return {getMemory()};
  }
};

/// Zone 1 is within arm's reach, 2 within speaking distance, 3 beyond.
class Zone final : public UserFilter
{
public:
  std::string getName() override { return "Zone"; }

  std::string getDescription() override { return "Names the zone of a distance in metres."; }

  std::vector<std::string> getInputs() override { return {"distance [Float]"}; }

  std::vector<std::string> getOutputs() override { return {"zone"}; }

  DataList run(const DataList& inputs) override
  {
    const float distance = inputs[0]->toFloat();
    const std::int32_t zone = distance < 1.5F ? 1 : distance < 2.5F ? 2 : 3;
    return {makeData(zone)};
  }
};
}  // namespace ZR::Filtrix::Examples
