#pragma once
// What the family fuzz targets share: the example family read once, a check that aborts, and
// the cutting of an input into texts at a separator byte.

#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"
#include "torvex/platform/WideString.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace torvex::fuzz {

/// Ends the run when a property that must hold does not.
inline void Check(bool condition) {
    if (!condition)
        std::abort();
}

/// The byte that separates the texts of one input.
inline constexpr char kTextSeparator = '\x01';

/// The input cut at each separator byte into at most `count` texts (the last takes the rest).
inline std::vector<std::string_view> SplitInput(const uint8_t* data, size_t size, size_t count) {
    std::vector<std::string_view> parts;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (parts.size() + 1 < count) {
        const size_t at = rest.find(kTextSeparator);
        if (at == std::string_view::npos)
            break;
        parts.push_back(rest.substr(0, at));
        rest.remove_prefix(at + 1);
    }
    parts.push_back(rest);
    return parts;
}

/// The example family in `folder` under the examples: its document, then its string documents
/// (German and English); empty texts for files that can't be read.
struct ExampleFamily {
    WideString familyXml;
    WideStringList stringDocuments;
};

inline ExampleFamily ReadExampleFamily(const char* folder) {
    const std::string dir = std::string(TORVEX_EXAMPLES_DIR "/") + folder + "/";
    ExampleFamily family;
    std::string bytes;
    if (platform::ReadFileBytes(platform::FromUtf8(dir + "Family.xml"), bytes))
        family.familyXml = platform::FromUtf8(bytes);
    for (const char* language : {"DE-DE", "EN-US"}) {
        bytes.clear();
        if (platform::ReadFileBytes(platform::FromUtf8(dir + "FamilyStrings." + language + ".xml"),
                                    bytes))
            family.stringDocuments.push_back(platform::FromUtf8(bytes));
    }
    return family;
}

} // namespace torvex::fuzz
