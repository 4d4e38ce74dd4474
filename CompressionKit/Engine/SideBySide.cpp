#include "Engine/SideBySide.h"

#include <cstddef>
#include <exception>
#include <iterator>
#include <thread>

namespace tarnwick {
namespace {

/// One run of the steps. Each thread uses only the entries of its own step, except for the cancellations.
class Run {
public:
    Run(const RecipeContext& context, const std::vector<RecipeStep>& steps)
        : context_(context), steps_(steps), results_(steps.size()), errors_(steps.size()) {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            cancellations_.push_back(context.tools.cancellation().linked());
        }
    }

    /// Starts the threads in the order of the steps, so the first tools run roughly in that order too. A step
    /// that others wait for should come first.
    void perform() {
        std::vector<std::jthread> threads;
        try {
            for (std::size_t i = 0; i < steps_.size(); ++i) {
                threads.emplace_back([this, i] { performStep(i); });
            }
        } catch (...) {
            cancelFrom(0);
            throw;
        }
    }

    std::vector<std::vector<Candidate>> results() {
        for (const std::exception_ptr& error : errors_) {
            if (error) {
                std::rethrow_exception(error);
            }
        }
        return std::move(results_);
    }

private:
    void performStep(std::size_t i) {
        try {
            results_[i] = steps_[i](context_.cancelledBy(cancellations_[i]));
        } catch (...) {
            errors_[i] = std::current_exception();
            cancelFrom(i + 1);
        }
    }

    void cancelFrom(std::size_t first) {
        for (std::size_t i = first; i < cancellations_.size(); ++i) {
            cancellations_[i].request();
        }
    }

    const RecipeContext& context_;
    const std::vector<RecipeStep>& steps_;
    std::vector<Cancellation> cancellations_;
    std::vector<std::vector<Candidate>> results_;
    std::vector<std::exception_ptr> errors_;
};

} // namespace

std::vector<std::vector<Candidate>> sideBySide(const RecipeContext& context,
                                               const std::vector<RecipeStep>& steps) {
    Run run(context, steps);
    run.perform();
    return run.results();
}

std::vector<Candidate> joined(std::vector<std::vector<Candidate>> candidates) {
    std::vector<Candidate> all;
    for (std::vector<Candidate>& some : candidates) {
        all.insert(all.end(), std::make_move_iterator(some.begin()), std::make_move_iterator(some.end()));
    }
    return all;
}

} // namespace tarnwick
