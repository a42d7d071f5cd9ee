#pragma once

#include "exec/process.h"

namespace ZR::Filtrix
{
/// A process to be run at a time; an unset time means the moment when a worker takes the job.
struct Job
{
  ProcessPtr process;
  Time time;
};
}  // namespace ZR::Filtrix
