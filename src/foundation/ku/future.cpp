#include "filtrix/ku/future.h"

#include "filtrix/ku/log.h"
#include "foundation/ku/threadpool.h"

#include <fmt/core.h>

namespace ku::detail
{
namespace
{
constexpr const char* category = "ku.future";

void run(const FutureCore::Callback& callback)
{
  try
  {
    callback();
  }
  catch (const std::exception& error)
  {
    log::error(category, "a connected callback failed: {}", error.what());
  }
  catch (...)
  {
    log::error(category, "a connected callback failed: it threw what is no std::exception");
  }
}
}  // namespace

FutureState FutureCore::state() const
{
  const std::lock_guard lock(mutex);
  return current;
}

bool FutureCore::wait(std::optional<std::chrono::milliseconds> patience) const
{
  std::unique_lock lock(mutex);
  const auto isFinished = [this] { return current != FutureState::Running; };
  if (patience)
    return changed.wait_for(lock, *patience, isFinished);
  changed.wait(lock, isFinished);
  return true;
}

void FutureCore::demandValue(std::optional<std::chrono::milliseconds> patience) const
{
  if (!wait(patience))
    throw FutureTimeout(fmt::format("no result within {} ms", patience.value_or(std::chrono::milliseconds{}).count()));
  if (state() == FutureState::Value)
    return;
  std::exception_ptr cause;
  {
    const std::lock_guard lock(mutex);
    cause = failure;
  }
  std::rethrow_exception(cause);
}

std::string FutureCore::error() const
{
  try
  {
    demandValue(std::nullopt);
    return {};
  }
  catch (const std::exception& error)
  {
    return error.what();
  }
  catch (...)
  {
    return "what was thrown is no std::exception";
  }
}

void FutureCore::demandRunning() const
{
  if (state() != FutureState::Running)
    throw std::logic_error("a promise got a second result");
}

void FutureCore::finish(FutureState result, std::exception_ptr cause)
{
  std::vector<Callback> connected;
  {
    const std::lock_guard lock(mutex);
    current = result;
    failure = std::move(cause);
    connected.swap(callbacks);
    changed.notify_all();
  }
  for (const Callback& callback : connected)
    run(callback);
}

void FutureCore::connect(Callback callback)
{
  {
    const std::lock_guard lock(mutex);
    if (current == FutureState::Running)
    {
      callbacks.push_back(std::move(callback));
      return;
    }
  }
  run(callback);
}

void FutureCore::requestCancel()
{
  const std::lock_guard lock(mutex);
  cancelRequested = true;
}

bool FutureCore::isCancelRequested() const
{
  const std::lock_guard lock(mutex);
  return cancelRequested;
}

void post(std::function<void()> job)
{
  ThreadPool::shared().post(std::move(job));
}
}  // namespace ku::detail
