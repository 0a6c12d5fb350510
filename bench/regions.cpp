// Region algebra beside pixman's regions: the same sets of rectangles, time per
// rectangle of the result (per inserted rectangle, per asked pixel). Every
// operation makes a new region and drops it.

#include <zkregion.h>

#include <benchmark/benchmark.h>
#include <pixman.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

typedef std::vector<ZkRect> Rects;

class PixmanRegion
{
public:
    PixmanRegion() { pixman_region32_init(&m_region); }
    ~PixmanRegion() { pixman_region32_fini(&m_region); }
    PixmanRegion(const PixmanRegion &) = delete;
    PixmanRegion &operator=(const PixmanRegion &) = delete;

    void add(const ZkRect &r)
    {
        pixman_region32_union_rect(&m_region, &m_region, r.x(), r.y(),
                                   static_cast<unsigned>(r.width()),
                                   static_cast<unsigned>(r.height()));
    }
    pixman_region32_t *get() { return &m_region; }

    bool hasSameRects(const ZkRegion &region)
    {
        int count;
        const pixman_box32_t *boxes = pixman_region32_rectangles(&m_region, &count);
        const ZkVector<ZkRect> rects = region.rects();
        if (count != rects.size()) {
            return false;
        }
        for (int i = 0; i < count; ++i) {
            const ZkRect box(boxes[i].x1, boxes[i].y1, boxes[i].x2 - 1, boxes[i].y2 - 1);
            if (box != rects.at(i)) {
                return false;
            }
        }
        return true;
    }

private:
    pixman_region32_t m_region;
};

// Cells of 16 by 16 in rows and columns, 8 apart.
Rects grid(int count, int shift)
{
    const int columns = static_cast<int>(std::ceil(std::sqrt(count)));
    Rects rects;
    for (int i = 0; i < count; ++i) {
        const int x = i % columns * 24 + shift;
        const int y = i / columns * 24 + shift;
        rects.push_back(ZkRect(x, y, x + 15, y + 15));
    }
    return rects;
}

// Rectangles anywhere on a square that grows with their number.
Rects scattered(int count, int room, int smallest, int largest, unsigned seed)
{
    std::mt19937 random(seed);
    const int field = static_cast<int>(std::sqrt(count) * room);
    std::uniform_int_distribution<int> at(0, field), extent(smallest, largest);
    Rects rects;
    for (int i = 0; i < count; ++i) {
        const int x = at(random), y = at(random);
        rects.push_back(ZkRect(x, y, x + extent(random), y + extent(random)));
    }
    return rects;
}

Rects rectsOf(const std::string &kind, int count, int which)
{
    if (kind == "grid") {
        return grid(count, which * 12);
    }
    const unsigned seed = static_cast<unsigned>(count * 2 + which);
    return kind == "overlap" ? scattered(count, 20, 10, 50, seed)
                             : scattered(count, 100, 1, 10, seed);
}

// Two operands, in both libraries.
struct Pair {
    Rects rects[2];
    ZkRegion zk[2];
    PixmanRegion pixman[2];
};

Pair &pairOf(const std::string &kind, int count)
{
    static std::map<std::pair<std::string, int>, std::unique_ptr<Pair>> pairs;
    std::unique_ptr<Pair> &pair = pairs[{kind, count}];
    if (pair == nullptr) {
        pair = std::make_unique<Pair>();
        for (int which = 0; which < 2; ++which) {
            pair->rects[which] = rectsOf(kind, count, which);
            for (const ZkRect &r : pair->rects[which]) {
                pair->zk[which] |= r;
                pair->pixman[which].add(r);
            }
        }
    }
    return *pair;
}

typedef ZkRegion (ZkRegion::*ZkOperation)(const ZkRegion &) const;
typedef pixman_bool_t (*PixmanOperation)(pixman_region32_t *, const pixman_region32_t *,
                                         const pixman_region32_t *);

void mustAgree(benchmark::State &state, const ZkRegion &ours, PixmanRegion &theirs)
{
    if (!theirs.hasSameRects(ours)) {
        state.SkipWithError("the two libraries disagree");
    }
}

void zkOperation(benchmark::State &state, const std::string &kind, int count, ZkOperation ours,
                 PixmanOperation theirs)
{
    Pair &pair = pairOf(kind, count);
    int rects = 0;
    for (auto _ : state) {
        const ZkRegion result = (pair.zk[0].*ours)(pair.zk[1]);
        rects = result.rectCount();
        benchmark::DoNotOptimize(rects);
    }
    PixmanRegion expected;
    theirs(expected.get(), pair.pixman[0].get(), pair.pixman[1].get());
    mustAgree(state, (pair.zk[0].*ours)(pair.zk[1]), expected);
    state.SetItemsProcessed(state.iterations() * rects);
}

void pixmanOperation(benchmark::State &state, const std::string &kind, int count,
                     PixmanOperation theirs)
{
    Pair &pair = pairOf(kind, count);
    int rects = 0;
    for (auto _ : state) {
        PixmanRegion result;
        theirs(result.get(), pair.pixman[0].get(), pair.pixman[1].get());
        rects = pixman_region32_n_rects(result.get());
        benchmark::DoNotOptimize(rects);
    }
    state.SetItemsProcessed(state.iterations() * rects);
}

void zkOneByOne(benchmark::State &state, const std::string &kind, int count)
{
    const Rects &rects = pairOf(kind, count).rects[0];
    for (auto _ : state) {
        ZkRegion region;
        for (const ZkRect &r : rects) {
            region |= r;
        }
        benchmark::DoNotOptimize(region);
    }
    mustAgree(state, pairOf(kind, count).zk[0], pairOf(kind, count).pixman[0]);
    state.SetItemsProcessed(state.iterations() * count);
}

void pixmanOneByOne(benchmark::State &state, const std::string &kind, int count)
{
    const Rects &rects = pairOf(kind, count).rects[0];
    for (auto _ : state) {
        PixmanRegion region;
        for (const ZkRect &r : rects) {
            region.add(r);
        }
        benchmark::DoNotOptimize(region);
    }
    state.SetItemsProcessed(state.iterations() * count);
}

std::vector<ZkPoint> pixelsIn(const ZkRegion &region)
{
    std::mt19937 random(99);
    const ZkRect bounds = region.boundingRect();
    std::uniform_int_distribution<int> x(bounds.left(), bounds.right());
    std::uniform_int_distribution<int> y(bounds.top(), bounds.bottom());
    std::vector<ZkPoint> pixels;
    for (int i = 0; i < 4096; ++i) {
        pixels.push_back(ZkPoint(x(random), y(random)));
    }
    return pixels;
}

int pixmanHits(Pair &pair, const std::vector<ZkPoint> &pixels)
{
    int hits = 0;
    for (const ZkPoint &p : pixels) {
        hits += pixman_region32_contains_point(pair.pixman[0].get(), p.x(), p.y(), nullptr);
    }
    return hits;
}

void zkContains(benchmark::State &state, const std::string &kind, int count)
{
    Pair &pair = pairOf(kind, count);
    const std::vector<ZkPoint> pixels = pixelsIn(pair.zk[0]);
    int hits = 0;
    for (auto _ : state) {
        hits = 0;
        for (const ZkPoint &p : pixels) {
            hits += pair.zk[0].contains(p);
        }
        benchmark::DoNotOptimize(hits);
    }
    if (hits != pixmanHits(pair, pixels)) {
        state.SkipWithError("the two libraries disagree");
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int>(pixels.size()));
}

void pixmanContains(benchmark::State &state, const std::string &kind, int count)
{
    Pair &pair = pairOf(kind, count);
    const std::vector<ZkPoint> pixels = pixelsIn(pair.zk[0]);
    for (auto _ : state) {
        benchmark::DoNotOptimize(pixmanHits(pair, pixels));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int>(pixels.size()));
}

void add(const std::string &name, const std::function<void(benchmark::State &)> &body)
{
    benchmark::RegisterBenchmark(name.c_str(), body);
}

void addCases(const std::string &kind, int count)
{
    const struct {
        const char *name;
        ZkOperation ours;
        PixmanOperation theirs;
    } kOperations[] = {
        {"union", &ZkRegion::unite, pixman_region32_union},
        {"intersection", &ZkRegion::intersect, pixman_region32_intersect},
        {"difference", &ZkRegion::subtract, pixman_region32_subtract},
    };
    const std::string set = kind + "_" + std::to_string(count);
    for (const auto &operation : kOperations) {
        const ZkOperation ours = operation.ours;
        const PixmanOperation theirs = operation.theirs;
        const std::string name = std::string(operation.name) + "/" + set;
        add(name + "/zk",
            [=](benchmark::State &state) { zkOperation(state, kind, count, ours, theirs); });
        add(name + "/pixman",
            [=](benchmark::State &state) { pixmanOperation(state, kind, count, theirs); });
    }
    add("one_by_one/" + set + "/zk",
        [=](benchmark::State &state) { zkOneByOne(state, kind, count); });
    add("one_by_one/" + set + "/pixman",
        [=](benchmark::State &state) { pixmanOneByOne(state, kind, count); });
    add("contains/" + set + "/zk",
        [=](benchmark::State &state) { zkContains(state, kind, count); });
    add("contains/" + set + "/pixman",
        [=](benchmark::State &state) { pixmanContains(state, kind, count); });
}

} // namespace

int main(int argc, char **argv)
{
    for (const char *kind : {"grid", "overlap", "sparse"}) {
        for (const int count : {10, 1000, 10000}) {
            addCases(kind, count);
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
}
