#ifndef ZKFONTCHAIN_H
#define ZKFONTCHAIN_H

#include "zktypeface.h"

struct ZkFontChainData;
struct ZkFontListData;

/// What a chain held at one moment: typefaces in their order, never changed. A counted
/// handle; any number of threads may ask one list at once.
class ZK_EXPORT ZkFontList
{
public:
    /// Without typefaces.
    ZkFontList() noexcept = default;
    ZkFontList(const ZkFontList &other) noexcept;
    ZkFontList(ZkFontList &&other) noexcept : d(other.d) { other.d = nullptr; }
    ~ZkFontList();
    ZkFontList &operator=(const ZkFontList &other) noexcept;

    int size() const;
    bool isEmpty() const { return size() == 0; }

    /// One that is not valid for an index out of range.
    const ZkTypeface &at(int index) const;

    /// Changes with every change of the chain it comes from: equal numbers, equal lists.
    std::uint32_t serial() const;

    /// The first typeface that has the character, -1 when none has. Remembered, so a
    /// question that was asked before costs two loads.
    int find(char32_t character) const;

    /// The typeface that draws a grapheme cluster of `n` characters: the first that has
    /// all of them, else the first that has the first of them, else 0, whose box is
    /// shown. A cluster that is a space, punctuation or a mark stays with `previous`, the
    /// typeface of the cluster before it, when that has all of it; -1 is no such cluster.
    /// Format characters, joiners and variation selectors count as being there.
    /// -1 for an empty list; 0 for `n` below 1.
    int findCluster(const char32_t *characters, int n, int previous = -1) const;

private:
    friend class ZkFontChain;

    explicit ZkFontList(ZkFontListData *data) : d(data) {}

    ZkFontListData *d = nullptr;
};

/// Typefaces in the order in which they are asked for a character: a counted handle,
/// whose copies are the same chain.
///
///     ZkFontChain chain;
///     chain.append(ZkTypeface::fromFile("/usr/share/fonts/latin.ttf"));
///     chain.append(ZkTypeface::fromFile("/usr/share/fonts/cjk.ttc"));
///     const ZkFontList list = chain.faces();
///     list.at(list.find(U'语'));                   // the second
///
/// A chain may be changed while threads lay text out with it: who took `faces()` goes on
/// with what they were, the next one who takes them sees the change. Typefaces that are
/// not valid may stand in a chain and have no characters.
class ZK_EXPORT ZkFontChain
{
public:
    static constexpr int kMostFaces = 254;

    /// An empty chain of its own.
    ZkFontChain() noexcept;
    /// A chain of one.
    explicit ZkFontChain(const ZkTypeface &face);
    ZkFontChain(const ZkFontChain &other) noexcept;
    ZkFontChain(ZkFontChain &&other) noexcept : d(other.d) { other.d = nullptr; }
    ~ZkFontChain();
    ZkFontChain &operator=(const ZkFontChain &other) noexcept;

    /// What is in the chain now.
    ZkFontList faces() const;
    int size() const { return faces().size(); }
    ZkTypeface at(int index) const { return faces().at(index); }
    std::uint32_t serial() const;

    /// These change the chain for all its handles. False, and nothing changed, for an
    /// index out of range, more than `kMostFaces` typefaces, or without memory. A handle
    /// that was moved from, or made without memory, has no chain to change.
    bool append(const ZkTypeface &face) { return insert(-1, face); }
    /// Before the typeface at `index`; -1 or `size()` is behind the last.
    bool insert(int index, const ZkTypeface &face);
    bool replace(int index, const ZkTypeface &face);
    bool remove(int index);
    bool clear();

    /// Same chain: copies of one handle.
    bool operator==(const ZkFontChain &other) const { return d == other.d; }
    bool operator!=(const ZkFontChain &other) const { return d != other.d; }

private:
    friend struct ZkParagraphData;

    /// Without a chain, as one that was moved from.
    explicit ZkFontChain(std::nullptr_t) noexcept {}
    bool change(int at, int removed, const ZkTypeface *added);

    ZkFontChainData *d = nullptr;
};

#endif
