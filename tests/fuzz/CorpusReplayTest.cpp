// A fuzz target (by default the cache-file one), run on its seed corpus and on every cut of each
// seed, under the sanitizers of the test build: the harness keeps compiling with the library, and
// every seed and every input cut short keeps reading cleanly. TORVEX_FUZZ_CORPUS names the
// corpus folder under fuzz/corpus, TORVEX_FUZZ_SUITE the test suite.

#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

#ifndef TORVEX_FUZZ_CORPUS
#define TORVEX_FUZZ_CORPUS "cache_file"
#define TORVEX_FUZZ_SUITE CacheFileFuzzTarget
#endif

namespace {

TEST(TORVEX_FUZZ_SUITE, SeedsAndTheirCutsReadCleanly) {
    LLVMFuzzerInitialize(nullptr, nullptr);
    size_t seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(
             TORVEX_SOURCE_DIR "/fuzz/corpus/" TORVEX_FUZZ_CORPUS)) {
        std::string bytes;
        ASSERT_TRUE(torvex::platform::ReadFileBytes(
            torvex::platform::FromUtf8(entry.path().string()), bytes));
        ++seeds;
        for (size_t length = 0; length <= bytes.size(); ++length) {
            EXPECT_EQ(
                LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), length), 0)
                << entry.path() << " cut to " << length;
        }
    }
    EXPECT_GT(seeds, 0u);
}

} // namespace
