// What becomes of a typeface when the system or FreeType refuses: every step of opening that
// a test can make fail, and what fonts can ask for that FreeType does not do by itself.

#include "zktypeface.h"

#include "fontedit.h"
#include "tinyfont.h"
#include "zkfontchain.h"
#include "zkglyphcache.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_MULTIPLE_MASTERS_H
#include FT_TRUETYPE_TABLES_H

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

// What fails from now on; each test puts it back.
int readErrors = 0; // so many times
int readError = 0;
bool mapFails = false, seekFails = false;
bool designFails = false, moveFails = false, axesFail = false;
bool tableFails = false; // once its length is known

template <typename Function>
Function *next(Function *, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The library's calls arrive here first.

extern "C" ssize_t read(int file, void *bytes, size_t size)
{
    static auto *const real = next<ssize_t(int, void *, size_t)>(nullptr, "read");
    if (readErrors > 0) {
        --readErrors;
        errno = readError;
        return -1;
    }
    return real(file, bytes, size);
}

extern "C" void *mmap(void *at, size_t size, int access, int flags, int file, off_t from) noexcept
{
    static auto *const real = next<void *(void *, size_t, int, int, int, off_t)>(nullptr, "mmap");
    return mapFails && file >= 0 ? MAP_FAILED : real(at, size, access, flags, file, from);
}

extern "C" off_t lseek(int file, off_t to, int from) noexcept
{
    static auto *const real = next<off_t(int, off_t, int)>(nullptr, "lseek");
    return seekFails ? -1 : real(file, to, from);
}

extern "C" FT_Error FT_Get_Var_Design_Coordinates(FT_Face face, FT_UInt count, FT_Fixed *to)
{
    return designFails ? FT_Error(FT_Err_Invalid_Argument)
                       : next(FT_Get_Var_Design_Coordinates,
                              "FT_Get_Var_Design_Coordinates")(face, count, to);
}

extern "C" FT_Error FT_Set_Var_Design_Coordinates(FT_Face face, FT_UInt count, FT_Fixed *at)
{
    return moveFails ? FT_Error(FT_Err_Invalid_Argument)
                     : next(FT_Set_Var_Design_Coordinates,
                            "FT_Set_Var_Design_Coordinates")(face, count, at);
}

extern "C" FT_Error FT_Get_MM_Var(FT_Face face, FT_MM_Var **var)
{
    return axesFail ? FT_Error(FT_Err_Invalid_Table)
                    : next(FT_Get_MM_Var, "FT_Get_MM_Var")(face, var);
}

extern "C" FT_Error FT_Load_Sfnt_Table(FT_Face face, FT_ULong tag, FT_Long from, FT_Byte *to,
                                       FT_ULong *length)
{
    return tableFails && to != nullptr
               ? FT_Error(FT_Err_Invalid_Table)
               : next(FT_Load_Sfnt_Table, "FT_Load_Sfnt_Table")(face, tag, from, to, length);
}

namespace
{

class TypefaceFaults : public testing::Test
{
protected:
    void TearDown() override
    {
        readErrors = readError = 0;
        mapFails = seekFails = designFails = moveFails = axesFail = tableFails = false;
    }

    static std::string variable() { return std::string(ZK_TEST_DATA) + "/fonts/variable.ttf"; }
};

/// A pipe that a child fills with bytes.
class FilledPipe
{
public:
    explicit FilledPipe(const std::vector<unsigned char> &bytes)
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe(ends), 0);
        m_writer = fork();
        if (m_writer == 0) {
            close(ends[0]);
            std::size_t at = 0;
            while (at < bytes.size()) {
                const ssize_t wrote = write(ends[1], &bytes[at], bytes.size() - at);
                if (wrote <= 0) {
                    break;
                }
                at += static_cast<std::size_t>(wrote);
            }
            _exit(0);
        }
        close(ends[1]);
        file = ends[0];
    }
    ~FilledPipe()
    {
        close(file);
        waitpid(m_writer, nullptr, 0);
    }
    FilledPipe(const FilledPipe &) = delete;
    FilledPipe &operator=(const FilledPipe &) = delete;

    int file = -1;

private:
    pid_t m_writer = -1;
};

ZkTypeface opened(const std::string &bytes, const ZkTypeface::Options &options = {})
{
    return ZkTypeface::fromMemory(bytes.data(), bytes.size(), options);
}

} // namespace

TEST_F(TypefaceFaults, AFontOfAnyLengthComesThroughAPipe)
{
    const FontEdit font(ZK_FONT_DEJAVU);
    ASSERT_GT(font.bytes.size(), 700u << 10);
    const FilledPipe pipe(font.bytes);
    readErrors = 3; // signals
    readError = EINTR;
    const ZkTypeface face = ZkTypeface::fromDescriptor(pipe.file);
    ASSERT_TRUE(face.isValid()) << face.errorText();
    EXPECT_EQ(readErrors, 0);
    EXPECT_EQ(face.dataSize(), font.bytes.size());
    EXPECT_EQ(std::memcmp(face.data(), font.bytes.data(), font.bytes.size()), 0);
}

TEST_F(TypefaceFaults, ADescriptorThatCannotBeReadSaysSo)
{
    const FontEdit font(ZK_FONT_DEJAVU);
    const FilledPipe pipe(std::vector<unsigned char>(100));
    readErrors = 1;
    readError = EIO;
    const ZkTypeface face = ZkTypeface::fromDescriptor(pipe.file);
    EXPECT_EQ(face.error(), ZkTypeface::NoFile);
    EXPECT_EQ(face.errorText(), "cannot be read: descriptor " + std::to_string(pipe.file));
    const int folder = open("/tmp", O_RDONLY);
    EXPECT_EQ(ZkTypeface::fromDescriptor(folder).error(), ZkTypeface::NoFont);
    close(folder);
}

TEST_F(TypefaceFaults, AFileWithoutAnEndIsGivenUp)
{
    const int file = open("/dev/zero", O_RDONLY);
    ASSERT_GE(file, 0);
    const ZkTypeface face = ZkTypeface::fromDescriptor(file);
    EXPECT_EQ(face.error(), ZkTypeface::OutOfMemory);
    EXPECT_EQ(face.errorText(), "not enough memory to open: descriptor " + std::to_string(file));
    EXPECT_EQ(lseek(file, 0, SEEK_CUR), 0) << "which has no place, as a pipe has none";
    close(file);
}

// Some file systems cannot map.
TEST_F(TypefaceFaults, AFileThatCannotBeMappedIsRead)
{
    const FontEdit font(ZK_FONT_DEJAVU);
    mapFails = true;
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    ASSERT_TRUE(face.isValid()) << face.errorText();
    EXPECT_EQ(face.dataSize(), font.bytes.size());
    EXPECT_EQ(std::memcmp(face.data(), font.bytes.data(), font.bytes.size()), 0);
    EXPECT_GT(face.memoryBytes(), font.bytes.size()) << "what was read counts";
    const int file = open(ZK_FONT_DEJAVU, O_RDONLY);
    lseek(file, 100, SEEK_SET); // wherever the descriptor stands
    EXPECT_TRUE(ZkTypeface::fromDescriptor(file).isValid());
    seekFails = true;
    EXPECT_EQ(ZkTypeface::fromDescriptor(file).error(), ZkTypeface::NoFile);
    const ZkTypeface stuck = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    EXPECT_EQ(stuck.error(), ZkTypeface::NoFile);
    EXPECT_EQ(stuck.errorText(), std::string("cannot be read: ") + ZK_FONT_DEJAVU);
    seekFails = false;
    close(file);
    // Nor read, when it is larger than a font may be.
    const TemporaryFile huge("");
    ASSERT_EQ(truncate(huge.path(), static_cast<off_t>(ZkTypeface::kMostMemory) + 1), 0);
    const ZkTypeface none = ZkTypeface::fromFile(huge.path());
    EXPECT_EQ(none.error(), ZkTypeface::OutOfMemory);
    EXPECT_EQ(none.errorText(), std::string("not enough memory to open: ") + huge.path());
}

TEST_F(TypefaceFaults, AxesThatCannotBeReadOrMovedAreAnError)
{
    const ZkTypeface::AxisValue weight = {0x77676874, 700};
    ZkTypeface::Options bold;
    bold.axes = &weight;
    bold.axisCount = 1;
    const std::string path = variable();
    designFails = true;
    EXPECT_EQ(ZkTypeface::fromFile(path.c_str()).error(), ZkTypeface::NoFont);
    designFails = false;
    moveFails = true;
    EXPECT_EQ(ZkTypeface::fromFile(path.c_str(), bold).error(), ZkTypeface::NoFont);
    EXPECT_TRUE(ZkTypeface::fromFile(path.c_str()).isValid()) << "nothing was to be moved";
    moveFails = false;
    const ZkTypeface face = ZkTypeface::fromFile(path.c_str());
    axesFail = true;
    char name[8] = "?";
    EXPECT_EQ(face.instanceName(1, name, sizeof name), 0);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(ZkTypeface::fromFile(path.c_str(), bold).error(), ZkTypeface::NoAxis);
    const ZkTypeface still = ZkTypeface::fromFile(path.c_str());
    EXPECT_TRUE(still.isValid());
    EXPECT_EQ(still.axisCount(), 0);
}

TEST_F(TypefaceFaults, AxisValuesAreKeptInTheirRange)
{
    const struct {
        float wanted, got;
    } kRows[] = {{std::nanf(""), 400}, {-1e30F, 100},   {99, 100},  {100, 100},
                 {550.5F, 550.5F},     {900, 900},      {901, 900}, {1e30F, 900},
                 {-HUGE_VALF, 100},    {HUGE_VALF, 900}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.wanted);
        const ZkTypeface::AxisValue weight = {0x77676874, row.wanted};
        ZkTypeface::Options options;
        options.axes = &weight;
        options.axisCount = 1;
        const ZkTypeface face = ZkTypeface::fromFile(variable().c_str(), options);
        ASSERT_TRUE(face.isValid()) << face.errorText();
        EXPECT_EQ(face.axis(0).value, row.got);
        EXPECT_EQ(face.axis(1).value, face.axis(1).normal);
    }
    const ZkTypeface::AxisValue both[] = {{0x77676874, 700}, {0x6E6F6E65, 1}};
    ZkTypeface::Options options;
    options.axes = both;
    options.axisCount = 2;
    const ZkTypeface none = ZkTypeface::fromFile(variable().c_str(), options);
    EXPECT_EQ(none.error(), ZkTypeface::NoAxis);
    EXPECT_EQ(none.errorText(), "axis value 2 of 2 names no axis of: " + variable());
}

TEST_F(TypefaceFaults, ATableThatCannotBeLoadedIsNone)
{
    constexpr std::uint32_t kHead = 0x68656164;
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    unsigned char head[54] = {};
    tableFails = true;
    EXPECT_EQ(face.table(kHead, head, sizeof head), 0u);
    EXPECT_EQ(face.table(kHead, nullptr, sizeof head), 54u) << "its length is known";
    tableFails = false;
    EXPECT_EQ(face.table(kHead, head, sizeof head), 54u);
}

// Fonts of signs put them at U+F000 on, in a character map that FreeType does not choose.
TEST_F(TypefaceFaults, SignsAreFoundByTheirBytesAndWhereTheyStand)
{
    FontEdit font(
        TemporaryFile(
            TinyFont().addBox(0xF041, 0, 0, 4, 4, 5).addBox(0xF042, 0, 0, 6, 6, 7).bytes())
            .path());
    const std::size_t map = font.table("cmap").first;
    ASSERT_GT(map, 0u);
    font.bytes[map + 5] = 3; // platform: Microsoft
    font.bytes[map + 7] = 0; // encoding: signs
    const ZkTypeface face = ZkTypeface::fromMemory(font.bytes.data(), font.bytes.size());
    ASSERT_TRUE(face.isValid()) << face.errorText();
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(face.glyphIndex('A'), 1u);
        EXPECT_EQ(face.glyphIndex(0xF041), 1u);
        EXPECT_EQ(face.glyphIndex('B'), 2u);
        EXPECT_EQ(face.glyphIndex('C'), 0u);
        EXPECT_EQ(face.glyphIndex(0x141), 0u);
    }
}

TEST_F(TypefaceFaults, AFontOfStrikesHasNoInstances)
{
    const std::string strikes =
        "STARTFONT 2.1\nFONT -x-tiny-medium-r-normal--16-160-75-75-c-90-iso10646-1\n"
        "SIZE 16 75 75\nFONTBOUNDINGBOX 9 2 0 0\nSTARTPROPERTIES 3\nPIXEL_SIZE 16\n"
        "FONT_ASCENT 12\nFONT_DESCENT 4\nENDPROPERTIES\nCHARS 1\nSTARTCHAR A\nENCODING 65\n"
        "SWIDTH 500 0\nDWIDTH 10 0\nBBX 9 2 0 0\nBITMAP\n8080\nFF80\nENDCHAR\nENDFONT\n";
    ASSERT_TRUE(opened(strikes).isValid());
    ZkTypeface::Options options;
    options.instance = 1;
    const ZkTypeface face = opened(strikes, options);
    EXPECT_EQ(face.error(), ZkTypeface::NoInstance);
    EXPECT_STREQ(face.errorText(), "instance 1 of 0: bytes in memory");
}

TEST_F(TypefaceFaults, NamesOfInstancesAreUtf8)
{
    FontEdit font(variable());
    const std::size_t fvar = font.table("fvar").first;
    ASSERT_GT(fvar, 0u);
    const auto word = [&font](std::size_t at) {
        return static_cast<unsigned>(font.bytes[at] << 8 | font.bytes[at + 1]);
    };
    // Behind the axes each instance begins with the number of its name.
    const std::size_t first = fvar + word(fvar + 4) + word(fvar + 8) * word(fvar + 10);
    const unsigned name = word(first);
    const std::u16string text = u"Kr\u00E4ftig \u4E2D";
    // The older one of two names is not read.
    for (const std::vector<unsigned> &platforms : {std::vector<unsigned>{1, 3}, {3}}) {
        std::string table;
        const auto put = [&table](unsigned value) {
            table.push_back(static_cast<char>(value >> 8));
            table.push_back(static_cast<char>(value));
        };
        put(0);
        put(unsigned(platforms.size()));
        put(unsigned(6 + platforms.size() * 12));
        for (const unsigned platform : platforms) {
            for (const unsigned value :
                 {platform, platform == 3 ? 1u : 0u, platform == 3 ? 0x409u : 0u, name,
                  platform == 3 ? unsigned(2 * text.size()) : 3u, platform == 3 ? 4u : 0u}) {
                put(value);
            }
        }
        table += "Old ";
        for (const char16_t c : text) {
            put(c);
        }
        font.replace("name", table);
        const ZkTypeface face = ZkTypeface::fromMemory(font.bytes.data(), font.bytes.size());
        ASSERT_TRUE(face.isValid()) << face.errorText();
        char out[32] = "";
        EXPECT_EQ(face.instanceName(1, out, sizeof out), 12);
        EXPECT_STREQ(out, "Kr\xC3\xA4"
                          "ftig \xE4\xB8\xAD");
        EXPECT_EQ(face.instanceName(2, out, sizeof out), 0) << "a name that the table lacks";
        EXPECT_STREQ(out, "");
    }
}

TEST_F(TypefaceFaults, ListsOfTypefacesAreCopied)
{
    ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    const ZkFontList list = chain.faces();
    const ZkFontList copy(list); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_TRUE(chain.clear());
    EXPECT_EQ(chain.size(), 0);
    EXPECT_EQ(copy.size(), 1);
    EXPECT_TRUE(copy.at(0) == list.at(0));
    EXPECT_TRUE(chain.clear()) << "nothing to do";
    const ZkFontList none;
    const ZkFontList noneCopied(none); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_TRUE(noneCopied.isEmpty());
}

TEST_F(TypefaceFaults, PagesOfCharactersCountAsMemory)
{
    constexpr std::size_t kPage = 256 * sizeof(std::uint16_t), kPlane = 256 * sizeof(void *);
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const struct {
        char32_t character;
        std::size_t more;
    } kRows[] = {{'a', kPlane + kPage},     {'b', 0},           {0x0410, kPage}, {0x4E00, 0},
                 {0x1F0CF, kPlane + kPage}, {0x10FFFF, kPlane}, {0x10FF00, 0}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(static_cast<unsigned>(row.character));
        const std::size_t before = face.memoryBytes();
        face.glyphIndex(row.character);
        EXPECT_EQ(face.memoryBytes() - before, row.more);
    }
}

// Packs hold digests, so those of a release are those of the next one.
TEST_F(TypefaceFaults, DigestsStayWhatTheyWere)
{
    const ZkTypeface face = opened(TinyFont().addBox('A', 0, 0, 4, 4, 5).bytes());
    ASSERT_TRUE(face.isValid());
    EXPECT_EQ(face.digest(), 8141238534635552551u);
}
