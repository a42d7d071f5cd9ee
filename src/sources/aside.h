#pragma once

#include "foundation/ku/threadpool.h"

#include <fmt/format.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace ZR::Filtrix
{
/// How long a service may take for a question that is asked when a source is made.
inline constexpr std::chrono::seconds answerPatience{2};

/// How long a source that ends waits for what it has with a service. Real time, whatever clock is in force.
inline constexpr std::chrono::milliseconds endPatience{500};

/// Runs a job on the shared pool. It may never come back: nobody has to wait for the future, nor keep it.
template <typename Job>
[[nodiscard]] auto runAside(Job job) -> std::future<std::invoke_result_t<Job>>
{
  auto task = std::make_shared<std::packaged_task<std::invoke_result_t<Job>()>>(std::move(job));
  auto result = task->get_future();
  ku::ThreadPool::shared().post([task] { (*task)(); });
  return result;
}

/// Asks a service something and waits for the answer, but not longer than `answerPatience`: then, and when it throws,
/// a std::runtime_error leaves here. What the question uses must be its own, since it may outlive the caller.
template <typename Question>
[[nodiscard]] std::invoke_result_t<Question> ask(const char* what, Question question)
{
  // The reason crosses as text, so that no exception is shared by two threads.
  struct Answer
  {
    std::optional<std::invoke_result_t<Question>> value;
    std::string error;
  };

  auto answer = runAside(
      [what, question = std::move(question)]() -> Answer
      {
        try
        {
          return {question(), {}};
        }
        catch (const std::exception& exception)
        {
          return {std::nullopt, exception.what()};
        }
        catch (...)
        {
          return {std::nullopt, fmt::format("{} threw what is no std::exception", what)};
        }
      });
  if (answer.wait_for(answerPatience) != std::future_status::ready)
    throw std::runtime_error(fmt::format("{} gave no answer for {} s", what, answerPatience.count()));
  Answer given = answer.get();
  if (!given.value)
    throw std::runtime_error(given.error);
  return *std::move(given.value);
}
}  // namespace ZR::Filtrix
