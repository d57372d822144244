#pragma once

#include <cerrno>
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

/// The code of a failure that no part of the application foresaw.
inline constexpr int kUnexpectedErrorCode = 500;

/// Runs `work` and turns what it throws into the error of a `Result`. Running out of memory is an
/// ordinary failure of the one operation that asked for it.
template <class Work, class T = std::invoke_result_t<Work&>>
Result<T> resultOf(Work&& work) {
  try {
    return work();
  } catch (const Error& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return Error::posix(ENOMEM);
  } catch (const std::exception& exception) {
    return Error::quillmor(kUnexpectedErrorCode, exception.what());
  }
}

/// Runs `work` off the main thread, then `completion` on the main thread with its result. What
/// `work` holds is released before the completion runs, so a snapshot of the bytes is no longer
/// shared then.
template <class Work, class T = std::invoke_result_t<Work&>>
void runInBackground(BackgroundExecutor& executor, Work work,
                     std::function<void(Result<T>)> completion) {
  auto job = std::make_shared<std::optional<Work>>(std::move(work));
  executor.runDetached([&executor, job, completion = std::move(completion)]() mutable {
    auto result = std::make_shared<Result<T>>(resultOf(**job));
    job->reset();
    executor.postToMain(
        [result, completion = std::move(completion)]() mutable { completion(std::move(*result)); });
  });
}

}  // namespace quillmor
