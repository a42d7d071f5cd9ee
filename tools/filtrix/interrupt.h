#pragma once

namespace ZR::Filtrix::Tool
{
/// From now on Ctrl-C and a request to end only set a flag, so that a command can end in order.
void catchInterrupts();

[[nodiscard]] bool wasInterrupted();
}  // namespace ZR::Filtrix::Tool
