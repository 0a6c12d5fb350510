#ifndef ZKTHAIWORDS_H
#define ZKTHAIWORDS_H

#include "zktextbreaks.h"

struct _ThBrk; // of libthai
struct ZkKnownThai;

/// Thai words by the dictionary of libthai, so that lines end between them.
///
///     ZkThaiWords words;
///     ZkTextBreaks breaks;
///     breaks.setWordBreaker(&words);
///     breaks.setText(text, units);   // สวัสดี|ชาว|โลก
///
/// Lao, Khmer, Myanmar and the other scripts that have no spaces are not in the
/// dictionary: their lines end between clusters, as without a breaker.
///
/// An object holds the dictionary, about half a megabyte, and the words of what it was last
/// asked for, 19 KB: texts of a user interface repeat. It belongs to one thread; it may serve
/// any number of texts there, and must outlive those that use it.
class ZK_EXPORT ZkThaiWords : public ZkWordBreaker
{
public:
    /// The dictionary that is installed with libthai, or the one in the folder that the
    /// environment names in LIBTHAI_DICTDIR.
    ZkThaiWords();
    /// A dictionary in libthai's format; the installed one is called `thbrk.tri`.
    explicit ZkThaiWords(const char *file);
    ~ZkThaiWords() override;
    ZkThaiWords(const ZkThaiWords &) = delete;
    ZkThaiWords &operator=(const ZkThaiWords &) = delete;

    /// False when there is no dictionary or no memory for it: Thai lines then end between
    /// clusters too.
    bool isValid() const { return m_dictionary != nullptr; }

    /// O(n). More than 2,048 letters without a space are looked at piece by piece.
    void findWords(const ZkUcs2 *run, int units, std::uint8_t *starts) override;

private:
    _ThBrk *m_dictionary; // null without one
    ZkKnownThai *m_known; // null without memory
};

#endif
