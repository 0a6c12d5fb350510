#ifndef ZKTYPEFACE_H
#define ZKTYPEFACE_H

#include "zkglobal.h"

#include <cstddef>
#include <cstdint>

struct ZkTypefaceData;

/// Vertical measures of a typeface at a size, in whole pixels. y grows down from the
/// baseline for the two strokes.
struct ZkTypefaceMetrics {
    int pixelSize;          ///< of the glyphs: another one than asked for with fixed strikes
    int ascent;             ///< rows above the baseline, rounded up
    int descent;            ///< rows below the baseline, rounded up; above 0 in ordinary fonts
    int gap;                ///< rows that the font wants between two lines, 0 or more
    int underlineTop;       ///< first row of the underline: 1 is the row below the baseline's
    int underlineThickness; ///< 1 or more
    int strikeTop;          ///< first row of the stroke through letters: below 0
    int strikeThickness;    ///< 1 or more
};

/// A face of a font file: a counted handle, as cheap to copy as a pointer. The last
/// handle closes the font.
///
///     ZkTypeface face = ZkTypeface::fromFile("/usr/share/fonts/sans.ttf");
///     if (!face.isValid()) {
///         std::puts(face.errorText());   // no such file: /usr/share/fonts/sans.ttf
///     }
///
/// Takes whatever FreeType opens: TrueType, OpenType, collections, variable fonts, WOFF,
/// WOFF2, Type 1, BDF and PCF, packed or not. Opening prints nothing and ends no process:
/// a font that does not open gives a handle that is not valid and tells why. Such a handle,
/// like a default one, has no glyphs and may be used anywhere.
///
/// Damaged fonts give errors or empty glyphs. FreeType may take `kMostMemory` bytes for
/// one typeface, and half a second of processor time beyond the first 256 allocations for
/// one glyph; what would need more fails.
///
/// Handles of one typeface may be used by several threads at once; a handle itself
/// belongs to one. Opening costs what FreeType takes for it: the file is mapped, not read,
/// so it must not be cut or written over while it is open (replace it by renaming).
class ZK_EXPORT ZkTypeface
{
public:
    enum Error {
        NoError,
        NotOpened,   ///< a default handle
        NoFile,      ///< there is no such file, or it cannot be read
        NoFont,      ///< the bytes are in no format that FreeType knows, or are damaged
        NoFace,      ///< the file has fewer faces
        NoInstance,  ///< the face has fewer named instances, or none
        NoAxis,      ///< the face has no such axis of variation
        OutOfMemory, ///< or more than `kMostMemory` is needed
    };

    /// How outlines are fitted to pixels.
    enum Hinting {
        HintAuto,  ///< by FreeType's auto-hinter, in both directions, as the classic engine
        HintLight, ///< vertically only: letters keep their shape and their widths
        HintNone,
    };

    /// A place on an axis of a variable font, such as {"wght" as a number, 650}.
    struct AxisValue {
        std::uint32_t tag; ///< four letters, the first in the highest byte
        float value;       ///< cut to what the axis allows
    };

    struct Axis {
        std::uint32_t tag;
        float least, normal, most;
        float value; ///< where this typeface stands
    };

    /// How a font is opened. Axis values come after the named instance.
    struct Options {
        int face = 0;     ///< of a collection, from 0
        int instance = 0; ///< named instance of a variable font, from 1; 0 is the default one
        Hinting hinting = HintAuto;
        const AxisValue *axes = nullptr;
        int axisCount = 0;
    };

    /// Called once with the bytes of `fromBorrowed` when they are not needed any more.
    typedef void (*Release)(const void *bytes, void *context);

    static constexpr std::size_t kMostMemory = 48u << 20;

    /// Not valid; `error()` is `NotOpened`.
    ZkTypeface() noexcept = default;
    ZkTypeface(const ZkTypeface &other) noexcept;
    ZkTypeface(ZkTypeface &&other) noexcept : d(other.d) { other.d = nullptr; }
    ~ZkTypeface();
    ZkTypeface &operator=(const ZkTypeface &other) noexcept;
    ZkTypeface &operator=(ZkTypeface &&other) noexcept;

    /// Opens a face of a file. `path` is what the system takes, UTF-8 by custom; null is
    /// no file.
    static ZkTypeface fromFile(const char *path) { return fromFile(path, Options()); }
    static ZkTypeface fromFile(const char *path, const Options &options);

    /// The same for an open file, read from its start. The descriptor stays the
    /// caller's and may be closed at once. One that cannot be mapped (a pipe) is read to
    /// its end into memory.
    static ZkTypeface fromDescriptor(int file) { return fromDescriptor(file, Options()); }
    static ZkTypeface fromDescriptor(int file, const Options &options);

    /// Opens a face of `size` bytes in memory, which are copied.
    static ZkTypeface fromMemory(const void *bytes, std::size_t size)
    {
        return fromMemory(bytes, size, Options());
    }
    static ZkTypeface fromMemory(const void *bytes, std::size_t size, const Options &options);

    /// Opens a face of bytes that stay where they are. `release(bytes, context)`, unless
    /// null, is called exactly once: when the last handle is gone, or before this
    /// returns when the font does not open.
    static ZkTypeface fromBorrowed(const void *bytes, std::size_t size, Release release,
                                   void *context)
    {
        return fromBorrowed(bytes, size, release, context, Options());
    }
    static ZkTypeface fromBorrowed(const void *bytes, std::size_t size, Release release,
                                   void *context, const Options &options);

    bool isValid() const { return error() == NoError; }
    Error error() const;

    /// Why it is not valid, in one sentence for people: "no such file: /a.ttf",
    /// "no font: /a.ttf", "face 3 of 2: /a.ttc". Empty for a valid one. Lives as long as
    /// the typeface.
    const char *errorText() const;

    /// Same typeface, not merely the same file: opening a file twice gives two.
    bool operator==(const ZkTypeface &other) const { return d == other.d; }
    bool operator!=(const ZkTypeface &other) const { return d != other.d; }

    /// A number from 1 on that no other typeface of the process has or had; 0 for one
    /// that is not valid.
    std::uint32_t id() const;

    /// Names as the font tells them; empty when it does not. They live as long as the
    /// typeface.
    const char *familyName() const;
    const char *styleName() const;

    /// Faces in the file; 0 when not valid.
    int faceCount() const;
    /// What `Options` said.
    int faceIndex() const;
    int instance() const;
    Hinting hinting() const;

    /// Named instances, none in a font that does not vary, and the name of one, counted
    /// from 1, in UTF-8: up to `room` bytes with the final 0 are written. The number of
    /// bytes of the whole name.
    int instanceCount() const;
    int instanceName(int number, char *out, int room) const;

    int axisCount() const;
    /// All zeros for an index out of range.
    Axis axis(int index) const;

    /// False for fonts of fixed strikes alone.
    bool isScalable() const;
    bool isVariable() const { return axisCount() > 0; }

    /// Fixed strikes in the font, and the pixel size of one; 0 for an index out of range.
    int strikeCount() const;
    int strikeSize(int index) const;

    /// The size that glyphs of a request for `pixelSize` have: the same for outlines, the
    /// nearest strike's (of two as near the larger) for a font of strikes alone.
    int nearestSize(int pixelSize) const;

    int glyphCount() const;

    /// Number of the glyph of a character, 0 when the face lacks it. After the first
    /// question in a block of 256 characters this takes no lock and asks nobody.
    std::uint32_t glyphIndex(char32_t character) const;
    bool hasGlyph(char32_t character) const { return glyphIndex(character) != 0; }

    /// All zeros when not valid. `pixelSize` 0 counts as 1, as for glyphs.
    ZkTypefaceMetrics metrics(int pixelSize) const;

    /// Units of the em square in the font's own tables; 0 for strikes alone.
    int unitsPerEm() const;

    /// Pixels to add between two neighbouring glyphs, from the font's `kern` table,
    /// rounded; mostly 0 or below. Pairs are remembered.
    int kerning(std::uint32_t left, std::uint32_t right, int pixelSize) const;
    /// False when `kerning` is always 0.
    bool hasKerning() const;

    /// The bytes of the file, as long as a handle lives; null when not valid. For a
    /// packed format (WOFF, WOFF2) these are the packed ones: see `table`.
    const void *data() const;
    std::size_t dataSize() const;

    /// Copies up to `room` bytes of a table of an OpenType font, unpacked if need be, and
    /// returns its whole length; 0 when there is none. Tag 0 is the whole unpacked font.
    std::size_t table(std::uint32_t tag, void *out, std::size_t room) const;

    /// Tells this font from others, whatever process asks: made of its bytes, all of them
    /// up to a MiB and a spread choice of a larger file's, and of how it was opened. The
    /// first call reads them.
    std::uint64_t digest() const;

    /// Bytes that this typeface has from `malloc`: FreeType's, copied fonts and what is
    /// remembered. Mapped files do not count.
    std::size_t memoryBytes() const;

    /// FreeType's version as major x 10000 + minor x 100 + patch.
    static int freeTypeVersion();

private:
    friend struct ZkTypefaceData;
    friend struct ZkInspector;

    explicit ZkTypeface(ZkTypefaceData *data) : d(data) {}

    ZkTypefaceData *d = nullptr;
};

inline ZkTypeface &ZkTypeface::operator=(ZkTypeface &&other) noexcept
{
    ZkTypefaceData *const mine = d;
    d = other.d;
    other.d = mine; // which lets go of it
    return *this;
}

#endif
