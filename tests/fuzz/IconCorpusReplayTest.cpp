// An icon or bitmap fuzz target (TORVEX_FUZZ_TARGET: bmp_reader, ico_reader or pe_resource;
// TORVEX_FUZZ_SUITE names the test suite),
// run on its seed corpus fuzz/corpus/<target> and on cuts of each seed, under the sanitizers of
// the test build: every cut up to 2 KiB, then about 256 more spread over the rest.

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

TEST(TORVEX_FUZZ_SUITE, SeedsAndTheirCutsReadCleanly) {
    LLVMFuzzerInitialize(nullptr, nullptr);
    size_t seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(
             TORVEX_SOURCE_DIR "/fuzz/corpus/" TORVEX_FUZZ_TARGET)) {
        std::string bytes;
        ASSERT_TRUE(torvex::platform::ReadFileBytes(
            torvex::platform::FromUtf8(entry.path().string()), bytes));
        ++seeds;
        const size_t step = bytes.size() > 2048 ? (bytes.size() - 2048) / 256 + 1 : 1;
        for (size_t length = 0; length <= bytes.size();
             length += (length < 2048 ? 1 : step)) {
            EXPECT_EQ(
                LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), length), 0)
                << entry.path() << " cut to " << length;
        }
        EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()),
                                         bytes.size()),
                  0);
    }
    EXPECT_GT(seeds, 0u);
}

} // namespace
