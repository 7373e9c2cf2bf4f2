#include "OutputFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace torvex::cli {
namespace {

constexpr size_t kBufferSize = 1 << 16;

} // namespace

OutputFile::OutputFile(std::string path)
    : path_(std::move(path)), part_(path_ + ".part"), buffer_(new char[kBufferSize]) {
    stream_.rdbuf()->pubsetbuf(buffer_.get(), kBufferSize);
    errno = 0;
    stream_.open(part_, std::ios::binary | std::ios::trunc);
    open_ = stream_.is_open();
    if (!open_)
        error_ = "cannot write " + path_ + ": " + std::strerror(errno ? errno : EIO);
}

OutputFile::~OutputFile() {
    if (open_ && !committed_) {
        stream_.close();
        std::remove(part_.c_str());
    }
}

bool OutputFile::Commit() {
    if (!open_)
        return false;
    errno = 0;
    stream_.close();
    if (!stream_) {
        error_ = "cannot write " + path_ + ": " + std::strerror(errno ? errno : EIO);
        std::remove(part_.c_str());
        committed_ = true; // nothing left to remove
        return false;
    }
    if (std::rename(part_.c_str(), path_.c_str()) != 0) {
        error_ = "cannot write " + path_ + ": " + std::strerror(errno);
        std::remove(part_.c_str());
        committed_ = true;
        return false;
    }
    committed_ = true;
    return true;
}

} // namespace torvex::cli
