#pragma once
// Helpers over device-independent bitmaps held as one block of memory from malloc (a
// 40-byte BITMAPINFOHEADER, the colour table, the pixel rows), owned by whoever received the
// block and released with free. Reads and writes BMP files and converts a DIB to another size and
// depth.
//
// Stand-ins for Windows (documented here, as the Part leaves them to the implementer):
// - Message boxes go to the message handler (IconTypes.h): text and the file name as caption.
// - ConvertDIBFormat has no GDI: it reads the source's pixels (1, 4, 8, 16 (5-5-5), 24 and
//   32 bits, BI_RGB, bottom-up or top-down) and writes them in the target's depth and size,
//   cropped at the top-left origin (as BitBlt from (0,0) does; target pixels beyond the source
//   stay zero) or, when `stretch` is set and the sizes differ, by nearest neighbour (as
//   StretchBlt in COLORONCOLOR mode does: target pixel x takes source pixel x * source width /
//   target width, rows likewise). Colours go to the nearest entry of the target's colour table
//   (least squared distance in red, green and blue; the first such entry on ties); 16-bit
//   targets take 5-5-5, 24-bit blue-green-red, 32-bit blue-green-red and the source's fourth
//   byte when the source has 32 bits, else 0.
// - CopyColorTable for 4 bits takes the first 16 entries of the Windows default palette; for 8
//   bits, where Windows takes CreateHalftonePalette's, it takes this fixed halftone table:
//   entries 0 to 215 the 6x6x6 colour cube, entry 36 r + 6 g + b with levels 0, 51, 102, 153,
//   204, 255 for red r, green g, blue b; entries 216 to 255 forty greys, entry 215 + i having
//   the level (i * 255 + 20) / 41 for i = 1 to 40.
//
// Hostile files: ReadBMPFile checks every size and offset against the file's size before it
// allocates; the block it allocates is never more than 40 bytes plus the file's size.

#include "torvex/icons/IconTypes.h"

#include <cstddef>
#include <cstdint>

namespace torvex {

class CDib {
public:
    CDib() = default;
    virtual ~CDib();

    /// Where messages go; an empty handler restores DefaultMessageHandler.
    void SetMessageHandler(MessageHandler handler);

    /// Block start + biSize + PaletteSize.
    static uint8_t* FindDIBBits(uint8_t* dib);
    static const uint8_t* FindDIBBits(const uint8_t* dib);
    /// biClrUsed's low 16 bits when it is not 0, else 2, 16 or 256 for 1, 4 or 8 bits, else 0.
    static uint16_t DIBNumColors(const uint8_t* dib);
    /// DIBNumColors times 4, in 16 bits.
    static uint16_t PaletteSize(const uint8_t* dib);
    /// ((biWidth * biPlanes * biBitCount + 31) >> 5) * 4, as a 32-bit value.
    static uint32_t BytesPerLine(const uint8_t* dib);

    /// A new DIB (1068 bytes of header and table, then the pixels) of the given width, height
    /// and bit count holding the source's pixels; null when the source or target is not one
    /// this stand-in handles (see above) or memory runs out. The source block must hold its
    /// header, colour table and pixel rows (CheckDib), as blocks of ReadBMPFile do.
    uint8_t* ConvertDIBFormat(const uint8_t* source, uint32_t width, uint32_t height,
                              uint32_t bitCount, int stretch);
    /// Fills the target's colour table by its bit count from the source (see above). Always 1.
    static int CopyColorTable(uint8_t* target, const uint8_t* source);
    /// Sets or clears the bit of pixel (x, y) in 1-bit rows of the given width and height.
    static void SetMonoDIBPixel(uint8_t* bits, uint32_t width, uint32_t height, uint32_t x,
                                uint32_t y, int on);

    /// A new DIB block read from a BMP file, or null after a message.
    uint8_t* ReadBMPFile(const WideString& name);
    /// Writes an icon image's block (whose header's height counts both masks) as a BMP file;
    /// 1 or 0 after a message. `blockSize` is the size of the block: where the Part's step 4
    /// would take bytes beyond it, the write is refused with that step's message, and the block
    /// is left as it was.
    int WriteBMPFile(const WideString& name, uint8_t* dib, size_t blockSize);

    /// Not in the Part: true when a block of `size` bytes holds a 40-byte header, a width and
    /// height not below 0 (the height may be negative for a top-down DIB), its colour table and
    /// BytesPerLine times |height| bytes of pixels, with every product within 32 bits.
    static bool CheckDib(const uint8_t* dib, size_t size);

protected:
    void Message(const WideString& text, const WideString& caption) const;

private:
    MessageHandler handler_;
};

} // namespace torvex
