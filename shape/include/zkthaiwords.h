#ifndef ZKTHAIWORDS_H
#define ZKTHAIWORDS_H

#include "zktextbreaks.h"

struct ZkThaiWordsData;

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
/// An object holds the dictionary, about half a megabyte, and belongs to one thread; it
/// may serve any number of texts there, and must outlive those that use it.
class ZK_EXPORT ZkThaiWords : public ZkWordBreaker
{
public:
    /// The dictionary that is installed with libthai, or the one in the folder that the
    /// environment names in LIBTHAI_DICTDIR.
    ZkThaiWords();
    /// The dictionary `thbrk.tri` of a folder.
    explicit ZkThaiWords(const char *folder);
    ~ZkThaiWords() override;
    ZkThaiWords(const ZkThaiWords &) = delete;
    ZkThaiWords &operator=(const ZkThaiWords &) = delete;

    /// False when there is no dictionary or no memory for it: Thai lines then end between
    /// clusters too.
    bool isValid() const { return d != nullptr; }

    /// O(n); five bytes a letter of the longest stretch without a space are kept.
    void findWords(const ZkUcs2 *run, int units, std::uint8_t *starts) override;

private:
    ZkThaiWordsData *d; // the dictionary of libthai
};

#endif
