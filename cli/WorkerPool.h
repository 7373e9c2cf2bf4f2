#pragma once
// Runs numbered tasks on a few threads: each thread takes the next number from a shared
// counter until none is left, so a long task does not hold up the others.

#include <cstddef>
#include <functional>

namespace torvex::cli {

class WorkerPool {
public:
    /// Runs task(0) ... task(count - 1), each once, on at most `threads` threads (at least one,
    /// no more than there are tasks) and returns when all are done. With one thread the tasks
    /// run in order on the calling thread; threads the system refuses to start are done without.
    /// `task` must not throw. Never fails.
    static void Run(size_t threads, size_t count, const std::function<void(size_t)>& task);
};

} // namespace torvex::cli
