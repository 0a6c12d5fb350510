#include "face.h"

#include "commands.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace zktext
{

FaceFile::FaceFile(const std::string &path)
{
    std::FILE *file = std::fopen(path.c_str(), "rb");
    if (!file) {
        throw Failure("cannot read font " + path + ": " + std::strerror(errno));
    }
    std::fclose(file);
    if (FT_Init_FreeType(&m_library) != 0) {
        throw Failure("FreeType does not start");
    }
    if (FT_New_Face(m_library, path.c_str(), 0, &m_face) != 0) {
        FT_Done_FreeType(m_library);
        throw Failure("cannot read font " + path + ": not a font file");
    }
}

} // namespace zktext
