#include "face.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace host
{

FaceFile::FaceFile(const std::string &path)
{
    std::FILE *file = std::fopen(path.c_str(), "rb");
    if (!file) {
        throw std::runtime_error("cannot read font " + path + ": " + std::strerror(errno));
    }
    std::fclose(file);
    if (FT_Init_FreeType(&m_library) != 0) {
        throw std::runtime_error("FreeType does not start");
    }
    if (FT_New_Face(m_library, path.c_str(), 0, &m_face) != 0) {
        FT_Done_FreeType(m_library);
        throw std::runtime_error("cannot read font " + path + ": not a font file");
    }
}

} // namespace host
