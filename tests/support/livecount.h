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
    Counted(int value) : self(this), number(value) { ++alive; }
    Counted(const Counted &other) : Counted(other.checked()) {}
    Counted(Counted &&other) noexcept : Counted(other.taken()) {}
    Counted &operator=(const Counted &other)
    {
        expectAlive();
        number = other.checked();
        isMovedFrom = false;
        return *this;
    }
    Counted &operator=(Counted &&other) noexcept
    {
        expectAlive();
        number = other.checked();
        isMovedFrom = false;
        other.isMovedFrom = true; // itself included, as a string would be
        return *this;
    }
    ~Counted()
    {
        expectAlive();
        self = nullptr;
        --alive;
    }

    operator int() const { return checked(); }

    static inline int alive = 0;

private:
    void expectAlive() const { EXPECT_EQ(self, this) << "not a living element"; }
    int checked() const
    {
        expectAlive();
        EXPECT_FALSE(isMovedFrom) << "element " << number << " was moved away";
        return number;
    }
    int taken()
    {
        const int value = checked();
        isMovedFrom = true;
        return value;
    }

    const Counted *self;
    int number;
    bool isMovedFrom = false;
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
    NoLeak() : before(Counted::alive) {}
    ~NoLeak() { EXPECT_EQ(Counted::alive, before); }
    NoLeak(const NoLeak &) = delete;
    NoLeak &operator=(const NoLeak &) = delete;

private:
    int before;
};

#endif
