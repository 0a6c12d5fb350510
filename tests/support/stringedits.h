#ifndef STRINGEDITS_H
#define STRINGEDITS_H

#include "stringmodel.h"

#include <zkstring.h>

#include <cstdint>
#include <sstream>
#include <string>

/// Drives four strings and their models through the edits that a run of bytes
/// spells, and compares text, capacity, terminator and sharing after each one.
class StringEdits
{
public:
    StringEdits(const std::uint8_t *data, std::size_t size) : m_next(data), m_end(data + size) {}

    /// The first difference in words, or nothing.
    std::string run()
    {
        std::string difference;
        while (m_next != m_end && difference.empty()) {
            const int operation = take() % kOperations;
            edit(operation);
            difference = compare(operation);
        }
        return difference;
    }

private:
    static constexpr int kStrings = 4;
    static constexpr int kOperations = 29;

    int take() { return m_next == m_end ? 0 : *m_next++; }

    /// A position or count: mostly near the text, sometimes far outside.
    int number()
    {
        const int byte = take();
        switch (byte) {
        case 255: return INT32_MAX;
        case 254: return INT32_MIN;
        case 253: return 1000;
        default: return byte % 40 - 8;
        }
    }
    /// A length that a text may be given: never so large that it must be had.
    int length()
    {
        const int n = number();
        return n == INT32_MAX ? 700 : n;
    }
    ZkUcs2 unit()
    {
        static const ZkUcs2 kUnits[] = {'a', 'A', 'b', 'K', 0x212A, 0x628, 0, ' '};
        return kUnits[take() % 8];
    }
    model::Units units()
    {
        model::Units text;
        for (int n = take() % 6; n > 0; --n) {
            text.push_back(unit());
        }
        return text;
    }
    std::string bytes()
    {
        static const char *const kPieces[] = {"a",    "bc",   "\xD8\xA8",         "\xE2\x84\xAA",
                                              "\xC3", "\xA9", "\xF0\x9F\x98\x80", "\xE4"};
        std::string text;
        for (int n = take() % 7; n > 0; --n) {
            text += kPieces[take() % 8];
        }
        return text;
    }
    static ZkString made(const model::Units &units)
    {
        return ZkString(units.data(), int(units.size()));
    }

    void edit(int operation)
    {
        const int which = take() % kStrings;
        const int with = take() % kStrings;
        ZkString &s = m_real[which];
        model::String &m = m_models[which];
        const ZkString &other = m_real[with];
        const model::String &otherModel = m_models[with];
        switch (operation) {
        case 0: copy(s, m, other, otherModel); break;
        case 1: s.append(other), m.append(otherModel.block->units); break;
        case 2: s.prepend(other), m.prepend(otherModel.block->units); break;
        case 3: insertString(s, m, other, otherModel); break;
        case 4: replaceRange(s, m, other, otherModel); break;
        case 5: replaceText(s, m, other, otherModel); break;
        case 6: removeText(s, m, other, otherModel); break;
        case 7:
            take() % 2 == 0 ? takeLeft(s, m, other, otherModel)
                            : takeRight(s, m, other, otherModel);
            break;
        case 8: takeMid(s, m, other, otherModel); break;
        default: editAlone(operation, s, m); break;
        }
    }
    static void copy(ZkString &s, model::String &m, const ZkString &o, const model::String &om)
    {
        s = o;
        m = model::String(om);
    }
    void insertString(ZkString &s, model::String &m, const ZkString &o, const model::String &om)
    {
        const int pos = number();
        s.insert(pos, o);
        m.insert(pos, om.block->units);
    }
    void replaceRange(ZkString &s, model::String &m, const ZkString &o, const model::String &om)
    {
        const int pos = number();
        const int n = number();
        s.replace(pos, n, o);
        m.replace(pos, n, om.block->units);
    }
    void replaceText(ZkString &s, model::String &m, const ZkString &o, const model::String &om)
    {
        const model::Units text = units();
        const bool sensitive = take() % 2 != 0;
        const auto cs = sensitive ? Zk::CaseSensitive : Zk::CaseInsensitive;
        if (take() % 2 != 0) {
            s.replace(made(text), o, cs);
            m.replace(text, om.block->units, sensitive);
        } else {
            s.replace(o, made(text), cs);
            m.replace(om.block->units, text, sensitive);
        }
    }
    void removeText(ZkString &s, model::String &m, const ZkString &o, const model::String &om)
    {
        const bool sensitive = take() % 2 != 0;
        s.remove(o, sensitive ? Zk::CaseSensitive : Zk::CaseInsensitive);
        m.remove(om.block->units, sensitive);
    }
    void takeLeft(ZkString &s, model::String &m, const ZkString &o, const model::String &om)
    {
        const int n = number();
        s = o.left(n);
        m = om.left(n);
    }
    void takeRight(ZkString &s, model::String &m, const ZkString &o, const model::String &om)
    {
        const int n = number();
        s = o.right(n);
        m = om.right(n);
    }
    void takeMid(ZkString &s, model::String &m, const ZkString &o, const model::String &om)
    {
        const int pos = number();
        const int n = number();
        s = o.mid(pos, n);
        m = om.mid(pos, n);
    }

    void editAlone(int operation, ZkString &s, model::String &m)
    {
        switch (operation) {
        case 9: s = ZkString(), m = model::String(); break;
        case 10: setUtf8(s, m); break;
        case 11: setUnits(s, m); break;
        case 12: appendUtf8(s, m); break;
        case 13: prependUtf8(s, m); break;
        case 14: insertUtf8(s, m); break;
        case 15: appendUnit(s, m); break;
        case 16: prependUnit(s, m); break;
        case 17: insertUnit(s, m); break;
        case 18: removeRange(s, m); break;
        case 19: resize(s, m); break;
        case 20: truncate(s, m); break;
        case 21: chop(s, m); break;
        case 22: s.clear(), m.clear(); break;
        case 23: fill(s, m); break;
        case 24: overwrite(s, m); break;
        case 25: replaceOwn(s, m); break;
        case 26: replaceUnit(s, m); break;
        case 27: removeUnit(s, m); break;
        default: replaceUnits(s, m); break;
        }
    }
    void setUtf8(ZkString &s, model::String &m)
    {
        const std::string text = bytes();
        const int len = number();
        s = ZkString(text.c_str(), len);
        m = model::String::ofUtf8(model::String::clipped(text, len));
    }
    void setUnits(ZkString &s, model::String &m)
    {
        const model::Units text = units();
        s = made(text);
        m = model::String::ofUnits(text);
    }
    void appendUtf8(ZkString &s, model::String &m)
    {
        const std::string text = bytes();
        const int len = number();
        s.append(text.c_str(), len);
        m.appendUtf8(model::String::clipped(text, len));
    }
    void prependUtf8(ZkString &s, model::String &m)
    {
        const std::string text = bytes();
        const int len = number();
        s.prepend(text.c_str(), len);
        m.prependUtf8(model::String::clipped(text, len));
    }
    void insertUtf8(ZkString &s, model::String &m)
    {
        const std::string text = bytes();
        const int pos = number();
        const int len = number();
        s.insert(pos, text.c_str(), len);
        m.insertUtf8(pos, text, len);
    }
    void appendUnit(ZkString &s, model::String &m)
    {
        const ZkUcs2 c = unit();
        s.append(c);
        m.append({c});
    }
    void prependUnit(ZkString &s, model::String &m)
    {
        const ZkUcs2 c = unit();
        s.prepend(c);
        m.prepend({c});
    }
    void insertUnit(ZkString &s, model::String &m)
    {
        const int pos = number();
        const ZkUcs2 c = unit();
        s.insert(pos, c);
        m.insert(pos, c);
    }
    void removeRange(ZkString &s, model::String &m)
    {
        const int pos = number();
        const int n = number();
        s.remove(pos, n);
        m.remove(pos, n);
    }
    void resize(ZkString &s, model::String &m)
    {
        const int n = length();
        s.resize(n);
        m.resize(n);
    }
    void truncate(ZkString &s, model::String &m)
    {
        const int n = number();
        s.truncate(n);
        m.truncate(n);
    }
    void chop(ZkString &s, model::String &m)
    {
        const int n = number();
        s.chop(n);
        m.chop(n);
    }
    void fill(ZkString &s, model::String &m)
    {
        const ZkUcs2 c = unit();
        const int n = length();
        s.fill(c, n);
        m.fill(c, n);
    }
    void overwrite(ZkString &s, model::String &m)
    {
        const int pos = number();
        const int n = number();
        const ZkUcs2 c = unit();
        s.replace(pos, n, c);
        m.overwrite(pos, n, c);
    }
    /// The text put in is a part of the same string.
    void replaceOwn(ZkString &s, model::String &m)
    {
        const int pos = number();
        const int n = number();
        const int from = m.size() == 0 ? 0 : take() % m.size();
        const int len = m.size() == 0 ? 0 : take() % (m.size() - from + 1);
        const ZkString &readOnly = s;
        s.replace(pos, n, readOnly.constData() + from, len);
        const model::Units &all = m.block->units;
        m.replace(pos, n, model::Units(all.begin() + from, all.begin() + from + len));
    }
    void replaceUnit(ZkString &s, model::String &m)
    {
        const ZkUcs2 before = unit();
        const ZkUcs2 after = unit();
        const bool sensitive = take() % 2 != 0;
        s.replace(before, after, sensitive ? Zk::CaseSensitive : Zk::CaseInsensitive);
        m.replace(before, after, sensitive);
    }
    void replaceUnits(ZkString &s, model::String &m)
    {
        const ZkUcs2 before = unit();
        const model::Units after = units();
        const bool sensitive = take() % 2 != 0;
        s.replace(before, made(after), sensitive ? Zk::CaseSensitive : Zk::CaseInsensitive);
        m.replace(model::Units{before}, after, sensitive);
    }
    void removeUnit(ZkString &s, model::String &m)
    {
        const ZkUcs2 c = unit();
        const bool sensitive = take() % 2 != 0;
        s.remove(c, sensitive ? Zk::CaseSensitive : Zk::CaseInsensitive);
        m.remove(model::Units{c}, sensitive);
    }

    /// Keeps runs that double their text again and again from taking time and memory.
    void bound()
    {
        for (int i = 0; i < kStrings; ++i) {
            if (m_models[i].size() > 1000) {
                m_real[i] = ZkString();
                m_models[i] = model::String();
            }
        }
    }

    std::string compare(int operation)
    {
        std::ostringstream what;
        for (int i = 0; i < kStrings; ++i) {
            const ZkString &s = m_real[i];
            const model::String &m = m_models[i];
            if (model::Units(s.begin(), s.end()) != m.block->units) {
                what << "text of string " << i << ", size " << s.size() << " for " << m.size();
            } else if (s.capacity() != m.block->alloc) {
                what << "capacity of string " << i << ", " << s.capacity() << " for "
                     << m.block->alloc;
            } else if (s.constData()[s.size()] != 0) {
                what << "no terminator on string " << i;
            }
            for (int j = 0; j < i; ++j) {
                if (s.isSharedWith(m_real[j]) != (m.block == m_models[j].block)) {
                    what << "strings " << i << " and " << j << " share or do not";
                }
            }
            if (!what.str().empty()) {
                what << " after operation " << operation;
                return what.str();
            }
        }
        bound();
        return std::string();
    }

    const std::uint8_t *m_next;
    const std::uint8_t *m_end;
    ZkString m_real[kStrings];
    model::String m_models[kStrings];
};

#endif
