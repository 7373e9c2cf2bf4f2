#pragma once
// Opens a family from files for the commands: the family document and its string documents are
// read from disk, decoded and handed to the library as wide text.

#include "torvex/family/CEncapFamily.h"

#include <memory>
#include <string>
#include <vector>

namespace torvex {
class CEncapFamilyRow;
}

namespace torvex::cli {

/// What names a family on the command line.
struct FamilyInput {
    std::string familyPath;
    std::vector<std::string> stringPaths;
    /// Language tag whose string document goes first (the actual language); empty: as given.
    std::string language;
    /// Open the family to localize its decimal separator: numbers take the user's separator.
    bool localize = false;
    /// Open the string documents found beside the family document (see StringDocumentsBeside)
    /// instead of `stringPaths`.
    bool findStrings = false;
};

/// The string documents of a family document whose text is `familyText`: every
/// FamilyStrings.<LANG>.xml in the folder that its FamilyStrings/File names (taken from the
/// family's folder; the family's own folder when the name is absent or not relative), in name
/// order, the file it names first. Empty when there is none or the folder can't be read.
std::vector<std::string> StringDocumentsBeside(const std::string& familyPath,
                                               const std::wstring& familyText);

/// Opens the family; null with a one-line message in `error` when a file cannot be read, a
/// document does not parse or no string document has the asked language. The family takes the
/// provider over in every case.
std::unique_ptr<CEncapFamily> OpenFamily(const FamilyInput& input,
                                         std::unique_ptr<IEvaluatorProvider> provider,
                                         std::string& error);

/// The xml:lang of a string document's root; empty when it has none or does not parse.
WideString LanguageOf(const std::wstring& stringDocument);

/// The row's own Cell text for the column, or the column-wide value that rows without one share.
WideString RawCellText(CEncapFamilyRow& row, const WideString& columnId,
                       const WideString& columnwideValue);

/// UTF-8 text of wide text.
std::string Narrow(const WideString& text);

} // namespace torvex::cli
