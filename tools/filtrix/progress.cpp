#include "tools/filtrix/progress.h"

#include <unistd.h>

#include <chrono>
#include <iostream>
#include <utility>

namespace ZR::Filtrix::Tool
{
Progress::Progress(std::string what_) : what(std::move(what_))
{
  if (::isatty(STDERR_FILENO) != 0)
    thread = std::thread([this] { _show(); });
}

Progress::~Progress()
{
  if (!thread.joinable())
    return;
  {
    const std::lock_guard lock(mutex);
    ended = true;
  }
  changed.notify_all();
  thread.join();
}

void Progress::_show()
{
  bool shown = false;
  std::unique_lock lock(mutex);
  for (int seconds = 1; !changed.wait_for(lock, std::chrono::seconds(1), [this] { return ended; }); ++seconds)
  {
    std::cerr << '\r' << what << " ... " << seconds << " s" << std::flush;
    shown = true;
  }
  if (shown)
    std::cerr << "\r\033[K" << std::flush;
}
}  // namespace ZR::Filtrix::Tool
