#include "zktypeface.h"

#include "glyph/zktypefacedata.h"

#include FT_MULTIPLE_MASTERS_H

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr std::size_t kMostFileBytes = LONG_MAX; // FreeType counts in long
constexpr std::size_t kFirstRead = 64 * 1024;
constexpr std::uint32_t kMostIds = (1u << 29) - 1; // what a glyph's key has room for

std::uint32_t lastId = 0;

// What a failed opening gives when there is not even memory to say so. Never freed:
// its count starts where no number of handles takes it to 0.
ZkTypefaceData noMemory = {{1 << 30}, ZkTypeface::OutOfMemory, "not enough memory for a font"};

/// The bytes of a font and how they are given back.
struct FontBytes {
    const std::uint8_t *bytes = nullptr;
    std::size_t size = 0;
    ZkOpenTypeface::Source source = ZkOpenTypeface::Borrowed;
    ZkTypeface::Release release = nullptr;
    void *context = nullptr;

    void giveBack() const
    {
        if (source == ZkOpenTypeface::Mapped) {
            munmap(const_cast<std::uint8_t *>(bytes), size);
        } else if (source == ZkOpenTypeface::Allocated) {
            std::free(const_cast<std::uint8_t *>(bytes));
        } else if (release != nullptr) {
            release(bytes, context);
        }
    }
};

/// How an opening ended. `numbers` stand in the sentence: "face 3 of 2".
struct Outcome {
    ZkTypeface::Error error;
    const char *sentence; ///< with a %s for the name, after two %d where there are numbers
    int first = 0, second = 0;
};

const Outcome kNoMemory = {ZkTypeface::OutOfMemory, "not enough memory to open: %s"};
const Outcome kNoFont = {ZkTypeface::NoFont, "no font: %s"};
const Outcome kTooMany = {ZkTypeface::OutOfMemory, "too many fonts were opened before: %s"};

// A handle that is not valid. Its sentence names the file or what else was opened.
ZkTypeface failed(const Outcome &outcome, const char *name)
{
    char text[256];
    const bool hasNumbers = std::strstr(outcome.sentence, "%d") != nullptr;
    const int fits = hasNumbers ? std::snprintf(text, sizeof text, outcome.sentence, outcome.first,
                                                outcome.second, name)
                                : std::snprintf(text, sizeof text, outcome.sentence, name);
    const std::size_t length = static_cast<std::size_t>(fits < 0 ? 0 : fits);
    void *memory = std::malloc(sizeof(ZkTypefaceData) + length + 1);
    if (memory == nullptr) {
        noMemory.ref.ref();
        return ZkTypefaceData::handle(&noMemory);
    }
    char *const sentence = static_cast<char *>(memory) + sizeof(ZkTypefaceData);
    if (hasNumbers) {
        std::snprintf(sentence, length + 1, outcome.sentence, outcome.first, outcome.second, name);
    } else {
        std::snprintf(sentence, length + 1, outcome.sentence, name);
    }
    return ZkTypefaceData::handle(new (memory) ZkTypefaceData{{1}, outcome.error, sentence});
}

// Reads what cannot be mapped, to its end or to the limit.
ZkTypeface::Error readAll(int file, FontBytes *out)
{
    std::size_t room = kFirstRead;
    auto *bytes = static_cast<std::uint8_t *>(std::malloc(room));
    std::size_t size = 0;
    while (bytes != nullptr) {
        const ssize_t got = read(file, bytes + size, room - size);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            std::free(bytes);
            return ZkTypeface::NoFile;
        }
        size += static_cast<std::size_t>(got);
        if (got == 0) {
            out->bytes = bytes;
            out->size = size;
            out->source = ZkOpenTypeface::Allocated;
            return ZkTypeface::NoError;
        }
        if (size == room) {
            room *= 2;
            void *const grown =
                room > ZkTypeface::kMostMemory ? nullptr : std::realloc(bytes, room);
            if (grown == nullptr) {
                std::free(bytes);
            }
            bytes = static_cast<std::uint8_t *>(grown);
        }
    }
    return ZkTypeface::OutOfMemory;
}

// The bytes of an open file: mapped when that works.
ZkTypeface::Error bytesOf(int file, FontBytes *out)
{
    struct stat status = {};
    if (fstat(file, &status) != 0) {
        return ZkTypeface::NoFile;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? ZkTypeface::NoFont : readAll(file, out);
    }
    if (status.st_size == 0 || static_cast<std::uint64_t>(status.st_size) > kMostFileBytes) {
        return ZkTypeface::NoFont;
    }
    const std::size_t size = static_cast<std::size_t>(status.st_size);
    void *const mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (mapped == MAP_FAILED) {
        return lseek(file, 0, SEEK_SET) == 0 ? readAll(file, out) : ZkTypeface::NoFile;
    }
    out->bytes = static_cast<const std::uint8_t *>(mapped);
    out->size = size;
    out->source = ZkOpenTypeface::Mapped;
    return ZkTypeface::NoError;
}

FT_Int32 loadFlagsOf(ZkTypeface::Hinting hinting)
{
    switch (hinting) {
    case ZkTypeface::HintLight: return FT_LOAD_TARGET_LIGHT;
    case ZkTypeface::HintNone: return FT_LOAD_NO_HINTING;
    case ZkTypeface::HintAuto: break;
    }
    return FT_LOAD_FORCE_AUTOHINT;
}

// FreeType's coordinates of an axis are 16.16; NaN is the axis's normal value.
FT_Fixed onAxis(const FT_Var_Axis &axis, float value)
{
    const double scaled = static_cast<double>(value) * 65536.0;
    if (!(scaled == scaled)) {
        return axis.def;
    }
    if (scaled <= static_cast<double>(axis.minimum)) {
        return axis.minimum;
    }
    return scaled >= static_cast<double>(axis.maximum) ? axis.maximum
                                                       : static_cast<FT_Fixed>(scaled);
}

float unfixed(FT_Fixed value)
{
    return static_cast<float>(static_cast<double>(value) / 65536.0);
}

// Moves the face to where the options want it and notes its axes.
Outcome settleAxes(ZkOpenTypeface *open, const ZkTypeface::Options &options, const FT_MM_Var &var)
{
    const int count = static_cast<int>(var.num_axis);
    auto *coordinates =
        static_cast<FT_Fixed *>(std::malloc(static_cast<std::size_t>(count) * sizeof(FT_Fixed)));
    open->axes = static_cast<ZkTypeface::Axis *>(
        std::malloc(static_cast<std::size_t>(count) * sizeof(ZkTypeface::Axis)));
    Outcome outcome = {ZkTypeface::NoError, ""};
    if (coordinates == nullptr || open->axes == nullptr ||
        FT_Get_Var_Design_Coordinates(open->face, var.num_axis, coordinates) != 0) {
        outcome = coordinates == nullptr || open->axes == nullptr ? kNoMemory : kNoFont;
    }
    for (int i = 0; outcome.error == ZkTypeface::NoError && i < options.axisCount; ++i) {
        int axis = 0;
        while (axis < count && var.axis[axis].tag != options.axes[i].tag) {
            ++axis;
        }
        if (axis == count) {
            outcome = {ZkTypeface::NoAxis, "axis value %d of %d names no axis of: %s", i + 1,
                       options.axisCount};
        } else {
            coordinates[axis] = onAxis(var.axis[axis], options.axes[i].value);
        }
    }
    if (outcome.error == ZkTypeface::NoError && options.axisCount > 0 &&
        FT_Set_Var_Design_Coordinates(open->face, var.num_axis, coordinates) != 0) {
        outcome = kNoFont;
    }
    for (int i = 0; outcome.error == ZkTypeface::NoError && i < count; ++i) {
        const FT_Var_Axis &axis = var.axis[i];
        open->axes[i] = {static_cast<std::uint32_t>(axis.tag), unfixed(axis.minimum),
                         unfixed(axis.def), unfixed(axis.maximum), unfixed(coordinates[i])};
        open->axisCount = count;
    }
    std::free(coordinates);
    return outcome;
}

Outcome openAxes(ZkOpenTypeface *open, const ZkTypeface::Options &options)
{
    FT_MM_Var *var = nullptr;
    if (!FT_HAS_MULTIPLE_MASTERS(open->face) || FT_Get_MM_Var(open->face, &var) != 0) {
        return options.axisCount > 0
                   ? Outcome{ZkTypeface::NoAxis, "axis value %d of %d for a font without axes: %s",
                             1, options.axisCount}
                   : Outcome{ZkTypeface::NoError, ""};
    }
    const Outcome outcome =
        var->num_axis == 0 ? Outcome{ZkTypeface::NoError, ""} : settleAxes(open, options, *var);
    FT_Done_MM_Var(open->freetype, var);
    return outcome;
}

// A font whose characters stand in the private use area has a map FreeType does not choose.
void findSymbols(ZkOpenTypeface *open)
{
    FT_Face face = open->face;
    for (int i = 0; face->charmap == nullptr && i < face->num_charmaps; ++i) {
        if (face->charmaps[i]->encoding == FT_ENCODING_MS_SYMBOL &&
            FT_Set_Charmap(face, face->charmaps[i]) == 0) {
            open->symbols = face->charmap;
        }
    }
}

// Why FreeType refused: a face or an instance that is not there has its own sentence.
Outcome refusal(const FontBytes &font, const ZkTypeface::Options &options,
                const ZkFontMemory &memory, FT_Error error)
{
    if (memory.isStarved || memory.isRefused || error == FT_Err_Out_Of_Memory) {
        return kNoMemory;
    }
    const int faces = ZkFontLibrary::countFaces(font.bytes, font.size);
    if (faces > 0 && (options.face < 0 || options.face >= faces)) {
        return {ZkTypeface::NoFace, "face %d of %d: %s", options.face, faces};
    }
    FT_Face face = nullptr;
    FT_Library library = nullptr;
    if (faces > 0 && options.instance > 0 &&
        ZkFontLibrary::openFace(font.bytes, font.size, options.face, &face, &library) == 0) {
        const int instances = static_cast<int>(face->style_flags >> 16);
        ZkFontLibrary::closeFace(face);
        return {ZkTypeface::NoInstance, "instance %d of %d: %s", options.instance, instances};
    }
    return kNoFont;
}

// Opens the face and all that depends on it. What it made is in `open`, also on failure.
Outcome openFace(ZkOpenTypeface *open, const FontBytes &font, const ZkTypeface::Options &options)
{
    const ZkFontMemoryScope scope(&open->memory);
    const bool isSane = options.face >= 0 && options.face <= 0xFFFF && options.instance >= 0 &&
                        options.instance <= 0x7FFF;
    const FT_Long index =
        isSane ? static_cast<FT_Long>(options.face) | static_cast<FT_Long>(options.instance) << 16
               : -1;
    FT_Error error = FT_Err_Invalid_Argument;
    if (isSane) {
        error = ZkFontLibrary::openFace(font.bytes, font.size, index, &open->face, &open->freetype);
    }
    if (error != 0) {
        if (options.instance < 0) {
            return {ZkTypeface::NoInstance, "instance %d is below %d: %s", options.instance, 0};
        }
        return refusal(font, options, open->memory, error);
    }
    open->instanceCount = static_cast<int>(open->face->style_flags >> 16 & 0x7FFF);
    if (options.instance > open->instanceCount) {
        return {ZkTypeface::NoInstance, "instance %d of %d: %s", options.instance,
                open->instanceCount};
    }
    findSymbols(open);
    const Outcome outcome = openAxes(open, options);
    open->findStroke();
    return open->memory.isStarved || open->memory.isRefused ? kNoMemory : outcome;
}

ZkTypeface openBytes(FontBytes font, const char *name, const ZkTypeface::Options &options)
{
    void *const memory = std::malloc(sizeof(ZkOpenTypeface));
    if (memory == nullptr) {
        font.giveBack();
        return failed(kNoMemory, name);
    }
    auto *const open = new (memory) ZkOpenTypeface();
    open->ref = 1;
    open->errorText = "";
    open->bytes = font.bytes;
    open->size = font.size;
    open->source = font.source;
    open->releaseBytes = font.release;
    open->releaseContext = font.context;
    open->options = options;
    open->options.axes = nullptr;
    open->options.axisCount = 0;
    open->loadFlags = loadFlagsOf(options.hinting);
    open->scaledTo = -1;
    open->memory.limit = ZkTypeface::kMostMemory;
    pthread_mutex_init(&open->lock, nullptr);
    Outcome outcome = font.size == 0 ? kNoFont : openFace(open, font, options);
    if (outcome.error == ZkTypeface::NoError) {
        open->id = __atomic_add_fetch(&lastId, 1, __ATOMIC_RELAXED);
        if (open->id <= kMostIds) { // one way: else 500 million were opened before
            return ZkTypefaceData::handle(open);
        }
        outcome = kTooMany; // unreachable: 500 million were opened before
    }
    ZkTypeface typeface = failed(outcome, name); // while the name is there
    open->close();
    return typeface;
}

} // namespace

void ZkOpenTypeface::close()
{
    if (face != nullptr) {
        const ZkFontMemoryScope scope(&memory);
        ZkFontLibrary::closeFace(face);
    }
    FontBytes{bytes, size, source, releaseBytes, releaseContext}.giveBack();
    releaseRemembered();
    std::free(axes);
    pthread_mutex_destroy(&lock);
    std::free(this);
}

ZkTypeface::ZkTypeface(const ZkTypeface &other) noexcept : d(other.d)
{
    if (d != nullptr) {
        d->ref.ref();
    }
}

ZkTypeface::~ZkTypeface()
{
    if (d == nullptr || d->ref.deref()) {
        return;
    }
    if (d->error != NoError) {
        std::free(d); // NOLINT(clang-analyzer-unix.Malloc): the count of `noMemory` never ends
        return;
    }
    auto *const open = static_cast<ZkOpenTypeface *>(d);
    zkForgetGlyphs(open->id);
    open->close();
}

ZkTypeface &ZkTypeface::operator=(const ZkTypeface &other) noexcept
{
    ZkTypeface copy(other);
    return *this = static_cast<ZkTypeface &&>(copy);
}

ZkTypeface ZkTypeface::fromFile(const char *path, const Options &options)
{
    const char *const name = path == nullptr ? "" : path;
    // Not waiting for the other end of what is no file.
    const int file = open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        return failed({NoFile, isMissing ? "no such file: %s" : "cannot be read: %s"}, name);
    }
    struct stat status = {};
    FontBytes font;
    Error error = NoFont;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        error = bytesOf(file, &font);
    }
    ::close(file);
    switch (error) {
    case NoError: return openBytes(font, name, options);
    case NoFont: return failed(kNoFont, name);
    case OutOfMemory: return failed(kNoMemory, name);
    default: return failed({NoFile, "cannot be read: %s"}, name);
    }
}

ZkTypeface ZkTypeface::fromDescriptor(int file, const Options &options)
{
    char name[32];
    std::snprintf(name, sizeof name, "descriptor %d", file);
    FontBytes font;
    switch (bytesOf(file, &font)) {
    case NoError: return openBytes(font, name, options);
    case NoFont: return failed(kNoFont, name);
    case OutOfMemory: return failed(kNoMemory, name);
    default: return failed({NoFile, "cannot be read: %s"}, name);
    }
}

ZkTypeface ZkTypeface::fromMemory(const void *bytes, std::size_t size, const Options &options)
{
    FontBytes font;
    font.source = ZkOpenTypeface::Allocated;
    font.size = bytes == nullptr || size > kMostFileBytes ? 0 : size;
    void *const copy = std::malloc(font.size + 1); // no test can tell: one byte is for none
    if (copy == nullptr) {
        return failed(kNoMemory, "bytes in memory");
    }
    if (font.size > 0) {
        std::memcpy(copy, bytes, font.size);
    }
    font.bytes = static_cast<const std::uint8_t *>(copy);
    return openBytes(font, "bytes in memory", options);
}

ZkTypeface ZkTypeface::fromBorrowed(const void *bytes, std::size_t size, Release release,
                                    void *context, const Options &options)
{
    FontBytes font;
    font.bytes = static_cast<const std::uint8_t *>(bytes);
    font.size = bytes == nullptr || size > kMostFileBytes ? 0 : size;
    font.release = release;
    font.context = context;
    return openBytes(font, "bytes in memory", options);
}

ZkTypeface::Error ZkTypeface::error() const
{
    return d == nullptr ? NotOpened : d->error;
}

const char *ZkTypeface::errorText() const
{
    return d == nullptr ? "no font was opened" : d->errorText;
}
