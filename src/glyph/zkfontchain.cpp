#include "zkfontchain.h"

#include "glyph/zktypefacepages.h"
#include "zkcharacter.h"

#include <cstdlib>
#include <new>
#include <pthread.h>

/// The typefaces of a list stand behind it.
struct ZkFontListData {
    ZkRefCount ref;
    std::uint32_t serial;
    int count;
    pthread_mutex_t lock; ///< for entering pages
    /// 0: not asked yet; `kNone`; else a typeface, from 1 on.
    ZkCharacterPages<std::uint8_t> pages;

    static constexpr std::uint8_t kNone = 255;

    ZkTypeface *faces() { return reinterpret_cast<ZkTypeface *>(this + 1); }

    static ZkFontListData *create(int count);
    void release();
    void remember(char32_t character, int face);
};
static_assert(alignof(ZkFontListData) >= alignof(ZkTypeface), "typefaces stand behind a list");
static_assert(ZkFontChain::kMostFaces < ZkFontListData::kNone, "a cell names any typeface");

struct ZkFontChainData {
    ZkRefCount ref;
    pthread_mutex_t lock; ///< guards `list`
    ZkFontListData *list; ///< null for none
    std::uint32_t serial; ///< of the list; read without the lock
};

namespace
{

std::uint32_t lastSerial = 0;

// A handle that is not valid is a null pointer.
alignas(ZkTypeface) constexpr unsigned char kNoTypeface[sizeof(ZkTypeface)] = {};

// Characters that are not seen, which need not be in the font.
constexpr struct {
    char32_t first, last;
} kUnseen[] = {{0x0000, 0x001F},   {0x007F, 0x009F},   {0x00AD, 0x00AD},  {0x034F, 0x034F},
               {0x061C, 0x061C},   {0x115F, 0x1160},   {0x17B4, 0x17B5},  {0x180B, 0x180F},
               {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},  {0x3164, 0x3164},
               {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},  {0xFFF0, 0xFFF8},
               {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}};

bool isUnseen(char32_t c)
{
    if (c > 0x9F && c < 0x034F) {
        return c == 0xAD;
    }
    for (const auto &range : kUnseen) {
        if (c <= range.last) {
            return c >= range.first;
        }
    }
    return false;
}

// Spaces, punctuation and marks: what belongs to the run around it.
bool staysWithRun(char32_t c)
{
    const unsigned category = zkCharacter(c).category;
    return (category >= ZkCharacter::CategoryMn && category <= ZkCharacter::CategoryMe) ||
           (category >= ZkCharacter::CategoryPc && category <= ZkCharacter::CategoryPo) ||
           category == ZkCharacter::CategoryZs;
}

bool hasAll(const ZkTypeface &face, const char32_t *characters, int n)
{
    for (int i = 0; i < n; ++i) {
        if (!face.hasGlyph(characters[i]) && !isUnseen(characters[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

ZkFontListData *ZkFontListData::create(int count)
{
    void *const memory = std::calloc(1, sizeof(ZkFontListData) +
                                            static_cast<std::size_t>(count) * sizeof(ZkTypeface));
    if (memory == nullptr) {
        return nullptr;
    }
    auto *const list = new (memory) ZkFontListData();
    list->ref = 1;
    list->count = count;
    pthread_mutex_init(&list->lock, nullptr);
    for (int i = 0; i < count; ++i) {
        new (list->faces() + i) ZkTypeface();
    }
    list->serial = __atomic_add_fetch(&lastSerial, 1, __ATOMIC_RELAXED);
    return list;
}

void ZkFontListData::release()
{
    if (ref.deref()) {
        return;
    }
    for (int i = 0; i < count; ++i) {
        faces()[i].~ZkTypeface();
    }
    pages.release(nullptr);
    pthread_mutex_destroy(&lock);
    std::free(this);
}

// Without memory nothing is remembered, and the next question asks again.
void ZkFontListData::remember(char32_t character, int face)
{
    const std::uint8_t *page = pages.page(character);
    if (page == nullptr) { // no test can tell: else the next question asks again
        pthread_mutex_lock(&lock);
        page = pages.page(character);
        if (page == nullptr) { // no test can tell: else the next question asks again
            void *const made = std::calloc(1, decltype(pages)::kCells);
            if (made != nullptr && pages.enter(character, static_cast<std::uint8_t *>(made))) {
                page = static_cast<std::uint8_t *>(made); // no test can tell: as above
            } else {
                std::free(made);
            }
        }
        pthread_mutex_unlock(&lock);
    }
    if (page != nullptr) {
        const std::uint8_t cell = face < 0 ? kNone : static_cast<std::uint8_t>(face + 1);
        __atomic_store_n(const_cast<std::uint8_t *>(&page[character & 0xFF]), cell,
                         __ATOMIC_RELAXED);
    }
}

ZkFontList::ZkFontList(const ZkFontList &other) noexcept : d(other.d)
{
    if (d != nullptr) {
        d->ref.ref();
    }
}

ZkFontList::~ZkFontList()
{
    if (d != nullptr) {
        d->release();
    }
}

ZkFontList &ZkFontList::operator=(const ZkFontList &other) noexcept
{
    ZkFontListData *const before = d;
    d = other.d;
    if (d != nullptr) {
        d->ref.ref();
    }
    if (before != nullptr) {
        before->release();
    }
    return *this;
}

int ZkFontList::size() const
{
    return d == nullptr ? 0 : d->count;
}

const ZkTypeface &ZkFontList::at(int index) const
{
    return index < 0 || index >= size() ? *reinterpret_cast<const ZkTypeface *>(kNoTypeface)
                                        : d->faces()[index];
}

std::uint32_t ZkFontList::serial() const
{
    return d == nullptr ? 0 : d->serial;
}

int ZkFontList::find(char32_t character) const
{
    if (d == nullptr || character > 0x10FFFF) {
        return -1;
    }
    if (const std::uint8_t *const page = d->pages.page(character)) {
        const std::uint8_t cell = __atomic_load_n(&page[character & 0xFF], __ATOMIC_RELAXED);
        if (cell != 0) {
            return cell == ZkFontListData::kNone ? -1 : cell - 1;
        }
    }
    int found = 0;
    while (found < d->count && !d->faces()[found].hasGlyph(character)) {
        ++found;
    }
    found = found < d->count ? found : -1;
    d->remember(character, found);
    return found;
}

int ZkFontList::findCluster(const char32_t *characters, int n, int previous) const
{
    if (d == nullptr || d->count == 0) {
        return -1;
    }
    const bool hasRun = previous >= 0 && previous < d->count;
    int seen = 0;
    while (seen < n && isUnseen(characters[seen])) {
        ++seen;
    }
    if (seen >= n) {
        return hasRun ? previous : 0;
    }
    if (hasRun && staysWithRun(characters[0]) && hasAll(d->faces()[previous], characters, n)) {
        return previous;
    }
    // The first that has the base; only a face from there on can have all.
    const int base = find(characters[seen]);
    if (n - seen > 1) { // no test can tell: the face that has the base is the one
        for (int i = base < 0 ? d->count : base; i < d->count; ++i) {
            if (hasAll(d->faces()[i], characters, n)) {
                return i;
            }
        }
    }
    return base < 0 ? 0 : base;
}

ZkFontChain::ZkFontChain() noexcept
{
    if (void *const memory = std::calloc(1, sizeof(ZkFontChainData))) {
        d = new (memory) ZkFontChainData();
        d->ref = 1;
        pthread_mutex_init(&d->lock, nullptr);
    }
}

ZkFontChain::ZkFontChain(const ZkTypeface &face) : ZkFontChain()
{
    append(face);
}

ZkFontChain::ZkFontChain(const ZkFontChain &other) noexcept : d(other.d)
{
    if (d != nullptr) {
        d->ref.ref();
    }
}

ZkFontChain::~ZkFontChain()
{
    if (d == nullptr || d->ref.deref()) {
        return;
    }
    if (d->list != nullptr) {
        d->list->release();
    }
    pthread_mutex_destroy(&d->lock);
    std::free(d);
}

ZkFontChain &ZkFontChain::operator=(const ZkFontChain &other) noexcept
{
    ZkFontChain copy(other);
    ZkFontChainData *const before = d;
    d = copy.d;
    copy.d = before;
    return *this;
}

ZkFontList ZkFontChain::faces() const
{
    if (d == nullptr) {
        return ZkFontList(nullptr);
    }
    const bool isLocked = !ZK_SINGLE_THREADED(); // nobody starts a thread in here
    if (isLocked) {
        pthread_mutex_lock(&d->lock);
    }
    ZkFontListData *const list = d->list;
    if (list != nullptr) {
        list->ref.ref();
    }
    if (isLocked) {
        pthread_mutex_unlock(&d->lock);
    }
    return ZkFontList(list);
}

std::uint32_t ZkFontChain::serial() const
{
    return d == nullptr ? 0 : __atomic_load_n(&d->serial, __ATOMIC_ACQUIRE);
}

// Replaces `removed` typefaces at `at` by `added`, which may be null. The old list lives
// as long as somebody has it; it is let go outside the lock, for typefaces may close then.
bool ZkFontChain::change(int at, int removed, const ZkTypeface *added)
{
    if (d == nullptr) {
        return false;
    }
    pthread_mutex_lock(&d->lock);
    ZkFontListData *const before = d->list;
    const int count = before == nullptr ? 0 : before->count;
    at = at < 0 ? count : at;
    const int now = count - removed + (added != nullptr ? 1 : 0);
    const bool isInside = at <= count && removed <= count - at && now <= kMostFaces;
    ZkFontListData *const after = isInside ? ZkFontListData::create(now) : nullptr;
    if (after != nullptr) {
        int next = 0;
        for (int i = 0; i <= count; ++i) {
            if (i == at && added != nullptr) {
                after->faces()[next++] = *added;
            }
            if (i < count && (i < at || i >= at + removed)) {
                after->faces()[next++] = before->faces()[i];
            }
        }
        d->list = after;
        __atomic_store_n(&d->serial, after->serial, __ATOMIC_RELEASE);
    }
    pthread_mutex_unlock(&d->lock);
    if (after != nullptr && before != nullptr) {
        before->release();
    }
    return after != nullptr;
}

bool ZkFontChain::insert(int index, const ZkTypeface &face)
{
    return index >= -1 && change(index, 0, &face);
}

bool ZkFontChain::replace(int index, const ZkTypeface &face)
{
    return index >= 0 && change(index, 1, &face);
}

bool ZkFontChain::remove(int index)
{
    return index >= 0 && change(index, 1, nullptr);
}

bool ZkFontChain::clear()
{
    // Another thread may append meanwhile: what is there at that moment goes.
    int count = size();
    while (count > 0 && !change(0, count, nullptr)) {
        const int now = size();
        if (now >= count) {
            return false;
        }
        count = now; // unreachable: but between threads
    }
    return true;
}
