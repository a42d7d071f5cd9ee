#pragma once

#include "filtrix/ku/clock.h"
#include "program/programkit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace ZR::Filtrix::Test
{
/// A registry on a clock that a test moves.
class RegistryTest : public testing::Test
{
protected:
  std::string read(const std::string& sink)
  {
    clock.advance(std::chrono::seconds(1));
    const DataPtr value = bench.registry.getData(sink);
    return value ? Type::toText(*value) : "null";
  }

  ku::ManualClock clock;
  ProgramBench bench;
  FiltrixPrivate& registry = bench.registry;
};
}  // namespace ZR::Filtrix::Test
