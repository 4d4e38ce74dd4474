#pragma once

#include "Tarnwick/QtSupport/MainThreadExecutor.h"

#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include <concepts>
#include <cstddef>
#include <exception>
#include <type_traits>
#include <utility>

namespace tarnwick {

/// A few threads for reading and clean-up, beside those of the compression queue.
class BackgroundWorker {
public:
    /// Completions run on the main thread, through this executor. With one thread, operations run in the
    /// order of run().
    explicit BackgroundWorker(MainThreadExecutor completions, std::size_t threadCount = defaultThreadCount)
        : completions_(std::move(completions)), threads_(threadCount) {}
    BackgroundWorker(const BackgroundWorker&) = delete;
    BackgroundWorker& operator=(const BackgroundWorker&) = delete;
    /// Drops waiting operations and waits for running ones.
    ~BackgroundWorker() {
        threads_.stop();
        threads_.join();
    }

    /// Runs `operation` on a thread of the worker, and then `completion` with its exception or result:
    /// void(std::exception_ptr, Result). After an exception the result is default-constructed.
    template <typename Operation, typename Completion>
    void run(Operation operation, Completion completion) {
        asio::post(threads_, [operation = std::move(operation), completion = std::move(completion),
                              completions = completions_]() mutable {
            using Result = std::invoke_result_t<Operation&>;
            static_assert(std::default_initializable<Result>);
            Result result{};
            std::exception_ptr error;
            try {
                result = operation();
            } catch (...) {
                error = std::current_exception();
            }
            completions.execute(
                [completion = std::move(completion), error = std::move(error),
                 result = std::move(result)]() mutable { completion(std::move(error), std::move(result)); });
        });
    }

private:
    static constexpr std::size_t defaultThreadCount = 2;

    MainThreadExecutor completions_;
    asio::thread_pool threads_;
};

} // namespace tarnwick
