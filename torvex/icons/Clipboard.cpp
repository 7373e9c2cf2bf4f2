#include "torvex/icons/Clipboard.h"

#include <atomic>
#include <mutex>

namespace torvex {

namespace {

class ProcessClipboard final : public IClipboard {
public:
    bool Empty() override {
        std::lock_guard<std::mutex> lock(mutex_);
        dib_.clear();
        has_ = false;
        return true;
    }
    bool SetDib(const std::vector<uint8_t>& dib) override {
        std::lock_guard<std::mutex> lock(mutex_);
        dib_ = dib;
        has_ = true;
        return true;
    }
    bool GetDib(std::vector<uint8_t>& dib) override {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!has_)
            return false;
        dib = dib_;
        return true;
    }

private:
    std::mutex mutex_;
    std::vector<uint8_t> dib_;
    bool has_ = false;
};

ProcessClipboard& OwnClipboard() {
    static ProcessClipboard clipboard;
    return clipboard;
}

std::atomic<IClipboard*> hostClipboard{nullptr};

} // namespace

IClipboard::~IClipboard() = default;

IClipboard& Clipboard() {
    IClipboard* host = hostClipboard.load();
    return host ? *host : OwnClipboard();
}

void SetClipboard(IClipboard* clipboard) {
    hostClipboard.store(clipboard);
}

} // namespace torvex
