// Loaded before the libraries of a program, it counts the calls of one kind that libzk
// and FreeType make and lets one of them fail:
//
//     ZK_FAULT_KIND  memory: malloc, calloc, realloc and operator new
//                    files: opening, reading, writing, seeking, closing, mapping
//                    freetype: libzk's calls of FreeType
//     ZK_FAULT_AT    which one, from 1; 0 for none
//     ZK_FAULT_OVER  set while the program runs: from here on nothing fails
//
// When the process ends it writes to the descriptor ZK_FAULT_REPORT how many calls it
// saw, which one failed, and how many blocks that libzk and FreeType took are left.

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <ft2build.h>
#include <link.h>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include FT_FREETYPE_H
#include FT_BITMAP_H
#include FT_GLYPH_H
#include FT_OUTLINE_H

namespace
{

enum Kind { None, Memory, Files, FreeType };

struct Range {
    std::uintptr_t first, last;
};

constexpr std::size_t kMostBlocks = 1 << 16;

struct State {
    Kind kind = None;
    bool isReady = false, isOver = false;
    long at = 0, seen = 0, live = 0;
    const char *failed = "none";
    int ranges = 0;
    Range range[4] = {};                     ///< the code of libzk and FreeType
    std::uintptr_t blocks[kMostBlocks] = {}; ///< what they took, by hash of the address
};

State state;

int noteLibrary(dl_phdr_info *info, std::size_t, void *)
{
    if (std::strstr(info->dlpi_name, "libzk.so") == nullptr &&
        std::strstr(info->dlpi_name, "libfreetype.so") == nullptr) {
        return 0;
    }
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr) &part = info->dlpi_phdr[i];
        if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0 && state.ranges < 4) {
            const std::uintptr_t first = info->dlpi_addr + part.p_vaddr;
            state.range[state.ranges++] = {first, first + part.p_memsz};
        }
    }
    return 0;
}

__attribute__((constructor)) void prepare()
{
    const char *kind = std::getenv("ZK_FAULT_KIND");
    const char *at = std::getenv("ZK_FAULT_AT");
    if (kind == nullptr || at == nullptr) {
        return;
    }
    state.kind = std::strcmp(kind, "memory") == 0  ? Memory
                 : std::strcmp(kind, "files") == 0 ? Files
                                                   : FreeType;
    state.at = std::atol(at);
    dl_iterate_phdr(noteLibrary, nullptr);
    state.isReady = true;
}

__attribute__((destructor)) void report()
{
    const char *descriptor = std::getenv("ZK_FAULT_REPORT");
    if (descriptor != nullptr) {
        dprintf(std::atoi(descriptor), "%ld %s %ld\n", state.seen, state.failed, state.live);
    }
}

bool isOurs(const void *caller)
{
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    for (int i = 0; i < state.ranges; ++i) {
        if (address >= state.range[i].first && address < state.range[i].last) {
            return true;
        }
    }
    return false;
}

/// Whether this call, which `caller` made, is the one to fail.
bool fails(Kind kind, const char *what, const void *caller)
{
    if (!state.isReady || state.kind != kind || !isOurs(caller)) {
        return false;
    }
    state.isOver = state.isOver || std::getenv("ZK_FAULT_OVER") != nullptr;
    if (state.isOver || ++state.seen != state.at) {
        return false;
    }
    state.failed = what;
    errno = kind == Memory ? ENOMEM : EIO;
    return true;
}

void *took(void *block, const void *caller)
{
    if (block != nullptr && state.isReady && isOurs(caller)) {
        const auto address = reinterpret_cast<std::uintptr_t>(block);
        std::size_t slot = (address >> 4) % kMostBlocks;
        while (state.blocks[slot] > 1) {
            slot = (slot + 1) % kMostBlocks;
        }
        state.blocks[slot] = address;
        ++state.live;
    }
    return block;
}

void gave(void *block)
{
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    for (std::size_t slot = (address >> 4) % kMostBlocks;
         block != nullptr && state.blocks[slot] != 0; slot = (slot + 1) % kMostBlocks) {
        if (state.blocks[slot] == address) {
            state.blocks[slot] = 1; // was taken: a search goes on behind it
            --state.live;
            return;
        }
    }
}

template <typename Function>
Function next(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

#define CALLER __builtin_return_address(0)

extern "C" {

// Memory. glibc's own names behind malloc: dlsym takes memory itself.
void *__libc_malloc(std::size_t);
void *__libc_calloc(std::size_t, std::size_t);
void *__libc_realloc(void *, std::size_t);
void __libc_free(void *);

void *malloc(std::size_t bytes)
{
    return fails(Memory, "malloc", CALLER) ? nullptr : took(__libc_malloc(bytes), CALLER);
}

void *calloc(std::size_t count, std::size_t bytes)
{
    return fails(Memory, "calloc", CALLER) ? nullptr : took(__libc_calloc(count, bytes), CALLER);
}

void *realloc(void *block, std::size_t bytes)
{
    if (fails(Memory, "realloc", CALLER)) {
        return nullptr;
    }
    gave(block);
    return took(__libc_realloc(block, bytes), CALLER);
}

void free(void *block)
{
    gave(block);
    __libc_free(block);
}
// Files. Closing frees what it can and then says that it failed.
std::FILE *fopen(const char *path, const char *mode)
{
    static const auto real = next<std::FILE *(*)(const char *, const char *)>("fopen");
    return fails(Files, "fopen", CALLER) ? nullptr : real(path, mode);
}

std::size_t fread(void *to, std::size_t size, std::size_t count, std::FILE *file)
{
    static const auto real =
        next<std::size_t (*)(void *, std::size_t, std::size_t, std::FILE *)>("fread");
    return fails(Files, "fread", CALLER) ? 0 : real(to, size, count, file);
}

std::size_t fwrite(const void *from, std::size_t size, std::size_t count, std::FILE *file)
{
    static const auto real =
        next<std::size_t (*)(const void *, std::size_t, std::size_t, std::FILE *)>("fwrite");
    return fails(Files, "fwrite", CALLER) ? 0 : real(from, size, count, file);
}

int fseek(std::FILE *file, long offset, int from)
{
    static const auto real = next<int (*)(std::FILE *, long, int)>("fseek");
    return fails(Files, "fseek", CALLER) ? -1 : real(file, offset, from);
}

long ftell(std::FILE *file)
{
    static const auto real = next<long (*)(std::FILE *)>("ftell");
    return fails(Files, "ftell", CALLER) ? -1 : real(file);
}

int fclose(std::FILE *file)
{
    static const auto real = next<int (*)(std::FILE *)>("fclose");
    const int closed = real(file);
    return fails(Files, "fclose", CALLER) ? EOF : closed;
}

int open(const char *path, int flags, ...)
{
    static const auto real = next<int (*)(const char *, int, mode_t)>("open");
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return fails(Files, "open", CALLER) ? -1 : real(path, flags, mode);
}

int fstat(int file, struct stat *told)
{
    static const auto real = next<int (*)(int, struct stat *)>("fstat");
    return fails(Files, "fstat", CALLER) ? -1 : real(file, told);
}

void *mmap(void *where, std::size_t bytes, int access, int flags, int file, off_t offset)
{
    static const auto real = next<void *(*)(void *, std::size_t, int, int, int, off_t)>("mmap");
    return fails(Files, "mmap", CALLER) ? MAP_FAILED
                                        : real(where, bytes, access, flags, file, offset);
}

ssize_t read(int file, void *to, std::size_t bytes)
{
    static const auto real = next<ssize_t (*)(int, void *, std::size_t)>("read");
    return fails(Files, "read", CALLER) ? -1 : real(file, to, bytes);
}

// FreeType. The arguments come with their parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define FREETYPE(name, signature, arguments)                                                       \
    FT_Error name signature                                                                        \
    {                                                                                              \
        static const auto real = next<FT_Error(*) signature>(#name);                               \
        return fails(FreeType, #name, CALLER) ? FT_Err_Out_Of_Memory : real arguments;             \
    }
// NOLINTEND(bugprone-macro-parentheses)

FREETYPE(FT_Init_FreeType, (FT_Library * library), (library))
FREETYPE(FT_New_Face, (FT_Library library, const char *path, FT_Long index, FT_Face *face),
         (library, path, index, face))
FREETYPE(FT_Set_Pixel_Sizes, (FT_Face face, FT_UInt width, FT_UInt height), (face, width, height))
FREETYPE(FT_Load_Glyph, (FT_Face face, FT_UInt glyph, FT_Int32 flags), (face, glyph, flags))
FREETYPE(FT_Render_Glyph, (FT_GlyphSlot slot, FT_Render_Mode mode), (slot, mode))
FREETYPE(FT_Get_Glyph, (FT_GlyphSlot slot, FT_Glyph *glyph), (slot, glyph))
FREETYPE(FT_Bitmap_Convert,
         (FT_Library library, const FT_Bitmap *from, FT_Bitmap *to, FT_Int alignment),
         (library, from, to, alignment))
FREETYPE(FT_Outline_Embolden, (FT_Outline * outline, FT_Pos strength), (outline, strength))

FT_UInt FT_Get_Char_Index(FT_Face face, FT_ULong code)
{
    static const auto real = next<FT_UInt (*)(FT_Face, FT_ULong)>("FT_Get_Char_Index");
    return fails(FreeType, "FT_Get_Char_Index", CALLER) ? 0 : real(face, code);
}
}

// What libzk and its templates make with new.
void *operator new(std::size_t bytes)
{
    if (fails(Memory, "new", CALLER)) {
        throw std::bad_alloc();
    }
    if (void *block = __libc_malloc(bytes > 0 ? bytes : 1)) {
        return took(block, CALLER);
    }
    throw std::bad_alloc();
}
void operator delete(void *block) noexcept
{
    free(block);
}
void operator delete(void *block, std::size_t) noexcept
{
    free(block);
}
