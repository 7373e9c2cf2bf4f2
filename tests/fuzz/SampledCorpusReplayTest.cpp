// A fuzz target whose inputs are slow to run (TORVEX_FUZZ_TARGET names it and its corpus
// folder, TORVEX_FUZZ_SUITE the test suite), run on its seed corpus under the sanitizers of the
// test build: every seed whole, and cut short at TORVEX_FUZZ_CUTS places spread over it.

#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

TEST(TORVEX_FUZZ_SUITE, SeedsAndSomeOfTheirCutsRunCleanly) {
    LLVMFuzzerInitialize(nullptr, nullptr);
    size_t seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(
             TORVEX_SOURCE_DIR "/fuzz/corpus/" TORVEX_FUZZ_TARGET)) {
        std::string bytes;
        ASSERT_TRUE(torvex::platform::ReadFileBytes(
            torvex::platform::FromUtf8(entry.path().string()), bytes));
        ++seeds;
        const size_t cuts = TORVEX_FUZZ_CUTS;
        for (size_t cut = 0; cut <= cuts; ++cut) {
            const size_t length = bytes.size() * cut / cuts;
            EXPECT_EQ(
                LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), length), 0)
                << entry.path() << " cut to " << length;
        }
    }
    EXPECT_GT(seeds, 0u);
}

} // namespace
