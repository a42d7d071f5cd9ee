#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace ZR::Filtrix::Tool
{
/// A line on standard error that says what takes so long: after the first second, and only for a person to see.
class Progress final
{
public:
  explicit Progress(std::string what_);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

private:
  void _show();

  const std::string what;
  std::mutex mutex;  // guards `ended`
  std::condition_variable changed;
  bool ended = false;
  std::thread thread;
};
}  // namespace ZR::Filtrix::Tool
