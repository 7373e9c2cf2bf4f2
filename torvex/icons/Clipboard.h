#pragma once
// Stand-in for the Windows clipboard: a clipboard object in the process that holds
// one DIB (the CF_DIB format). A host that has a real clipboard puts its own IClipboard in place
// with SetClipboard; CIcons uses whatever Clipboard() answers.

#include <cstdint>
#include <vector>

namespace torvex {

class IClipboard {
public:
    virtual ~IClipboard();
    /// Empties the clipboard (OpenClipboard and EmptyClipboard); false when it cannot be had.
    virtual bool Empty() = 0;
    /// Puts a DIB block on the clipboard as CF_DIB; false on failure.
    virtual bool SetDib(const std::vector<uint8_t>& dib) = 0;
    /// Copies the CF_DIB block on the clipboard to `dib`; false when there is none.
    virtual bool GetDib(std::vector<uint8_t>& dib) = 0;
};

/// The clipboard in force: the host's, or else the process's own, which holds one DIB in memory
/// (safe to use from several threads).
IClipboard& Clipboard();
/// Puts the host's clipboard in place; null puts the process's own back. The host keeps
/// ownership and keeps the object alive while it is in place.
void SetClipboard(IClipboard* clipboard);

} // namespace torvex
