#include "RunInOrder.h"

#include "Commands.h"
#include "WorkerPool.h"

#include <exception>
#include <mutex>
#include <optional>
#include <vector>

namespace torvex::cli {
namespace {

JobOutput RunGuarded(const std::function<JobOutput(size_t)>& job, size_t index) {
    try {
        return job(index);
    } catch (const std::exception& e) {
        return {kExitFailed, {}, std::string("torvex: ") + e.what() + '\n'};
    } catch (...) {
        return {kExitFailed, {}, "torvex: unexpected error\n"};
    }
}

} // namespace

void RunInOrder(size_t count, unsigned threads, const std::function<JobOutput(size_t)>& job,
                const std::function<void(size_t, JobOutput&)>& emit) {
    std::mutex mutex;
    std::vector<std::optional<JobOutput>> outputs(count);
    size_t first = 0; // the first job not handed to emit yet
    std::exception_ptr failure;
    WorkerPool::Run(threads, count, [&](size_t i) {
        JobOutput output = RunGuarded(job, i);
        std::lock_guard<std::mutex> lock(mutex);
        outputs[i] = std::move(output);
        // The thread that finishes the first job still held back hands it on, and every one
        // after it that is done too.
        while (!failure && first < count && outputs[first]) {
            try {
                emit(first, *outputs[first]);
            } catch (...) {
                failure = std::current_exception();
            }
            outputs[first].reset();
            ++first;
        }
    });
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace torvex::cli
