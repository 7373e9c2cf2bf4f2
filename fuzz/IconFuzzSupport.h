#pragma once
// Shared by the icon and bitmap fuzz targets: files of this process in the temporary folder,
// removed at exit, and a message handler that drops every message.

#include "torvex/platform/Files.h"
#include "torvex/platform/WideString.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace torvex::fuzz {

inline const WideString& WorkDirectory() {
    static const WideString dir = [] {
        WideString d = platform::TempDirectory() + L"torvex_icon_fuzz_" +
                       std::to_wstring(static_cast<long>(::getpid())) + L"/";
        ::mkdir(platform::NativePath(d).c_str(), 0700);
        return d;
    }();
    return dir;
}

/// A file of the work directory: "in", "out", "bmp" ...
inline WideString WorkFile(const wchar_t* name) {
    return WorkDirectory() + name;
}

inline void RemoveWorkDirectory() {
    for (const wchar_t* name : {L"in", L"out", L"bmp"})
        platform::DeleteFile(WorkFile(name));
    ::rmdir(platform::NativePath(WorkDirectory()).c_str());
}

inline bool WriteInput(const uint8_t* data, size_t size) {
    return platform::WriteFileBytes(WorkFile(L"in"),
                                    std::string(reinterpret_cast<const char*>(data), size));
}

inline void Quiet(const WideString&, const WideString&) {}

} // namespace torvex::fuzz
