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
/// alone for 1) and calls emit(i, output) in the order of i, one call at a time, each as soon as
/// its job and all before it are done (on the thread that finished the last of them). A job that
/// throws gives exit code 1 and a one-line message. Never fails otherwise; the first exception
/// from `emit` stops the output and leaves once every job has ended.
void RunInOrder(size_t count, unsigned threads, const std::function<JobOutput(size_t)>& job,
                const std::function<void(size_t, JobOutput&)>& emit);

} // namespace torvex::cli
