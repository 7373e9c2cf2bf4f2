#pragma once
// Saves an edited family for the commands: the string files through the library, then the
// family document in the encoding its input had. Each file is written beside its target and
// renamed over it, so that a save that fails or is cut short leaves every old file whole.

#include "torvex/family/CEncapFamily.h"

#include <string>
#include <vector>

namespace torvex::cli {

/// How a document's bytes were encoded.
enum class DocumentEncoding { Utf8, Utf8Bom, Utf16LeBom, Utf16BeBom, Utf16Le };

/// The encoding of document bytes, by the same rules as DecodeDocument. Never fails.
DocumentEncoding DetectEncoding(const std::string& bytes);
/// The name people know the encoding by ("UTF-8", "UTF-16LE with BOM", ...).
const char* EncodingName(DocumentEncoding encoding);
/// Wide text as bytes of the encoding, with its byte order mark if it has one. Never fails.
std::string EncodeDocument(const WideString& text, DocumentEncoding encoding);

/// The text of each string document, in list order, to tell later whether any changed.
std::vector<WideString> StringTexts(const CEncapFamily& family);

/// Writes the family to `familyPath` in `encoding`; with `saveStrings`, first the string files
/// through SaveFamilyStringsXMLs into the folder that FamilyStrings/File names, taken relative
/// to the folder of `familyPath`. The paths written go to `written`. False with a one-line
/// message in `error` when a file can't be written; the files written before stay, and the
/// family document is written last.
bool SaveFamily(CEncapFamily& family, const std::string& familyPath, DocumentEncoding encoding,
                bool saveStrings, std::vector<std::string>& written, std::string& error);

} // namespace torvex::cli
