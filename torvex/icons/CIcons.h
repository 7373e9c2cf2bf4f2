#pragma once
// Windows icons in two forms, ICO files and icon resources of executable modules, and
// conversions between them, bitmaps and the clipboard.
//
// Ownership, as the Part gives it: an ICONRESOURCE is one block from malloc, released by the
// caller with free; each image's block (lpBits) is a block of its own from malloc, released by
// the caller with free too (FreeIconResource does both).
//
// Stand-ins for Windows, each documented where it is declared:
// - message boxes: the message handler set on CIcons (IconTypes.h; default: standard error);
// - HICON: IconPicture.h; HINSTANCE and the module's resources: PeImage.h; the clipboard:
//   Clipboard.h.
//
// Hostile files: every count, size and offset of an ICO file is checked against the file's size
// before anything is allocated or read, and what the Part would read at the failing step gives
// that step's error: a directory longer than the file gives 6, an image beyond the end of the
// file 8, an image whose header claims more than its block holds 9 (AdjustIconImagePointers
// refuses it). Images read before a failure are freed (the Part leaves them), the result is the
// same null.

#include "torvex/icons/CDib.h"
#include "torvex/icons/IconPicture.h"
#include "torvex/icons/IconTypes.h"
#include "torvex/icons/PeImage.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace torvex {

/// One image of an icon.
struct ICONIMAGE {
    uint32_t Width;       // from the DIB header
    uint32_t Height;      // half the DIB header's height (it counts XOR and AND masks)
    uint32_t Colors;      // planes times bit count of the DIB header
    uint8_t* lpBits;      // the image's block: header, colour table, XOR mask, AND mask; owned
    uint32_t dwNumBytes;  // size of the block
    uint8_t* lpbi;        // the DIB header; equals lpBits (null for an image stored as PNG)
    uint8_t* lpXOR;       // into the block, after header and colour table
    uint8_t* lpAND;       // after the XOR mask: its bytes per line times Height
};

constexpr size_t kMaxPath = 260;

/// One icon with all its images, one block allocated for exactly nNumImages images.
struct ICONRESOURCE {
    int32_t bHasChanged;                     // not set by this library
    char16_t szOriginalICOFileName[kMaxPath]; // UTF-16, zero-ended; empty unless read from ICO
    char16_t szOriginalDLLFileName[kMaxPath]; // the module when read from a resource
    uint32_t nNumImages;
    ICONIMAGE IconImages[]; // nNumImages of them
};

/// Bytes of an ICONRESOURCE block for `count` images.
inline size_t IconResourceSize(size_t count) {
    return sizeof(ICONRESOURCE) + count * sizeof(ICONIMAGE);
}

enum Error_ReadIconFromICOFile {
    IconReadOk = 0,
    IconReadOpenFailed = 1,           // "Error when opening an icon file!"
    IconReadAllocFailed = 2,          // "Error when allocating memory for an icon!"
    IconReadBadHeader = 3,            // "Error when reading header of an icon file!"
    IconReadReallocFailed = 4,        // "Error when reallocating memory for an icon!"
    IconReadDirectoryAllocFailed = 5, // "Error when reallocating memory for an icon file!"
    IconReadDirectoryFailed = 6,      // "Error when reading an icon file!"
    IconReadImageFailed = 7,          // "Error when locating content of an icon!"
    IconReadShortImage = 8,           // "Error when reading content of an icon!"
    IconReadBadImage = 9,             // "Error when transforming inner format of an icon!"
};

class CIcons {
public:
    CIcons() = default;
    virtual ~CIcons();

    /// Where the Part's message boxes go (text, caption = file name); an empty handler restores
    /// DefaultMessageHandler, which writes "caption: text" to standard error.
    void SetMessageHandler(MessageHandler handler);

    /// The table's message for a read error; empty for IconReadOk or an unknown value.
    static WideString ReadErrorMessage(Error_ReadIconFromICOFile error);

    /// Reads an ICO file, showing a message on failure; the caller frees the result.
    ICONRESOURCE* ReadIconFromICOFile(const WideString& name);
    /// The same, and `icons` (resized to the image count) gets MakeIconFromResource of each
    /// image; on failure shows the table's message. (Off Windows the HICON array is a vector, so
    /// that no file's count can write past it.)
    ICONRESOURCE* ReadIconFromICOFile(const WideString& name, std::vector<HICON>& icons);
    /// The same without any message: `error` says what failed.
    ICONRESOURCE* ReadIconFromICOFile(const WideString& name, std::vector<HICON>& icons,
                                      Error_ReadIconFromICOFile& error);
    /// Reads an RT_GROUP_ICON resource (named by text or "#123"; null gives null) and its
    /// RT_ICON images from a PE file.
    ICONRESOURCE* ReadIconFromEXEFile(const WideString& name, const wchar_t* resource);

    /// Writes an ICO file; 1 on success, else 0 (after a message where the Part shows one).
    int WriteIconToICOFile(ICONRESOURCE* resource, const WideString& name);
    /// The same for a list of images; biSizeImage of each image's header is 0 while its block is
    /// written and is restored afterwards (a failed write leaves it 0).
    int WriteIconToICOFile(const std::vector<ICONIMAGE*>& images, const WideString& name);

    /// The image decoded (IconPicture.h); null for a null image, null bits, or an image the
    /// stand-in cannot decode.
    HICON MakeIconFromResource(const ICONIMAGE* image);
    /// The image of the module's icon group `name` that suits 32x32 best
    /// (LookupIconIdFromDirectory), decoded; null on any failure.
    HICON GetIconFromInstance(HINSTANCE instance, const wchar_t* name);

    /// Puts a copy of the image's block, with the height halved, on the clipboard as a DIB.
    /// 1, or 0 for null bits (or an image stored as PNG, which is no DIB).
    int IconImageToClipBoard(const ICONIMAGE* image);
    /// DIBToIconImage with the clipboard's DIB; 0 when there is none, it is shorter than its
    /// header says, or the conversion fails.
    int IconImageFromClipBoard(ICONIMAGE* image, int stretch);
    /// Converts a DIB to an icon image of the width, height and colors already in `image`. As
    /// the Part says, a new block is allocated only when lpBits is not null, and the old block
    /// is dropped, not freed: the caller keeps and frees it. A null lpBits gives 0 (the Part
    /// would write through it). The DIB must hold its header, table and pixels
    /// (CDib::CheckDib).
    int DIBToIconImage(ICONIMAGE* image, const uint8_t* dib, int stretch);
    /// ReadBMPFile, then DIBToIconImage.
    int IconImageFromBMPFile(const WideString& name, ICONIMAGE* image, int stretch);
    /// WriteBMPFile of the image's block.
    int IconImageToBMPFile(const WideString& name, ICONIMAGE* image);

    /// 6 + 16 per image + the sizes of the images before `index`, in 32 bits.
    uint32_t CalculateImageOffset(const std::vector<ICONIMAGE*>& images, uint32_t index) const;

    /// Not in the Part: frees each image's block, then the resource block. Null is allowed.
    static void FreeIconResource(ICONRESOURCE* resource);

private:
    enum class ReadFailure; // finer than the error values, for the messages of the plain form
    ICONRESOURCE* ReadIco(const WideString& name, std::vector<HICON>* icons,
                          Error_ReadIconFromICOFile& error, ReadFailure& failure);
    uint32_t CalculateImageOffset(const ICONRESOURCE* resource, uint32_t index) const;
    int AdjustIconImagePointers(ICONIMAGE* image);
    int WriteImages(ICONIMAGE* const* images, uint32_t count, const WideString& name,
                    bool zeroSizeImage);
    void Message(const WideString& text, const WideString& caption) const;

    MessageHandler handler_;
};

} // namespace torvex
