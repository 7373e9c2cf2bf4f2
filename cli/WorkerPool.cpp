#include "WorkerPool.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace torvex::cli {

void WorkerPool::Run(size_t threads, size_t count, const std::function<void(size_t)>& task) {
    threads = std::clamp<size_t>(threads, 1, std::max<size_t>(count, 1));
    if (threads == 1) {
        for (size_t i = 0; i < count; ++i)
            task(i);
        return;
    }
    std::atomic<size_t> next{0};
    const auto work = [&] {
        for (size_t i = next.fetch_add(1); i < count; i = next.fetch_add(1))
            task(i);
    };
    std::vector<std::thread> pool;
    pool.reserve(threads - 1);
    for (size_t t = 1; t < threads; ++t) {
        // A thread the system refuses leaves its share to the threads already running and to
        // this one: fewer threads, the same work.
        try {
            pool.emplace_back(work);
        } catch (const std::system_error&) {
            break;
        }
    }
    work();
    for (std::thread& thread : pool)
        thread.join();
}

} // namespace torvex::cli
