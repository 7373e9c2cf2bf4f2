#include "torvex/platform/Files.h"

#include <gtest/gtest.h>

#include <string>
#include <unistd.h>

namespace torvex::platform {
namespace {

// Bytes go to a file and back unchanged (a rewrite truncates), under either path separator;
// unreadable paths fail without touching the output, a directory included.
TEST(Files, WriteReadDeleteAndFailures) {
    const std::wstring directory = TempDirectory();
    const std::wstring path =
        directory + L"torvex_files_" + std::to_wstring(::getpid()) + L"_\u00e4";
    std::wstring backslashed = path;
    for (wchar_t& c : backslashed)
        c = c == L'/' ? L'\\' : c;
    const std::string bytes("\xFF\xFE\0a\r\n", 6);
    ASSERT_TRUE(WriteFileBytes(path, bytes));
    std::string out;
    ASSERT_TRUE(ReadFileBytes(backslashed, out));
    EXPECT_EQ(out, bytes);
    ASSERT_TRUE(WriteFileBytes(path, "x"));
    ASSERT_TRUE(ReadFileBytes(path, out));
    EXPECT_EQ(out, "x");
    EXPECT_TRUE(DeleteFile(backslashed));
    EXPECT_FALSE(DeleteFile(path));
    EXPECT_FALSE(PathExists(path));
    for (const std::wstring& bad : {directory, path, std::wstring()}) {
        out = "untouched";
        EXPECT_FALSE(ReadFileBytes(bad, out)) << bad;
        EXPECT_EQ(out, "untouched");
    }
    EXPECT_FALSE(WriteFileBytes(directory, "x"));
    EXPECT_FALSE(WriteFileBytes(directory + L"torvex/no/such/dir/file", "x"));
}

} // namespace
} // namespace torvex::platform
