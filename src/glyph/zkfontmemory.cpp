#include "glyph/zkfontmemory.h"

#include "zktypeface.h"

#include FT_MODULE_H

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <pthread.h>

namespace
{

// In the thread's static block, so that it is read without a call.
thread_local ZkFontMemory *account __attribute__((tls_model("initial-exec"))) = nullptr;

// Before each of FreeType's blocks stands its size, in room that keeps the alignment.
constexpr std::size_t kHeader = alignof(std::max_align_t);
static_assert(kHeader >= sizeof(std::size_t), "the size fits before the block");

std::size_t &sizeOf(void *base)
{
    return *static_cast<std::size_t *>(base);
}

void *baseOf(void *block)
{
    return static_cast<char *>(block) - kHeader;
}

std::int64_t processorTime()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

void charge(std::size_t more, std::size_t less)
{
    if (account != nullptr) {
        // A block of the library itself may be let go under another account.
        const std::size_t before = account->bytes + more;
        account->bytes = before > less ? before - less : 0;
    }
}

void *allocate(FT_Memory, long size)
{
    const std::size_t bytes = size < 0 ? 0 : static_cast<std::size_t>(size);
    if (account != nullptr && !account->admits(bytes)) {
        return nullptr;
    }
    void *base = std::malloc(kHeader + bytes);
    if (base == nullptr) {
        if (account != nullptr) {
            account->isStarved = true;
        }
        return nullptr;
    }
    sizeOf(base) = bytes;
    charge(bytes + kHeader, 0);
    return static_cast<char *>(base) + kHeader;
}

void release(FT_Memory, void *block)
{
    if (block != nullptr) {
        void *base = baseOf(block);
        charge(0, sizeOf(base) + kHeader);
        std::free(base);
    }
}

void *resize(FT_Memory memory, long, long wanted, void *block)
{
    if (block == nullptr) {
        return allocate(memory, wanted); // unreachable: FreeType asks for a new block by `allocate`
    }
    void *base = baseOf(block);
    const std::size_t had = sizeOf(base);
    const std::size_t bytes = wanted < 0 ? 0 : static_cast<std::size_t>(wanted);
    if (account != nullptr && !account->admits(bytes > had ? bytes - had : 0)) {
        return nullptr;
    }
    void *moved = std::realloc(base, kHeader + bytes);
    if (moved == nullptr) {
        if (account != nullptr) {
            account->isStarved = true;
        }
        return nullptr;
    }
    sizeOf(moved) = bytes;
    charge(bytes, had);
    return static_cast<char *>(moved) + kHeader;
}

FT_MemoryRec_ memoryOfLibrary = {nullptr, allocate, release, resize};

pthread_mutex_t libraryLock = PTHREAD_MUTEX_INITIALIZER; // guards the two below
FT_Library theLibrary = nullptr;
int openFaces = 0;

// Under the lock. What the library itself takes is no typeface's. One of which memory kept
// a module away would not know all formats as long as it lives: there is none then.
FT_Error makeLibrary()
{
    if (theLibrary != nullptr) {
        return 0;
    }
    ZkFontMemory own;
    own.limit = ZkTypeface::kMostMemory;
    const ZkFontMemoryScope scope(&own);
    FT_Error error = FT_New_Library(&memoryOfLibrary, &theLibrary);
    if (error == 0) {
        FT_Add_Default_Modules(theLibrary);
        FT_Set_Default_Properties(theLibrary);
        error = own.isStarved ? FT_Err_Out_Of_Memory : 0;
    }
    if (error != 0 && theLibrary != nullptr) {
        FT_Done_Library(theLibrary);
        theLibrary = nullptr;
    }
    return error;
}

// Under the lock.
void dropUnusedLibrary()
{
    if (openFaces == 0 && theLibrary != nullptr) {
        const ZkFontMemoryScope nobody(nullptr);
        FT_Done_Library(theLibrary);
        theLibrary = nullptr;
    }
}

FT_Error openOf(const void *bytes, std::size_t size, FT_Long index, FT_Face *face)
{
    FT_Open_Args args = {};
    args.flags = FT_OPEN_MEMORY;
    args.memory_base = static_cast<const FT_Byte *>(bytes);
    args.memory_size = static_cast<FT_Long>(size);
    return FT_Open_Face(theLibrary, &args, index, face);
}

} // namespace

bool ZkFontMemory::admits(std::size_t size)
{
    ++calls;
    if (size > limit || bytes > limit - size) {
        isRefused = true;
    } else if (isTimed && calls >= kFreeCalls && calls % 16 == 0) {
        const std::int64_t now = processorTime();
        if (startedAt == 0) {
            startedAt = now;
        }
        isRefused = isRefused || now - startedAt > kMostNanoseconds;
    }
    return !isRefused;
}

ZkFontMemoryScope::ZkFontMemoryScope(ZkFontMemory *wanted, bool isTimed) : m_before(account)
{
    account = wanted;
    if (wanted != nullptr) {
        wanted->calls = 0;
        wanted->startedAt = 0;
        wanted->isTimed = isTimed;
        wanted->isRefused = wanted->isStarved = false;
    }
}

ZkFontMemoryScope::~ZkFontMemoryScope()
{
    account = m_before;
}

FT_Error ZkFontLibrary::openFace(const void *bytes, std::size_t size, FT_Long index, FT_Face *face,
                                 FT_Library *library)
{
    pthread_mutex_lock(&libraryLock);
    *face = nullptr;
    FT_Error error = makeLibrary();
    if (error == 0) {
        error = openOf(bytes, size, index, face);
    }
    if (error == 0) {
        ++openFaces;
        *library = theLibrary;
    } else {
        *face = nullptr;
        dropUnusedLibrary();
    }
    pthread_mutex_unlock(&libraryLock);
    return error;
}

int ZkFontLibrary::countFaces(const void *bytes, std::size_t size)
{
    pthread_mutex_lock(&libraryLock);
    FT_Face face = nullptr;
    int count = 0;
    if (makeLibrary() == 0 && openOf(bytes, size, -1, &face) == 0) {
        count = static_cast<int>(face->num_faces);
        FT_Done_Face(face);
    }
    dropUnusedLibrary();
    pthread_mutex_unlock(&libraryLock);
    return count;
}

void ZkFontLibrary::closeFace(FT_Face face)
{
    pthread_mutex_lock(&libraryLock);
    FT_Done_Face(face);
    --openFaces;
    dropUnusedLibrary();
    pthread_mutex_unlock(&libraryLock);
}

int ZkFontLibrary::version()
{
    pthread_mutex_lock(&libraryLock);
    FT_Int major = 0, minor = 0, patch = 0;
    if (makeLibrary() == 0) {
        FT_Library_Version(theLibrary, &major, &minor, &patch);
    }
    dropUnusedLibrary();
    pthread_mutex_unlock(&libraryLock);
    return major * 10000 + minor * 100 + patch;
}
