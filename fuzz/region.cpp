// Regions made and combined by a list of operations, beside the pixels they must
// have. An input is a row of records of six bytes: the operation, which region it
// changes and with which two, and a rectangle on the board.

#include "regionmodel.h"

#include <climits>
#include <cstdio>
#include <cstdlib>

using namespace regionmodel;

namespace
{

constexpr int kSlots = 4;

struct Record {
    std::uint8_t operation, slots, x, y, width, height;
};

struct Slot {
    ZkRegion region;
    Board pixels;
    int looseness = Merged;
};

[[noreturn]] void fail(const char *what, const Record &r)
{
    std::fprintf(stderr, "%s: operation %d, slots %02x, (%d, %d) %d x %d\n", what, r.operation,
                 r.slots, r.x, r.y, r.width, r.height);
    std::abort();
}

void require(bool holds, const char *what, const Record &r)
{
    if (!holds) {
        fail(what, r);
    }
}

ZkRect rectOf(const Record &r)
{
    const int x = kLow + r.x % 64;
    const int y = kLow + r.y % 64;
    return ZkRect(x, y, std::min(kHigh, x + r.width % 64), std::min(kHigh, y + r.height % 64));
}

/// The pixels of a region, if they are on the board.
Board pixelsOf(const ZkRegion &region)
{
    return Board::of(rawList(region));
}

void unite(const Slot &a, const Slot &b, Slot *target)
{
    *target = {a.region | b.region, a.pixels.combined(b.pixels, Rows::unite),
               a.looseness | b.looseness | MayHaveOpenSeams};
}

// The list in place is the list of a new region.
void uniteInPlace(const Slot &b, const Record &r, Slot *target)
{
    const ZkRegion expected = target->region.unite(b.region);
    if (r.width & 64) {
        target->region.detach();
    }
    if (r.width & 128) {
        target->region.rects();
    }
    const ZkRegion before = r.height & 64 ? target->region : ZkRegion();
    const Board pixelsBefore = target->pixels;
    target->region |= b.region;
    require(rawList(target->region) == rawList(expected), "union in place", r);
    require(target->region.boundingRect() == expected.boundingRect(), "bounds in place", r);
    require(before.isEmpty() || pixelsOf(before) == pixelsBefore, "a copy changed", r);
    target->pixels = target->pixels.combined(b.pixels, Rows::unite);
    target->looseness |= b.looseness | MayHaveOpenSeams;
}

void clip(const Slot &a, const ZkRect &r, Slot *target)
{
    *target = {a.region & r, a.pixels.combined(Board::of({r}), Rows::common),
               a.looseness | MayHaveOpenSeams | MayHaveWideBounds};
}

void move(const Record &r, Slot *target)
{
    const ZkRect bounds = boundsOf(rawList(target->region));
    if (bounds.isNull()) {
        return;
    }
    const int dx = kLow - bounds.left() + r.x % (64 - bounds.width() + 1);
    const int dy = kLow - bounds.top() + r.y % (64 - bounds.height() + 1);
    Rects moved = rawList(target->region);
    for (ZkRect &rect : moved) {
        rect.translate(dx, dy);
    }
    target->region.translate(dx, dy);
    target->pixels = Board::of(moved);
}

// Takes the rectangles of one region for another, merged or not.
void setRects(const Slot &a, const Record &r, Slot *target)
{
    const Rects list = r.width & 1 ? a.pixels.canonicalList() : rawList(a.region);
    const int looseness = r.width & 1 ? int(Merged) : a.looseness & MayHaveOpenSeams;
    const Board pixels = a.pixels;
    target->region.setRects(list.data(), static_cast<int>(list.size()));
    target->pixels = pixels;
    target->looseness = looseness;
}

void ask(const Slot &a, const Slot &b, const Record &r)
{
    const Board none;
    require(a.region.intersects(b.region) == !(a.pixels.combined(b.pixels, Rows::common) == none),
            "regions that meet", r);
    const ZkRect rect = rectOf(r);
    const Board pixels = Board::of({rect});
    require(a.region.intersects(rect) == !(a.pixels.combined(pixels, Rows::common) == none),
            "a rectangle that meets", r);
    const bool isInside = pixels.combined(a.pixels, Rows::rest) == none;
    require(a.region.contains(rect) == isInside, "a rectangle inside", r);
    require(isInside || !zk_region_strictContains(a.region, rect), "strictly inside", r);
    if (!a.region.isEmpty()) {
        require(a.region.contains(ZkPoint(rect.left(), rect.top())) ==
                    a.pixels.has(rect.left(), rect.top()),
                "a pixel", r);
    }
    require(a.region == a.region.copy(), "a copy is equal", r);
    require(rawList(a.region) != rawList(b.region) || a.pixels == b.pixels, "equal lists", r);
}

void play(const Record &r, Slot *slots)
{
    Slot *const target = &slots[r.slots % kSlots];
    const Slot a = slots[r.slots / 4 % kSlots];
    const Slot b = slots[r.slots / 16 % kSlots];
    const ZkRect rect = rectOf(r);
    const Slot small = {ZkRegion(rect), Board::of({rect}), Merged};
    switch (r.operation % 12) {
    case 0: *target = small; break;
    case 1: *target = Slot(); break;
    case 2: uniteInPlace(small, r, target); break;
    case 3: uniteInPlace(b, r, target); break;
    case 4: unite(a, b, target); break;
    case 5:
        // An operand that covers comes back as it is, however loose.
        *target = {a.region & b.region, a.pixels.combined(b.pixels, Rows::common),
                   a.looseness | b.looseness};
        break;
    case 6:
        *target = {a.region - b.region, a.pixels.combined(b.pixels, Rows::rest), a.looseness};
        break;
    case 7:
        *target = {a.region ^ b.region, a.pixels.combined(b.pixels, Rows::either),
                   a.looseness | b.looseness | MayHaveOpenSeams};
        break;
    case 8: clip(a, rect, target); break;
    case 9: move(r, target); break;
    case 10: setRects(a, r, target); break;
    default: ask(a, b, r); break;
    }
    const std::string problem = problemOf(target->region, target->looseness);
    require(problem.empty(), problem.c_str(), r);
    require(pixelsOf(target->region) == target->pixels, "the pixels", r);
    if (!target->region.isEmpty()) {
        const std::string inner = innerProblem(target->region, target->pixels);
        require(inner.empty(), inner.c_str(), r);
    }
    require(pixelsOf(a.region) == a.pixels && pixelsOf(b.region) == b.pixels, "an operand changed",
            r);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Slot slots[kSlots];
    for (; size >= 6; data += 6, size -= 6) {
        play({data[0], data[1], data[2], data[3], data[4], data[5]}, slots);
    }
    return 0;
}
