#include "tools/filtrix/interrupt.h"

#include <csignal>

namespace ZR::Filtrix::Tool
{
namespace
{
volatile std::sig_atomic_t interrupted = 0;

void onSignal(int)
{
  interrupted = 1;
}
}  // namespace

void catchInterrupts()
{
  std::signal(SIGINT, &onSignal);
  std::signal(SIGTERM, &onSignal);
}

bool wasInterrupted()
{
  return interrupted != 0;
}
}  // namespace ZR::Filtrix::Tool
