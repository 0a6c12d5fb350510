// BMP files from their path to a fresh buffer of four bytes a pixel: our reader,
// a plain loop that reads a row and converts it, and two libraries. All give the
// same pixels (checked at the start), each allocates its result.

#include <zkbitmap.h>
#include <zkbmpdata.h>

#include <benchmark/benchmark.h>

#include <SDL.h>
#include <stb_image.h>
#include <stb_image_write.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

struct Free {
    void operator()(unsigned char *block) const { std::free(block); }
};
using Pixels = std::unique_ptr<unsigned char, Free>; // blue, green, red, alpha

void appendNumber(Bytes &bytes, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i) {
        bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
    }
}

std::size_t rowBytes(int size, int bits)
{
    return (static_cast<std::size_t>(size) * static_cast<std::size_t>(bits) + 31) / 32 * 4;
}

// A square picture of random pixels with a full table, if its depth has one.
Bytes picture(int size, int bits)
{
    const unsigned colours = bits <= 8 ? 1u << bits : 0;
    const std::size_t pixelBytes = rowBytes(size, bits) * static_cast<std::size_t>(size);
    const std::uint32_t offset = 54 + colours * 4;
    Bytes file = {'B', 'M'};
    appendNumber(file, offset + pixelBytes, 4);
    appendNumber(file, 0, 4);
    appendNumber(file, offset, 4);
    appendNumber(file, 40, 4);
    appendNumber(file, static_cast<unsigned>(size), 4);
    appendNumber(file, static_cast<unsigned>(size), 4);
    appendNumber(file, 1, 2);
    appendNumber(file, static_cast<unsigned>(bits), 2);
    appendNumber(file, 0, 4);
    appendNumber(file, pixelBytes, 4);
    appendNumber(file, 0, 8);
    appendNumber(file, colours, 4);
    appendNumber(file, colours, 4);
    std::mt19937 random(1);
    for (unsigned i = 0; i < colours; ++i) {
        appendNumber(file, random() % 0x1000000, 4);
    }
    while (file.size() < offset + pixelBytes) {
        file.push_back(static_cast<unsigned char>(random() | 1)); // no alpha of 0
    }
    return file;
}

// The pictures lie in a folder of their own while the program runs.
class Folder
{
public:
    Folder() : m_path(std::filesystem::temp_directory_path())
    {
        m_path /= "zk-bench-bmp-" + std::to_string(getpid());
        std::filesystem::create_directory(m_path);
    }
    ~Folder() { std::filesystem::remove_all(m_path); }

    std::string path(int size, int bits)
    {
        const std::filesystem::path file =
            m_path / (std::to_string(bits) + "_" + std::to_string(size) + ".bmp");
        if (!std::filesystem::exists(file)) {
            const Bytes bytes = picture(size, bits);
            std::FILE *out = std::fopen(file.c_str(), "wb");
            if (out == nullptr || std::fwrite(bytes.data(), bytes.size(), 1, out) != 1 ||
                std::fclose(out) != 0) {
                std::abort();
            }
        }
        return file.string();
    }
    std::string written() const { return (m_path / "written.bmp").string(); }

private:
    std::filesystem::path m_path;
};

Pixels freshPixels(int size)
{
    return Pixels(static_cast<unsigned char *>(
        std::malloc(static_cast<std::size_t>(size) * static_cast<std::size_t>(size) * 4)));
}

Pixels decodeZk(const char *path, int size)
{
    Pixels pixels = freshPixels(size);
    ZkBitmap(path).decode(pixels.get());
    return pixels;
}

// What one would write for the occasion, for a file known to be sound.
Pixels decodeLoop(const char *path, int size)
{
    Pixels pixels = freshPixels(size);
    std::FILE *file = std::fopen(path, "rb");
    unsigned char head[54];
    unsigned char table[1024];
    bool sound = std::fread(head, sizeof head, 1, file) == 1;
    const int bits = head[28];
    if (bits == 8) {
        sound = sound && std::fread(table, sizeof table, 1, file) == 1;
    }
    Bytes row(rowBytes(size, bits));
    for (int y = size - 1; y >= 0 && sound; --y) {
        sound = std::fread(row.data(), row.size(), 1, file) == 1;
        unsigned char *out =
            pixels.get() + static_cast<std::size_t>(y) * static_cast<std::size_t>(size) * 4;
        for (int x = 0; x < size; ++x, out += 4) {
            const unsigned char *from = bits == 8 ? table + row[static_cast<std::size_t>(x)] * 4
                                                  : row.data() + static_cast<std::size_t>(x) * 3;
            out[0] = from[0];
            out[1] = from[1];
            out[2] = from[2];
            out[3] = 255;
        }
    }
    std::fclose(file);
    return sound ? std::move(pixels) : nullptr;
}

// Red and blue are exchanged: its own order is left as it comes.
Pixels decodeStb(const char *path, int)
{
    int width, height, channels;
    return Pixels(stbi_load(path, &width, &height, &channels, 4));
}

struct FreeSurface {
    void operator()(SDL_Surface *surface) const { SDL_FreeSurface(surface); }
};
using Surface = std::unique_ptr<SDL_Surface, FreeSurface>;

Surface loadSdl(const char *path)
{
    const Surface loaded(SDL_LoadBMP(path));
    return Surface(SDL_ConvertSurfaceFormat(loaded.get(), SDL_PIXELFORMAT_ARGB8888, 0));
}

// The surface is the result: nothing is copied out of it.
Pixels decodeSdl(const char *path, int)
{
    const Surface surface = loadSdl(path);
    benchmark::DoNotOptimize(surface->pixels);
    return nullptr;
}

Bytes bytesOfSdl(const char *path, int size)
{
    const Surface surface = loadSdl(path);
    const unsigned char *pixels = static_cast<const unsigned char *>(surface->pixels);
    return Bytes(pixels, pixels + size * size * 4); // such rows have no padding
}

void requireSame(const char *who, const std::string &path, int size, Bytes got, bool redFirst)
{
    const Pixels expected = decodeZk(path.c_str(), size);
    for (std::size_t i = 0; redFirst && i < got.size(); i += 4) {
        std::swap(got[i], got[i + 2]);
    }
    if (std::memcmp(got.data(), expected.get(), got.size()) != 0) {
        std::fprintf(stderr, "%s: other pixels for %s\n", who, path.c_str());
        std::abort();
    }
}

void requireSamePixels(const std::string &path, int size)
{
    const std::size_t bytes = static_cast<std::size_t>(size) * static_cast<std::size_t>(size) * 4;
    const Pixels stb = decodeStb(path.c_str(), size);
    requireSame("stb_image", path, size, Bytes(stb.get(), stb.get() + bytes), true);
    requireSame("SDL", path, size, bytesOfSdl(path.c_str(), size), false);
}

using Decoder = Pixels (*)(const char *, int);

void add(const std::string &name, const std::string &path, int size, Decoder decode)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        for (auto _ : state) {
            const Pixels pixels = decode(path.c_str(), size);
            benchmark::DoNotOptimize(pixels.get());
        }
        const std::int64_t pixels = std::int64_t(size) * size;
        state.SetBytesProcessed(state.iterations() * pixels * 4);
    });
}

void addDecoders(Folder &folder)
{
    for (int bits : {1, 4, 8, 16, 24, 32}) {
        for (int size : {16, 256, 1024}) {
            const std::string path = folder.path(size, bits);
            const std::string name =
                "decode" + std::to_string(bits) + "_" + std::to_string(size) + "/";
            if (bits != 16) { // their five bits are scaled to 255, ours are shifted
                requireSamePixels(path, size);
            }
            add(name + "zk", path, size, decodeZk);
            add(name + "stb", path, size, decodeStb);
            add(name + "sdl", path, size, decodeSdl);
            if (bits == 8 || bits == 24) {
                const Pixels loop = decodeLoop(path.c_str(), size);
                requireSame("loop", path, size, Bytes(loop.get(), loop.get() + size * size * 4),
                            false);
                add(name + "loop", path, size, decodeLoop);
            }
        }
    }
}

// A picture of 1024 x 1024 written as a 24-bit file.
void addWriters(const Folder &folder)
{
    const std::string path = folder.written();
    static Bytes pixels(1024 * 1024 * 3, 77);
    benchmark::RegisterBenchmark("write24_1024/zk", [=](benchmark::State &state) {
        BmpData::Image image = {1024, 1024, 3, pixels.data()};
        for (auto _ : state) {
            benchmark::DoNotOptimize(BmpData().SaveImage(path.c_str(), &image));
        }
    });
    benchmark::RegisterBenchmark("write24_1024/stb", [=](benchmark::State &state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(stbi_write_bmp(path.c_str(), 1024, 1024, 3, pixels.data()));
        }
    });
    benchmark::RegisterBenchmark("write24_1024/sdl", [=](benchmark::State &state) {
        SDL_Surface *surface = SDL_CreateRGBSurfaceWithFormatFrom(pixels.data(), 1024, 1024, 24,
                                                                  1024 * 3, SDL_PIXELFORMAT_BGR24);
        for (auto _ : state) {
            benchmark::DoNotOptimize(SDL_SaveBMP(surface, path.c_str()));
        }
        SDL_FreeSurface(surface);
    });
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    Folder folder;
    addDecoders(folder);
    addWriters(folder);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
