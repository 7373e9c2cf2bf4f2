// Feeds arbitrary bytes to the table cache reader as a cache file, then lets the loaded cache
// write its file again and reads that back. Whatever the bytes, reading must end without a
// crash, a hang or memory beyond a small multiple of the file's size.

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/UserLocale.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace torvex;

namespace {

const WideString& WorkDirectory() {
    static const WideString dir = [] {
        WideString d = platform::TempDirectory() + L"torvex_cache_fuzz_" +
                       std::to_wstring(static_cast<long>(::getpid())) + L"/";
        ::mkdir(platform::NativePath(d).c_str(), 0700);
        return d;
    }();
    return dir;
}

const WideString& CacheFile() {
    static const WideString path =
        WorkDirectory() + L"TableCache_" + std::to_wstring(platform::UserLocaleId()) + L".dat";
    return path;
}

void RemoveWorkDirectory() {
    platform::DeleteFile(CacheFile());
    ::rmdir(platform::NativePath(WorkDirectory()).c_str());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::atexit(RemoveWorkDirectory);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const WideString& file = CacheFile();
    if (!platform::WriteFileBytes(file, std::string(reinterpret_cast<const char*>(data), size)))
        return 0;

    WideStringList columns;
    {
        CTableValueCache cache(WorkDirectory());
        columns = cache.GetColumnNames();
        const WideStringList languages = cache.GetLanguageNames();
        WideString value;
        // Ask for what the file named, as a table would, and change a little.
        for (size_t c = 0; c < columns.size() && c < 8; ++c)
            for (size_t l = 0; l < languages.size() && l < 4; ++l)
                cache.GetValue(L"R1", columns[c], languages[l], value);
        if (!columns.empty()) {
            cache.SetValue(L"fuzz", columns.front(), L"en", L"1.5");
            if (columns.size() > 1)
                cache.ClearColumn(columns[1]);
        }
        // The writer: the file is made anew from what was loaded.
        platform::DeleteFile(file);
        cache.MarkDirty();
        cache.Save(columns);
    }
    {
        // Read back what the writer made.
        CTableValueCache again(WorkDirectory());
        again.Load();
    }
    platform::DeleteFile(file);
    return 0;
}
