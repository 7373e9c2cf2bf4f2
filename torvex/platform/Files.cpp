#include "torvex/platform/Files.h"

#include "torvex/platform/Utf16.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace torvex::platform {

std::wstring NormalizePath(const std::wstring& path) {
    std::wstring out = path;
    for (wchar_t& c : out)
        if (c == L'\\')
            c = L'/';
    return out;
}

std::string NativePath(const std::wstring& path) {
    return ToUtf8(NormalizePath(path));
}

std::wstring TempDirectory() {
    const char* tmp = std::getenv("TMPDIR");
    std::wstring dir = (tmp && *tmp) ? FromUtf8(tmp) : L"/tmp";
    dir = NormalizePath(dir);
    if (dir.empty() || dir.back() != L'/')
        dir.push_back(L'/');
    return dir;
}

bool PathExists(const std::wstring& path) {
    struct stat info;
    return !path.empty() && ::stat(NativePath(path).c_str(), &info) == 0;
}

bool DeleteFile(const std::wstring& path) {
    return !path.empty() && ::unlink(NativePath(path).c_str()) == 0;
}

bool ReadFileBytes(const std::wstring& path, std::string& out) {
    // Plain system calls: a stream would throw when the path names a directory.
    const int fd = ::open(NativePath(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    std::string bytes;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            ::close(fd);
            return false;
        }
        if (n == 0)
            break;
        bytes.append(buffer, static_cast<size_t>(n));
    }
    ::close(fd);
    out.swap(bytes);
    return true;
}

bool WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    std::ofstream outFile(NativePath(path), std::ios::binary | std::ios::trunc);
    if (!outFile)
        return false;
    outFile.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    outFile.close();
    return !outFile.fail();
}

} // namespace torvex::platform
