#pragma once
// Runs the jobs of a command that takes several families on several threads, and hands their
// output back in the order the families were given.

#include <cstddef>
#include <functional>
#include <string>

namespace torvex::cli {

/// What one job printed, held back until the jobs before it have been printed.
struct JobOutput {
    int exitCode = 0;
    std::string out;
    std::string err;
};

/// Runs job(i) for every i below `count` on at most `threads` threads (on the calling thread
/// alone for 1) and calls emit(i, output) on the calling thread in the order of i, each as soon
/// as its job and all before it are done. A job that throws gives exit code 1 and a one-line
/// message. Fewer threads are used when the system refuses more. Never fails otherwise; an
/// exception from `emit` leaves after the running jobs have ended.
void RunInOrder(size_t count, unsigned threads, const std::function<JobOutput(size_t)>& job,
                const std::function<void(size_t, JobOutput&)>& emit);

} // namespace torvex::cli
