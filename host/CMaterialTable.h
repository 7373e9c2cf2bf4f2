#pragma once
// The host's table of materials: for each material key (what a family's material cells hold)
// its display names by language and its reference key. Loaded from a UTF-8 text file:
//
//   # comment lines and empty lines are ignored
//   key<TAB>language<TAB>name      one display name of the material in a language ("en-US")
//   key<TAB>ref<TAB>reference key  the material's reference key (the key itself when absent)
//
// Fields are trimmed; a line with another number of fields or an empty field is skipped and
// counted. A later line for the same key and language replaces an earlier one. The table is
// not changed after loading, so one table may serve many providers on many threads.

#include "torvex/platform/WideString.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace torvex {

/// Materials with their names and reference keys.
class CMaterialTable {
public:
    /// An empty table. Never fails.
    CMaterialTable() = default;

    /// Reads a materials file, replacing the table's content. Returns 0, or kLinesSkipped when
    /// some lines were malformed (their numbers are in SkippedLines()); fails with kFileError
    /// (file missing or unreadable; the table is left as it was).
    int32_t LoadFile(const WideString& path);
    /// Reads the content of a materials file from UTF-8 bytes (a byte order mark is allowed);
    /// results as LoadFile, never kFileError.
    int32_t LoadText(std::string_view utf8);

    /// Display name of the material whose key is `key` (compared ignoring ASCII case, trimmed):
    /// in `language` (ignoring case, '_' and '-' alike), else in a language with the same
    /// primary tag ("de" for "de-AT"), else the first name the file gave. False when the key is
    /// unknown or `name` is null.
    bool FindName(std::wstring_view key, std::wstring_view language, WideString* name) const;
    /// Reference key of the material whose key or any of whose names is `text` (ignoring ASCII
    /// case, trimmed). False when no material matches or `refKey` is null.
    bool FindRefKey(std::wstring_view text, WideString* refKey) const;

    /// Number of materials. Never fails.
    size_t Size() const { return m_materials.size(); }
    /// Line numbers (from 1) skipped by the last load. Never fails.
    const std::vector<size_t>& SkippedLines() const { return m_skipped; }

private:
    struct Material {
        WideString key;
        WideString refKey;
        std::vector<std::pair<WideString, WideString>> names; // (language, name), file order
    };

    std::vector<Material> m_materials;
    std::unordered_map<WideString, size_t> m_byKey;  // folded key -> material
    std::unordered_map<WideString, size_t> m_byText; // folded key or name -> material
    std::vector<size_t> m_skipped;
};

} // namespace torvex
