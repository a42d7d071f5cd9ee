#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

/// Results that come later. A `Promise` is kept by who makes the result, a `Future` by who waits for it; `async` runs a
/// function on the shared pool and gives the future of its result. Waiting is in real time, whatever clock is in force.
namespace ku
{
/// A wait for a result took too long.
class FutureTimeout : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// There is no result because it was asked for no longer. Thrown by the function of an `async` it ends that as
/// cancelled.
class FutureCancelled : public std::runtime_error
{
public:
  FutureCancelled() : std::runtime_error("cancelled") {}
};

enum class FutureState
{
  Running,
  Value,
  Error,
  Cancelled
};

namespace detail
{
/// What the two ends of a result share but for the result's value. Thread-safe.
class FutureCore
{
public:
  using Callback = std::function<void()>;

  [[nodiscard]] FutureState state() const;
  [[nodiscard]] bool wait(std::optional<std::chrono::milliseconds> patience) const;

  /// Returns when there is a value, throws otherwise.
  void demandValue(std::optional<std::chrono::milliseconds> patience) const;
  [[nodiscard]] std::string error() const;

  /// Throws std::logic_error when there is a result already.
  void demandRunning() const;

  /// Ends the wait, then calls what was connected. Only the one promise does so, once.
  void finish(FutureState result, std::exception_ptr cause = nullptr);
  void connect(Callback callback);

  void requestCancel();
  [[nodiscard]] bool isCancelRequested() const;

private:
  mutable std::mutex mutex;  // guards the rest; a leaf lock
  mutable std::condition_variable changed;
  FutureState current = FutureState::Running;
  std::exception_ptr failure;
  std::vector<Callback> callbacks;
  bool cancelRequested = false;
};

template <typename T>
struct FutureShared : FutureCore
{
  // Written before the result is told, and only read after that.
  std::optional<std::conditional_t<std::is_void_v<T>, std::monostate, T>> value;
};

/// Runs a job on the shared pool.
void post(std::function<void()> job);
}  // namespace detail

template <typename T>
class Promise;

/// One end of a result: the waiting one. Copies stand for the same result. Thread-safe.
template <typename T>
class Future
{
public:
  [[nodiscard]] FutureState state() const { return shared->state(); }

  [[nodiscard]] bool isFinished() const { return state() != FutureState::Running; }

  /// Waits for a result of any kind; false after `patience`.
  [[nodiscard]] bool wait(std::optional<std::chrono::milliseconds> patience = std::nullopt) const
  {
    return shared->wait(patience);
  }

  /// Waits for the value. Throws what the maker threw, `FutureCancelled`, or after `patience` `FutureTimeout`.
  [[nodiscard]] T value(std::optional<std::chrono::milliseconds> patience = std::nullopt) const
  {
    shared->demandValue(patience);
    if constexpr (!std::is_void_v<T>)
      return *shared->value;
  }

  /// Waits; the text of what was thrown, empty for a value.
  [[nodiscard]] std::string error() const { return shared->error(); }

  /// Asks the maker to give up. It may be too late, or the maker may not listen; what has not begun never does.
  void cancel() const { shared->requestCancel(); }

  /// Calls `callback` with this future once it is finished: on the thread that finishes it, or here when it is already.
  /// It should be quick. What it throws is logged.
  void connect(std::function<void(const Future&)> callback) const
  {
    shared->connect([self = *this, callback = std::move(callback)] { callback(self); });
  }

  /// The future of what `next` makes of this one, called as by `connect`. What it throws is that future's error.
  template <typename Next>
  [[nodiscard]] auto then(Next next) const -> Future<std::invoke_result_t<Next&, const Future&>>;

private:
  friend class Promise<T>;

  explicit Future(std::shared_ptr<detail::FutureShared<T>> shared_) : shared(std::move(shared_)) {}

  std::shared_ptr<detail::FutureShared<T>> shared;
};

/// One end of a result: the making one. It gets one result, and another one throws std::logic_error; when it ends
/// without, that is an error for who waits. For one thread at a time, but for `isCancelRequested`.
template <typename T>
class Promise
{
public:
  Promise() : shared(std::make_shared<detail::FutureShared<T>>()) {}

  Promise(Promise&&) noexcept = default;
  Promise& operator=(Promise&&) = delete;

  ~Promise()
  {
    if (shared && shared->state() == FutureState::Running)
      setError("the promise ended without a result");
  }

  [[nodiscard]] Future<T> future() const { return Future<T>(shared); }

  template <typename... Value>
  void setValue(Value&&... value)
  {
    shared->demandRunning();
    shared->value.emplace(std::forward<Value>(value)...);
    shared->finish(FutureState::Value);
  }

  void setError(const std::string& text) { setException(std::make_exception_ptr(std::runtime_error(text))); }

  void setException(std::exception_ptr cause)
  {
    shared->demandRunning();
    shared->finish(FutureState::Error, std::move(cause));
  }

  void setCancelled()
  {
    shared->demandRunning();
    shared->finish(FutureState::Cancelled, std::make_exception_ptr(FutureCancelled()));
  }

  [[nodiscard]] bool isCancelRequested() const { return shared->isCancelRequested(); }

private:
  std::shared_ptr<detail::FutureShared<T>> shared;
};

namespace detail
{
// Keeps the promise with what `make` returns or throws.
template <typename T, typename Make>
void fulfil(Promise<T>& promise, Make&& make)
{
  try
  {
    if constexpr (std::is_void_v<T>)
    {
      make();
      promise.setValue();
    }
    else
    {
      promise.setValue(make());
    }
  }
  catch (const FutureCancelled&)
  {
    promise.setCancelled();
  }
  catch (...)
  {
    promise.setException(std::current_exception());
  }
}
}  // namespace detail

template <typename T>
template <typename Next>
auto Future<T>::then(Next next) const -> Future<std::invoke_result_t<Next&, const Future&>>
{
  using Result = std::invoke_result_t<Next&, const Future&>;
  const auto promise = std::make_shared<Promise<Result>>();
  connect([promise, next = std::make_shared<Next>(std::move(next))](const Future& self)
          { detail::fulfil(*promise, [&]() -> Result { return (*next)(self); }); });
  return promise->future();
}

/// Asks, within the function of an `async`, whether the result is still wanted. Thread-safe.
class CancelRequest
{
public:
  explicit CancelRequest(std::function<bool()> asks_) : asks(std::move(asks_)) {}

  [[nodiscard]] bool isRequested() const { return asks(); }

private:
  std::function<bool()> asks;
};

/// Runs `make` on the shared pool: called with a `CancelRequest`, when it takes one, so that it can give up early and
/// throw `FutureCancelled`, and with nothing otherwise. It may block, as a periodic task may.
template <typename Make>
[[nodiscard]] auto async(Make make)
{
  constexpr bool listens = std::is_invocable_v<Make&, const CancelRequest&>;
  const auto call = [](Make& function, [[maybe_unused]] const CancelRequest& request)
  {
    if constexpr (listens)
      return function(request);
    else
      return function();
  };
  using Result = std::invoke_result_t<decltype(call), Make&, const CancelRequest&>;
  const auto promise = std::make_shared<Promise<Result>>();
  auto future = promise->future();
  detail::post(
      [promise, call, function = std::make_shared<Make>(std::move(make))]
      {
        const CancelRequest request([promise] { return promise->isCancelRequested(); });
        detail::fulfil(*promise,
                       [&]() -> Result
                       {
                         if (request.isRequested())
                           throw FutureCancelled();
                         return call(*function, request);
                       });
      });
  return future;
}
}  // namespace ku
