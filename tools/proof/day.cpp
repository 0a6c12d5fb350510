// A day of a device, told line by line: texts in several scripts and sizes under a
// limit of pixels, numbers, dates, containers, regions, a picture written and read.
// It runs twice; tools/proof/faults lets one call fail in the first half and compares
// the second half, and what is left in memory, with a day on which nothing failed.
//
//     day FONT FOLDER

#include <zkbitarray.h>
#include <zkbitmap.h>
#include <zkbmpdata.h>
#include <zkdatetime.h>
#include <zkfontcache.h>
#include <zkfontmetrics.h>
#include <zkhash.h>
#include <zklocale.h>
#include <zkmap.h>
#include <zkregion.h>
#include <zkscriptrules.h>
#include <zkstring.h>
#include <zkstringlist.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

/// A sum that tells whether two halves of the day did the same.
class Sum
{
public:
    void add(const void *bytes, std::size_t count)
    {
        const unsigned char *at = static_cast<const unsigned char *>(bytes);
        for (std::size_t i = 0; i < count; ++i) {
            m_value = (m_value ^ at[i]) * 16777619u;
        }
    }
    void add(int value) { add(&value, sizeof value); }
    void add(const ZkString &text)
    {
        add(text.constData(), static_cast<std::size_t>(text.size()) * sizeof(ZkUcs2));
    }
    unsigned value() const { return m_value; }

private:
    unsigned m_value = 2166136261u;
};

void tell(const char *what, const Sum &sum)
{
    std::printf("day: %s %08x\n", what, sum.value());
}

// A mark that the failing library listens to: what follows may not fail any more.
void evening()
{
    std::fflush(stdout);
    setenv("ZK_FAULT_OVER", "1", 1);
}

void layOut(const char *text, const ZkFont &font, Sum *sum)
{
    ZkFontMetrics layout(text, font);
    layout.setWorpWrap(true);
    layout.setTextMinRect(0, 0, 120, 200);
    layout.setAlignment(1 | 16);
    for (const PaintInfo &line : layout.paintInfoList()) {
        sum->add(line.right);
        sum->add(line.bottom);
        for (const GlyphBitmap *glyph : line.glyphs) {
            sum->add(glyph->unicode);
            sum->add(glyph->advance);
            if (glyph->pixels != nullptr) {
                sum->add(glyph->pixels, static_cast<std::size_t>(glyph->width) * glyph->height);
            }
        }
    }
}

void texts(const char *font)
{
    Sum sum;
    ZkFontMetrics::setFontFile(font, 8 * 1024);
    for (const int size : {12, 16}) {
        const auto bytes = static_cast<unsigned char>(size);
        layOut("Settings, 24% done", ZkFont(bytes, false, false, false, false), &sum);
        layOut("\u0633\u0644\u0627\u0645 \u062F\u0646\u06CC\u0627", // Persian
               ZkFont(bytes, false, false, false, false), &sum);
        layOut("\u05E9\u05DC\u05D5\u05DD 12", ZkFont(bytes, true, false, false, false), &sum);
        layOut("\u0E17\u0E35\u0E48\u0E19\u0E35\u0E48", ZkFont(bytes, false, true, false, false),
               &sum);
        layOut("Titles", ZkFont(bytes, false, false, true, true), &sum);
        ZkFontMetrics::clearFontCache();
    }
    tell("texts", sum);
}

void picture(const char *folder)
{
    char path[512];
    std::snprintf(path, sizeof path, "%s/day.bmp", folder);
    unsigned char pixels[20 * 6 * 3];
    for (std::size_t i = 0; i < sizeof pixels; ++i) {
        pixels[i] = static_cast<unsigned char>(i * 7);
    }
    std::remove(path);
    const BmpData::Image image = {20, 6, 3, pixels};
    const int written = BmpData().SaveImage(path, &image);
    Sum sum;
    ZkBitmap bitmap(path);
    if (bitmap.isOpen()) {
        unsigned char back[20 * 6 * 4] = {};
        bitmap.decode(back);
        sum.add(back, sizeof back);
    }
    std::printf("day: wrote %d\n", written);
    tell("picture", sum);
}

void values()
{
    Sum sum;
    ZkString text = ZkString("%1 of %2, %3").arg(17).arg(2.5).arg("x");
    text.append(ZkString::number(1.0 / 3, 'g', 17)).replace("x", "long enough to grow");
    sum.add(text);
    sum.add(text.toUpper().toUtf8().size());
    for (const ZkString &part : text.split(",")) {
        sum.add(part);
    }
    ZkString formatted;
    formatted.sprintf("%5d %s %.3f", 42, "entries", 2.5);
    sum.add(formatted);
    ZkHash<ZkString, int> hash;
    ZkMap<int, ZkString> map;
    ZkVector<int> vector;
    ZkList<ZkString> list;
    for (int i = 0; i < 40; ++i) {
        hash.insert(ZkString::number(i), i);
        map.insert(i * 7 % 40, ZkString::number(i));
        vector.append(i);
        list.prepend(ZkString::number(i));
    }
    sum.add(hash.value("17"));
    sum.add(map.value(21));
    sum.add(vector.size() + list.size() + hash.size() + map.size());
    sum.add(list.at(3));
    ZkBitArray bits(100);
    bits.setBit(70);
    sum.add(bits.isSet(70) ? 1 : 0);
    tell("values", sum);
}

void dates()
{
    Sum sum;
    const ZkDateTime moment =
        ZkDateTime::fromString("2024-02-29 23:59:58", "yyyy-MM-dd hh:mm:ss").addSecs(3);
    sum.add(moment.toString("dddd, d MMMM yyyy hh:mm:ss"));
    sum.add(static_cast<int>(moment.toTime_t()));
    tell("dates", sum);
}

void regions()
{
    Sum sum;
    ZkRegion region;
    for (int i = 0; i < 30; ++i) {
        region |= ZkRect(i * 9 % 100, i * 7 % 60, i * 9 % 100 + 12, i * 7 % 60 + 5);
    }
    region -= ZkRegion(ZkRect(20, 10, 60, 30));
    for (const ZkRect &rect : region.rects()) {
        sum.add(rect.left());
        sum.add(rect.bottom());
    }
    tell("regions", sum);
}

void half(const char *font, const char *folder)
{
    texts(font);
    picture(folder);
    values();
    dates();
    regions();
    ZkFontMetrics::closeFontFile();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        return 2;
    }
    half(argv[1], argv[2]);
    evening();
    half(argv[1], argv[2]);
    return 0;
}
