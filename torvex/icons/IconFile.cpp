#include "torvex/icons/IconFile.h"

#include "torvex/platform/Files.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace torvex::icons_detail {

bool IconFile::OpenRead(const WideString& path) {
    Close();
    if (path.empty())
        return false;
    const int fd = ::open(platform::NativePath(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat info;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return false;
    }
    fd_ = fd;
    size_ = static_cast<uint64_t>(info.st_size);
    position_ = 0;
    return true;
}

bool IconFile::Create(const WideString& path) {
    Close();
    if (path.empty())
        return false;
    const int fd =
        ::open(platform::NativePath(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        return false;
    fd_ = fd;
    size_ = 0;
    position_ = 0;
    return true;
}

void IconFile::Close() {
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
}

bool IconFile::Read(void* buffer, size_t count, size_t& got) {
    got = 0;
    if (fd_ < 0)
        return false;
    auto* out = static_cast<char*>(buffer);
    while (got < count) {
        const ssize_t n = ::read(fd_, out + got, count - got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        if (n == 0)
            break;
        got += static_cast<size_t>(n);
    }
    position_ += got;
    return true;
}

bool IconFile::Seek(uint64_t offset) {
    if (fd_ < 0 || offset > static_cast<uint64_t>(INT64_MAX))
        return false;
    if (::lseek(fd_, static_cast<off_t>(offset), SEEK_SET) < 0)
        return false;
    position_ = offset;
    return true;
}

bool IconFile::Write(const void* buffer, size_t count) {
    if (fd_ < 0)
        return false;
    const auto* in = static_cast<const char*>(buffer);
    size_t done = 0;
    while (done < count) {
        const ssize_t n = ::write(fd_, in + done, count - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

} // namespace torvex::icons_detail
