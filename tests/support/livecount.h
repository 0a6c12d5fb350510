#ifndef LIVECOUNT_H
#define LIVECOUNT_H

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>

/// An element that counts how many of its kind live and knows its own address,
/// so that a leak, a second destruction or a move by bytes is noticed. What was moved
/// from may be assigned to or destroyed; whoever reads it is noticed as well.
class Counted
{
public:
    Counted() : Counted(0) {}
    Counted(int value) : m_self(this), m_number(value) { ++alive; }
    Counted(const Counted &other) : Counted(other.checked()) {}
    Counted(Counted &&other) noexcept : Counted(other.taken()) {}
    Counted &operator=(const Counted &other)
    {
        expectAlive();
        m_number = other.checked();
        m_isMovedFrom = false;
        return *this;
    }
    Counted &operator=(Counted &&other) noexcept
    {
        expectAlive();
        m_number = other.checked();
        m_isMovedFrom = false;
        other.m_isMovedFrom = true; // itself included, as a string would be
        return *this;
    }
    ~Counted()
    {
        expectAlive();
        m_self = nullptr;
        --alive;
    }

    operator int() const { return checked(); }

    static inline int alive = 0;

private:
    void expectAlive() const { EXPECT_EQ(m_self, this) << "not a living element"; }
    int checked() const
    {
        expectAlive();
        EXPECT_FALSE(m_isMovedFrom) << "element " << m_number << " was moved away";
        return m_number;
    }
    int taken()
    {
        const int value = checked();
        m_isMovedFrom = true;
        return value;
    }

    const Counted *m_self;
    int m_number;
    bool m_isMovedFrom = false;
};

/// An element whose copies fail once its allowance is used up.
struct Throwing {
    explicit Throwing(int n = 0) : counted(n) {}
    Throwing(const Throwing &other) : counted(other.counted)
    {
        if (allowance-- == 0) {
            throw std::runtime_error("no more copies");
        }
    }
    Throwing &operator=(const Throwing &) = default;
    operator int() const { return counted; }

    static inline int allowance = INT_MAX;
    Counted counted;
};

/// Expects, when it goes out of scope, as many living elements as at its start.
class NoLeak
{
public:
    NoLeak() : m_before(Counted::alive) {}
    ~NoLeak() { EXPECT_EQ(Counted::alive, m_before); }
    NoLeak(const NoLeak &) = delete;
    NoLeak &operator=(const NoLeak &) = delete;

private:
    int m_before;
};

#endif
