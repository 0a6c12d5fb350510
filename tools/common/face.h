#ifndef HOST_FACE_H
#define HOST_FACE_H

#include <ft2build.h>
#include FT_FREETYPE_H

#include <string>

namespace host
{

/// A font file opened with FreeType, beside the library: for questions about the
/// file itself, and to find out early what the library would end the process for.
class FaceFile
{
public:
    /// Throws std::runtime_error with the reason when the file is missing or no font.
    explicit FaceFile(const std::string &path);
    ~FaceFile() { FT_Done_FreeType(m_library); } // closes the face as well

    FaceFile(const FaceFile &) = delete;
    FaceFile &operator=(const FaceFile &) = delete;

    FT_Face face() const { return m_face; }

    /// Whether the font has a glyph of its own for a character.
    bool has(unsigned code) const { return FT_Get_Char_Index(m_face, code) != 0; }

private:
    FT_Library m_library = nullptr;
    FT_Face m_face = nullptr;
};

} // namespace host

#endif
