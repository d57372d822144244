#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>

#include "base/Result.h"
#include "platform/BackgroundExecutor.h"

namespace quillmor {

/// The code of an unexpected failure.
inline constexpr int kUnexpectedErrorCode = 500;

/// Returns the error of an exception that is no `Error`, whatever memory there is.
inline Error unexpectedError(const std::exception& exception) noexcept {
  try {
    return Error::quillmor(kUnexpectedErrorCode, exception.what());
  } catch (const std::bad_alloc&) {
    return Error::outOfMemory();
  }
}

/// Runs `work` and turns what it throws into the error of a `Result`. Running out of memory is an
/// ordinary failure of one operation; reporting it takes no memory.
template <class Work, class T = std::invoke_result_t<Work&>>
Result<T> resultOf(Work&& work) {
  try {
    return work();
  } catch (const Error& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return Error::outOfMemory();
  } catch (const std::exception& exception) {
    return unexpectedError(exception);
  }
}

/// Shows something that has already happened and must not be reported as failed because showing it
/// ran out of memory. Calls `show` once more when memory runs out; there is nearly always some
/// again.
template <class Show>
void retryingWithoutMemory(Show show) {
  try {
    show();
  } catch (const std::bad_alloc&) {
    show();
  }
}

/// Does `step`, which may fail after it has had its effect, and shows the result in any case.
/// Passes on what `step` or `show` throws.
template <class Step, class Show>
void showingInAnyCase(Step step, Show show) {
  try {
    step();
  } catch (...) {
    show();
    throw;
  }
  show();
}

/// Runs `work` off the main thread, then `completion` on the main thread with its result. What
/// `work` holds is released before the completion runs, so a snapshot of the bytes is no longer
/// shared then. Takes all the memory for handing over the result before it returns. When it throws,
/// neither function is ever run.
template <class Work, class T = std::invoke_result_t<Work&>>
void runInBackground(BackgroundExecutor& executor, Work work,
                     std::type_identity_t<std::function<void(Result<T>)>> completion) {
  struct Job {
    std::optional<Work> work;
    std::function<void(Result<T>)> completion;
    std::optional<Result<T>> result = {};
  };
  auto job = std::make_shared<Job>(Job{std::move(work), std::move(completion)});
  std::function<void()> complete = [job] { job->completion(*std::move(job->result)); };
  executor.runDetached([&executor, job, complete = std::move(complete)]() mutable {
    job->result.emplace(resultOf(*job->work));
    job->work.reset();
    // The completion is released on the main thread, whichever thread is faster.
    job.reset();
    executor.postToMain(std::move(complete));
  });
}

}  // namespace quillmor
