#include "RunInOrder.h"

#include "Commands.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
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
    struct Shared {
        std::mutex mutex;
        std::condition_variable finished;
        std::vector<JobOutput> outputs;
        std::vector<bool> done;
        std::atomic<size_t> next{0};
    } shared;
    shared.outputs.resize(count);
    shared.done.resize(count, false);

    std::vector<std::jthread> workers;
    if (threads > 1 && count > 1) {
        const size_t wanted = std::min<size_t>(threads, count);
        for (size_t w = 0; w < wanted; ++w) {
            try {
                workers.emplace_back([&shared, &job, count] {
                    for (size_t i; (i = shared.next.fetch_add(1)) < count;) {
                        JobOutput output = RunGuarded(job, i);
                        std::lock_guard<std::mutex> lock(shared.mutex);
                        shared.outputs[i] = std::move(output);
                        shared.done[i] = true;
                        shared.finished.notify_all();
                    }
                });
            } catch (const std::system_error&) {
                break; // no more threads to be had: those started do the work
            }
        }
    }
    for (size_t i = 0; i < count; ++i) {
        JobOutput output;
        if (workers.empty()) {
            output = RunGuarded(job, i);
        } else {
            std::unique_lock<std::mutex> lock(shared.mutex);
            shared.finished.wait(lock, [&] { return shared.done[i]; });
            output = std::move(shared.outputs[i]);
        }
        emit(i, output);
    }
}

} // namespace torvex::cli
