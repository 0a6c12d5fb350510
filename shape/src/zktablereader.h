#ifndef ZKTABLEREADER_H
#define ZKTABLEREADER_H

#include <hb.h>

/// A table of a font, read with care: behind its end there are zeros, and what takes too
/// many steps ends as `wasLong`.
class ZkTableReader
{
public:
    ZkTableReader(hb_face_t *face, hb_tag_t tag) : m_blob(hb_face_reference_table(face, tag))
    {
        m_bytes = hb_blob_get_data(m_blob, &m_size);
    }
    ~ZkTableReader() { hb_blob_destroy(m_blob); }
    ZkTableReader(const ZkTableReader &) = delete;
    ZkTableReader &operator=(const ZkTableReader &) = delete;

    unsigned size() const { return m_size; }
    unsigned number16(unsigned at) const { return (byte(at) << 8) | byte(at + 1); }
    unsigned number32(unsigned at) const { return (number16(at) << 16) | number16(at + 2); }

    /// One step of a search that the font could make as long as it likes.
    bool isTooLong() const { return --m_stepsLeft <= 0; }
    bool wasLong() const { return m_stepsLeft <= 0; }

    /// The place of the glyph in the coverage table at `at`, -1 when it is not there.
    int coverage(unsigned at, unsigned glyph) const;
    /// Adds the glyphs of the coverage table at `at`.
    void addCovered(unsigned at, hb_set_t *glyphs) const;

    /// The class of the glyph in the class table at `at`.
    unsigned classOf(unsigned at, unsigned glyph) const;
    /// Adds the glyphs of a class above 0.
    void addClass(unsigned at, unsigned number, hb_set_t *glyphs) const;

private:
    unsigned byte(unsigned at) const
    {
        return at < m_size ? static_cast<unsigned char>(m_bytes[at]) : 0u;
    }

    hb_blob_t *m_blob;
    const char *m_bytes;
    unsigned m_size = 0;
    mutable int m_stepsLeft = 1 << 18;
};

#endif
