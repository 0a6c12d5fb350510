#include "temporaryfile.h"

#include "commands.h"

#include <cerrno>
#include <cstring>

namespace zktext
{

TemporaryFile::TemporaryFile() : m_file(std::tmpfile())
{
    if (m_file == nullptr) {
        throw Failure(std::string("cannot make a temporary file: ") + std::strerror(errno));
    }
}

TemporaryFile::~TemporaryFile()
{
    std::fclose(m_file);
}

int TemporaryFile::descriptor() const
{
    return fileno(m_file);
}

std::string TemporaryFile::path() const
{
    return "/proc/self/fd/" + std::to_string(descriptor());
}

std::string TemporaryFile::bytes() const
{
    std::string bytes;
    char block[4096];
    std::rewind(m_file);
    for (std::size_t n; (n = std::fread(block, 1, sizeof block, m_file)) > 0;) {
        bytes.append(block, n);
    }
    return bytes;
}

} // namespace zktext
