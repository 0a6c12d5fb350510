// Text on a Linux framebuffer of 16-bit pixels: five bits of red, six of green, five
// of blue. A surface says where they are; the library paints there.
//
//     example_framebuffer /dev/fb0 FONT.ttf [TEXT]
//     example_framebuffer FILE=320x240 FONT.ttf [TEXT]
//     example_framebuffer FILE=320x240,656 FONT.ttf [TEXT]
//
// The first form takes size and bytes of a row from the device. The others write a
// plain file of the same layout, rows of 640 and of 656 bytes.

#include "textblock.h"

#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

namespace
{

/// Pixels of 16 bits in memory that somebody else owns: red in the high five bits,
/// green in six, blue in the low five. Rows are `stride` bytes apart. The library mixes
/// in 8 bits a part and rounds to the nearest step once for each blend.
class Rgb565 : public host::Surface
{
public:
    Rgb565(std::uint8_t *memory, int width, int height, int stride)
        : Surface(width, height), m_memory(memory), m_stride(stride)
    {
    }

    ZkTextSurface pixels() override
    {
        return {m_memory, width(), height(), m_stride, ZkTextSurface::Rgb565};
    }

private:
    std::uint8_t *m_memory;
    int m_stride;
};

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

/// An open file, or -1.
struct Descriptor {
    int number = -1;
    ~Descriptor()
    {
        if (number >= 0) {
            close(number);
        }
    }
};

/// The memory of a framebuffer device, or of a plain file in its layout.
class Screen
{
public:
    /// Throws std::runtime_error with the reason. `name` as `main` takes it.
    explicit Screen(const std::string &name);
    ~Screen();
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    int width() const { return m_width; }
    int height() const { return m_height; }
    int stride() const { return m_stride; }
    Rgb565 surface() { return Rgb565(m_memory, m_width, m_height, m_stride); }

private:
    void openFile(const std::string &name, std::size_t equals);
    void openDevice(const std::string &path);

    Descriptor m_file;
    int m_width = 0, m_height = 0, m_stride = 0;
    std::uint8_t *m_memory = nullptr;
    std::size_t m_bytes = 0;
};

void Screen::openFile(const std::string &name, std::size_t equals)
{
    int end = 0;
    const char *size = name.c_str() + equals + 1;
    if (std::sscanf(size, "%5dx%5d%n,%6d%n", &m_width, &m_height, &end, &m_stride, &end) == 2) {
        m_stride = m_width * 2;
    }
    if (size[end] || m_width < 1 || m_height < 1 || m_stride < m_width * 2) {
        throw std::runtime_error("no size of a screen: " + name.substr(equals + 1));
    }
    const std::string path = name.substr(0, equals);
    m_bytes = static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(m_height);
    m_file.number = open(path.c_str(), O_RDWR | O_CREAT, 0666);
    if (m_file.number < 0 || ftruncate(m_file.number, off_t(m_bytes)) != 0) {
        fail("cannot write " + path);
    }
}

void Screen::openDevice(const std::string &path)
{
    m_file.number = open(path.c_str(), O_RDWR);
    fb_var_screeninfo shown = {};
    fb_fix_screeninfo memory = {};
    if (m_file.number < 0 || ioctl(m_file.number, FBIOGET_VSCREENINFO, &shown) != 0 ||
        ioctl(m_file.number, FBIOGET_FSCREENINFO, &memory) != 0) {
        fail("no framebuffer at " + path);
    }
    if (shown.bits_per_pixel != 16 || shown.red.offset != 11 || shown.green.length != 6) {
        throw std::runtime_error(path + " has no 16-bit pixels of 5, 6 and 5 bits");
    }
    m_width = static_cast<int>(shown.xres);
    m_height = static_cast<int>(shown.yres);
    m_stride = static_cast<int>(memory.line_length);
    m_bytes = static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(m_height);
}

Screen::Screen(const std::string &name)
{
    const std::size_t equals = name.rfind('=');
    if (equals != std::string::npos) {
        openFile(name, equals);
    } else {
        openDevice(name);
    }
    void *memory = mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_file.number, 0);
    if (memory == MAP_FAILED) {
        fail("cannot map " + name);
    }
    m_memory = static_cast<std::uint8_t *>(memory);
}

Screen::~Screen()
{
    munmap(m_memory, m_bytes);
}

/// A panel with a text in its middle, on any surface.
void drawPanel(host::Surface &surface, const ZkString &text)
{
    surface.fill(surface.bounds(), {30, 41, 59, 255});
    const ZkRect panel(16, 16, surface.width() - 17, surface.height() - 17);
    surface.fill(panel, {252, 252, 250, 255});
    surface.frame(panel, {14, 116, 144, 255});
    host::TextRequest request;
    request.text = text;
    request.font = ZkFont(28, false, false, false, false);
    request.width = panel.width() - 24;
    request.alignment = host::AlignHCenter | host::AlignVCenter;
    host::TextBlock block(request);
    block.place(panel.left() + 12, panel.top(), panel.height());
    surface.setClip(panel);
    block.paint(surface, {{31, 41, 55, 255}, {}});
    surface.setClip(surface.bounds());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: example_framebuffer DEVICE|FILE=WIDTHxHEIGHT[,STRIDE] "
                             "FONT.ttf [TEXT]\n");
        return 2;
    }
    try {
        Screen screen(argv[1]);
        ZkFontMetrics::setFontFile(argv[2], 64 * 1024);
        Rgb565 surface = screen.surface();
        drawPanel(surface, argc > 3 ? argv[3] : "Hello from the framebuffer");
        std::printf("%d x %d pixels, %d bytes a row\n", screen.width(), screen.height(),
                    screen.stride());
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "example_framebuffer: %s\n", failure.what());
        return 1;
    }
    return 0;
}
