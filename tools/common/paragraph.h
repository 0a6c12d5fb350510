#ifndef HOST_PARAGRAPH_H
#define HOST_PARAGRAPH_H

#include <zkfont.h>
#include <zkstring.h>

#include <string>
#include <vector>

/// Text on its way into the library: from a file's bytes to a string that is laid
/// out the way a reader expects.
namespace host
{

/// UTF-8 bytes as text. Line ends become newlines, tabs and the zero-width
/// non-joiner of Persian spaces; the other control characters and the invisible
/// marks that direct bidirectional text go, for the library would draw a box for
/// each. False, with the reason in `problem`, for bytes that are no UTF-8.
/// `leftOut` counts the characters beyond U+FFFF: the library has no unit for them.
bool textFromUtf8(const std::string &bytes, ZkString *text, int *leftOut, std::string *problem);

/// True for text that the library turns into display order.
bool isRightToLeft(const ZkString &text);

/// CJK ideographs, Katakana and Hangul: the library may end a line at each.
bool breaksAnywhere(ZkUcs2 c);

/// Divides right-to-left paragraphs into lines of at most `width` pixels before
/// the library sees them; other text, and any text when `width` is below 1, comes
/// back as it is.
///
/// The library turns a right-to-left run into display order first and divides
/// into lines afterwards, from left to right. A paragraph that it wraps itself
/// therefore begins, on its first line, with its last words. A newline ends a run,
/// so lines that are chosen here, in reading order, are each turned by themselves
/// and come out from the first word to the last.
///
/// Words are measured with the library, in their joined forms, and fill a line by
/// its own rule: a word joins while line + word + `charSpacing` is at most `width`.
/// The spaces at which a line is broken are dropped, all others stay. CJK
/// characters may end a line anywhere, as in the library. A word wider than
/// `width` stands on a line of its own. The result is to be laid out with word
/// wrap off.
ZkString breakParagraphs(const ZkString &text, const ZkFont &font, int charSpacing, int width);

} // namespace host

#endif
