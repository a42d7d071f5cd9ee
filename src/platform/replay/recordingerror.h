#pragma once

#include <stdexcept>

namespace ZR::Replay
{
/// A recording cannot be read or written. The text says where, what was expected and what came.
class RecordingError final : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};
}  // namespace ZR::Replay
