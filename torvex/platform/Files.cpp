#include "torvex/platform/Files.h"

#include "torvex/platform/Guid.h"
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

bool ReplaceFileBytes(const std::wstring& path, const std::string& bytes) {
    if (path.empty())
        return false;
    // Beside the target, so that the rename stays on one file system.
    const std::string target = NativePath(path);
    const std::string temporary = target + ".tmp-" + ToUtf8(FormatGuidBraced(NewGuid()));
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    // A file that stands there keeps its permissions.
    struct stat existing;
    bool ok = ::stat(target.c_str(), &existing) != 0 || ::fchmod(fd, existing.st_mode & 07777) == 0;
    for (size_t done = 0; ok && done < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            ok = false;
        else
            done += static_cast<size_t>(n);
    }
    ok = ok && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    ok = ok && ::rename(temporary.c_str(), target.c_str()) == 0;
    if (!ok)
        ::unlink(temporary.c_str());
    return ok;
}

} // namespace torvex::platform
