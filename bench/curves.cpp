// Lengths of curves, the way along them and curves beside them. The peer integrates
// the speed in double precision by Gauss and Legendre, halving as often as the same
// accuracy asks for. Every case runs over the same random curves, and a time is that
// of one of them; what the two find is compared before anything is measured.

#include <zkbezier.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int kCount = 256;
constexpr double kExact = 1e-9;

typedef std::vector<ZkBezier> Curves;

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "bench_curves: %s differs\n", what);
    std::exit(1);
}

// ---- The peer ----

double speedAt(const ZkBezier &c, double t)
{
    const double s = 1 - t;
    const double a = s * s, b = 2 * s * t, d = t * t;
    const double dx = a * (double(c.x2) - double(c.x1)) + b * (double(c.x3) - double(c.x2)) +
                      d * (double(c.x4) - double(c.x3));
    const double dy = a * (double(c.y2) - double(c.y1)) + b * (double(c.y3) - double(c.y2)) +
                      d * (double(c.y4) - double(c.y3));
    return 3 * std::sqrt(dx * dx + dy * dy);
}

double gauss(const ZkBezier &c, double t0, double t1)
{
    constexpr double kNodes[] = {0.5384693101056831, 0.9061798459386640};
    constexpr double kWeights[] = {0.5688888888888889, 0.4786286704993665, 0.2369268850561891};
    const double middle = (t0 + t1) / 2, half = (t1 - t0) / 2;
    double sum = kWeights[0] * speedAt(c, middle);
    for (int i = 0; i < 2; ++i) {
        const double step = half * kNodes[i];
        sum += kWeights[i + 1] * (speedAt(c, middle - step) + speedAt(c, middle + step));
    }
    return sum * half;
}

double refined(const ZkBezier &c, double t0, double t1, double whole, double error, int depth)
{
    const double middle = (t0 + t1) / 2;
    const double first = gauss(c, t0, middle), second = gauss(c, middle, t1);
    if (depth == 0 || std::fabs(first + second - whole) <= error) {
        return first + second;
    }
    return refined(c, t0, middle, first, error / 2, depth - 1) +
           refined(c, middle, t1, second, error / 2, depth - 1);
}

double gaussLength(const ZkBezier &c, double t0, double t1, double error)
{
    return refined(c, t0, t1, gauss(c, t0, t1), error, 30);
}

// Newton's steps between two bounds, each integrating only what it moved by.
double gaussParameter(const ZkBezier &c, double length, double error)
{
    const double whole = gaussLength(c, 0, 1, error / 4);
    if (whole <= length) {
        return 1;
    }
    double low = 0, high = 1;
    double t = length / whole;
    double at = gaussLength(c, 0, t, error / 4);
    for (int round = 0; round < 60 && std::fabs(at - length) >= error; ++round) {
        (at < length ? low : high) = t;
        double next = t + (length - at) / speedAt(c, t);
        if (!(next > low && next < high)) {
            next = (low + high) / 2;
        }
        at += gaussLength(c, t, next, error / 4);
        t = next;
    }
    return t;
}

// ---- The curves ----

Curves scattered(float size)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> at(0, size);
    Curves curves(kCount);
    for (ZkBezier &c : curves) {
        for (float *value : {&c.x1, &c.y1, &c.x2, &c.y2, &c.x3, &c.y3, &c.x4, &c.y4}) {
            *value = at(random);
        }
    }
    return curves;
}

// Quarters of circles, the most common curves of all.
Curves quarters(float radius)
{
    Curves curves(kCount);
    for (int i = 0; i < kCount; ++i) {
        const float r = radius * static_cast<float>(i + 1) / kCount, arm = r * 0.5522848F;
        curves[static_cast<std::size_t>(i)] = {r, 0, r, arm, arm, r, 0, r};
    }
    return curves;
}

// Two halves that run against each other: the speed falls to 0 at a sharp point.
Curves cusps(float size)
{
    Curves curves(kCount);
    for (int i = 0; i < kCount; ++i) {
        const float w = size * static_cast<float>(i + 1) / kCount;
        curves[static_cast<std::size_t>(i)] = {0, 0, w, w, 0, w, w, 0};
    }
    return curves;
}

/// How far a way of measuring is off at most.
double worstOf(const Curves &curves, const std::function<double(const ZkBezier &)> &measure)
{
    double worst = 0;
    for (const ZkBezier &c : curves) {
        worst = std::max(worst, std::fabs(measure(c) - gaussLength(c, 0, 1, kExact)));
    }
    return worst;
}

/// The largest error the peer may be asked for that leaves it as exact as the library.
double fairError(const Curves &curves, float error)
{
    const double ours = worstOf(curves, [=](const ZkBezier &c) { return double(c.length(error)); });
    double fair = 16 * ours;
    while (worstOf(curves, [=](const ZkBezier &c) { return gaussLength(c, 0, 1, fair); }) > ours) {
        fair /= 2;
    }
    return fair;
}

float wantedLength(const ZkBezier &c)
{
    return 0.5F * (c.bounds().width() + c.bounds().height());
}

void compare(const Curves &curves)
{
    const double ours = worstOf(curves, [](const ZkBezier &c) { return double(c.length(0.01F)); });
    for (const ZkBezier &c : curves) {
        const double exact = gaussLength(c, 0, 1, kExact);
        if (std::fabs(double(c.length(0.01F)) - exact) > 0.01 * exact + 0.02) {
            fail("length");
        }
        const double wanted = std::min(exact, double(wantedLength(c)));
        for (const double t :
             {double(c.tAtLength(wantedLength(c))), gaussParameter(c, wanted, 0.01)}) {
            if (std::fabs(gaussLength(c, 0, t, kExact) - wanted) > ours + 0.02) {
                fail("parameter at a length");
            }
        }
    }
}

// ---- The cases ----

template <typename Body>
void add(const std::string &name, const Curves &curves, Body body)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for (auto _ : state) {
            for (const ZkBezier &c : curves) {
                benchmark::DoNotOptimize(body(c));
            }
        }
        state.SetItemsProcessed(state.iterations() * kCount);
    });
}

void addLengths(const std::string &name, const Curves &curves, float error)
{
    const double fair = fairError(curves, error);
    add(name + "/zk", curves, [=](const ZkBezier &c) { return c.length(error); });
    add(name + "/gauss", curves, [=](const ZkBezier &c) { return gaussLength(c, 0, 1, fair); });
}

void addCases(const std::string &kind, const Curves &curves)
{
    compare(curves);
    addLengths("length_0.01/" + kind, curves, 0.01F);
    addLengths("length_0.0001/" + kind, curves, 0.0001F);
    add("t_at_length/" + kind + "/zk", curves,
        [](const ZkBezier &c) { return c.tAtLength(wantedLength(c)); });
    add("t_at_length/" + kind + "/gauss", curves,
        [](const ZkBezier &c) { return gaussParameter(c, double(wantedLength(c)), 0.01); });
    add("offset/" + kind + "/zk", curves, [](const ZkBezier &c) {
        ZkBezier segments[256];
        const int count = c.shifted(segments, 256, 10, 0.1F);
        benchmark::DoNotOptimize(segments);
        return count;
    });
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    addCases("small", scattered(20));
    addCases("screen", scattered(400));
    addCases("large", scattered(4000));
    addCases("quarters", quarters(400));
    addCases("cusps", cusps(400));
    benchmark::RunSpecifiedBenchmarks();
}
