#ifndef ZKTEXT_FACE_H
#define ZKTEXT_FACE_H

#include <ft2build.h>
#include FT_FREETYPE_H

#include <string>

namespace zktext
{

/// A font file opened with FreeType, beside the library: for questions about the
/// file itself, and to find out early what the library would end the process for.
class FaceFile
{
public:
    /// Throws `Failure` with the reason when the file is missing or no font.
    explicit FaceFile(const std::string &path);
    ~FaceFile() { FT_Done_FreeType(m_library); } // closes the face as well

    FaceFile(const FaceFile &) = delete;
    FaceFile &operator=(const FaceFile &) = delete;

    FT_Face face() const { return m_face; }

private:
    FT_Library m_library = nullptr;
    FT_Face m_face = nullptr;
};

} // namespace zktext

#endif
