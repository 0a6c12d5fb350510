#include "output.h"

#include <png.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace host
{

namespace
{

/// Where "-" is written: standard output until `claimStandardOutput` moves it.
int standardOutput = STDOUT_FILENO;

/// All of `bytes` to a descriptor; false with `errno` set when it does not take them.
bool writeAll(int descriptor, const std::string &bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t n = write(descriptor, bytes.data() + done, bytes.size() - done);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
        } else if (n < 0 && errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// The permissions of a file made with open(): mkstemp's own are stricter.
mode_t usualPermissions()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// True for something at `path` that a rename must not replace, such as /dev/null.
bool isDeviceOrPipe(const std::string &path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

/// Opens a device or pipe and writes to it; false with `errno` set on failure.
bool writeInPlace(const std::string &path, const std::string &bytes)
{
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (!file) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return (std::fclose(file) == 0) && written;
}

/// Writes a temporary file beside `path` and renames it; false with `errno` set
/// on failure, and then the temporary file is gone.
bool writeByRename(const std::string &path, const std::string &bytes)
{
    std::string temporary = path + ".XXXXXX";
    const int descriptor = mkstemp(&temporary[0]);
    if (descriptor < 0) {
        return false;
    }
    bool done = writeAll(descriptor, bytes) && fchmod(descriptor, usualPermissions()) == 0;
    int why = errno;
    if (close(descriptor) != 0 && done) {
        done = false;
        why = errno;
    }
    if (done && std::rename(temporary.c_str(), path.c_str()) != 0) {
        done = false;
        why = errno;
    }
    if (!done) {
        unlink(temporary.c_str());
        errno = why;
    }
    return done;
}

/// The bytes of a PNG file; empty without pixels or memory.
std::string encode(png_uint_32 format, int width, int height, const void *pixels)
{
    std::string bytes;
    if (width < 1 || height < 1) {
        return bytes;
    }
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = format;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    bytes.resize(size);
    const bool done =
        png_image_write_to_memory(&image, &bytes[0], &size, 0, pixels, 0, nullptr) != 0;
    bytes.resize(done ? size : 0);
    return bytes;
}

} // namespace

void claimStandardOutput()
{
    std::fflush(stdout);
    standardOutput = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

bool outputIsTerminal()
{
    return isatty(standardOutput) != 0;
}

bool writeOutput(const std::string &path, const std::string &bytes, std::string *problem)
{
    errno = 0;
    const bool written = path == "-"            ? writeAll(standardOutput, bytes)
                         : isDeviceOrPipe(path) ? writeInPlace(path, bytes)
                                                : writeByRename(path, bytes);
    if (!written) {
        const std::string what = path == "-" ? "standard output" : path;
        *problem = "cannot write " + what + ": " + std::strerror(errno);
    }
    return written;
}

std::string encodePng(const Canvas &canvas)
{
    return encode(PNG_FORMAT_RGB, canvas.width(), canvas.height(), canvas.rgb().data());
}

std::string encodePng(int width, int height, const std::uint8_t *pixels)
{
    return encode(PNG_FORMAT_BGRA, width, height, pixels);
}

} // namespace host
