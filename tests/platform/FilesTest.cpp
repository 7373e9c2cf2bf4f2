#include "torvex/platform/Files.h"

#include <gtest/gtest.h>

#include <string>
#include <unistd.h>

namespace torvex::platform {
namespace {

TEST(Files, WriteReadAndDeleteBytes) {
    const std::wstring path =
        TempDirectory() + L"torvex_files_" + std::to_wstring(::getpid()) + L"_\u00e4.bin";
    std::wstring backslashed = path; // the same file, named with the other separator
    for (wchar_t& c : backslashed)
        if (c == L'/')
            c = L'\\';
    const std::string bytes("\xFF\xFE\0a\r\n", 6);

    ASSERT_TRUE(WriteFileBytes(path, bytes));
    std::string out;
    ASSERT_TRUE(ReadFileBytes(backslashed, out));
    EXPECT_EQ(out, bytes);
    ASSERT_TRUE(WriteFileBytes(path, "x")); // truncates
    ASSERT_TRUE(ReadFileBytes(path, out));
    EXPECT_EQ(out, "x");
    EXPECT_TRUE(DeleteFile(backslashed));
    EXPECT_FALSE(DeleteFile(path));
    EXPECT_FALSE(PathExists(path));
}

TEST(Files, UnreadablePathsFailAndLeaveTheOutputAlone) {
    const std::wstring directory = TempDirectory();
    for (const std::wstring& path :
         {directory, directory + L"torvex_no_such_file", std::wstring()}) {
        std::string out = "untouched";
        EXPECT_FALSE(ReadFileBytes(path, out)) << path; // a directory must not throw either
        EXPECT_EQ(out, "untouched");
    }
    EXPECT_FALSE(WriteFileBytes(directory, "x"));
    EXPECT_FALSE(WriteFileBytes(directory + L"torvex/no/such/dir/file", "x"));
}

} // namespace
} // namespace torvex::platform
