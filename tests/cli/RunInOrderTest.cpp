// The jobs of a command that takes several families: their output comes back in the order of the
// families, whichever thread finishes first, and a job or an output that fails loses no other.

#include "RunInOrder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <stdexcept>
#include <string>
#include <vector>

namespace torvex::cli {
namespace {

struct Emitted {
    size_t index;
    int exitCode;
    std::string out;
    std::string err;
};

// On one thread and on two: every job's output in order, the throwing job as exit code 1 with
// its message.
TEST(RunInOrder, OutputInOrderAndAThrowingJobGivesItsMessage) {
    for (unsigned threads : {1u, 2u}) {
        SCOPED_TRACE(threads);
        std::vector<Emitted> emitted;
        RunInOrder(
            5, threads,
            [](size_t i) -> JobOutput {
                if (i == 2)
                    throw std::runtime_error("cannot read family 2");
                return {static_cast<int>(i % 2), "out " + std::to_string(i), ""};
            },
            [&](size_t i, JobOutput& output) {
                emitted.push_back({i, output.exitCode, output.out, output.err});
            });
        ASSERT_EQ(emitted.size(), 5u);
        for (size_t i = 0; i < emitted.size(); ++i) {
            EXPECT_EQ(emitted[i].index, i);
            if (i == 2) {
                EXPECT_EQ(emitted[i].exitCode, 1);
                EXPECT_EQ(emitted[i].out, "");
                EXPECT_EQ(emitted[i].err, "torvex: cannot read family 2\n");
            } else {
                EXPECT_EQ(emitted[i].exitCode, static_cast<int>(i % 2));
                EXPECT_EQ(emitted[i].out, "out " + std::to_string(i));
            }
        }
    }
}

// The first job waits until the second has finished, so the second is done first; the first is
// still handed on first, and the second right after it.
TEST(RunInOrder, AJobFinishedEarlyWaitsForThoseBeforeIt) {
    std::latch secondDone(1);
    std::vector<size_t> emitted;
    std::atomic<bool> secondFinishedFirst{false};
    RunInOrder(
        3, 2,
        [&](size_t i) -> JobOutput {
            if (i == 0) {
                secondDone.wait();
                secondFinishedFirst = true;
            }
            if (i == 1)
                secondDone.count_down();
            return {};
        },
        [&](size_t i, JobOutput&) { emitted.push_back(i); });
    EXPECT_TRUE(secondFinishedFirst);
    EXPECT_EQ(emitted, (std::vector<size_t>{0, 1, 2}));
}

// An output that fails stops the output; every job still runs, and the failure comes out once
// they have.
TEST(RunInOrder, AFailingOutputIsThrownAfterEveryJobRan) {
    for (unsigned threads : {1u, 2u}) {
        SCOPED_TRACE(threads);
        std::atomic<size_t> ran{0};
        std::vector<size_t> emitted;
        EXPECT_THROW(RunInOrder(
                         4, threads,
                         [&](size_t) -> JobOutput {
                             ++ran;
                             return {};
                         },
                         [&](size_t i, JobOutput&) {
                             if (i == 1)
                                 throw std::runtime_error("standard output closed");
                             emitted.push_back(i);
                         }),
                     std::runtime_error);
        EXPECT_EQ(ran.load(), 4u);
        EXPECT_EQ(emitted, (std::vector<size_t>{0}));
    }
}

} // namespace
} // namespace torvex::cli
