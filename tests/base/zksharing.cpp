#include <private/zksharing.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

struct Block {
    ZkRefCount ref;
    bool sharable;
    int value;
};

int destroyed = 0;
bool copyingFails = false;

// A container of one number, as small as what shares a block can be.
class Number
{
public:
    Number() : d(emptyBlock()) { zkRetain(d, emptyBlock()); }
    explicit Number(int value) : d(new Block{{1}, true, value}) {}
    Number(const Number &other) : Number(other.d) { Sharing::join(*this); }
    ~Number() { Sharing::leave(d); }
    Number &operator=(const Number &other)
    {
        Sharing::assign(this, other);
        return *this;
    }
    void swap(Number &other) noexcept { Sharing::swap(*this, other); }
    bool isSharedWith(const Number &other) const { return d == other.d; }
    void setSharable(bool on) { Sharing::setSharable(*this, on); }

    int value() const { return d->value; }
    int owners() const { return d->ref; }
    bool isAlone() { return Sharing::isAlone(*this); }
    void set(int value)
    {
        Sharing::detach(*this);
        d->value = value;
    }

    static int ownersOfEmpty() { return emptyBlock()->ref; }

private:
    friend struct ZkSharing<Number>;
    typedef ZkSharing<Number> Sharing;

    explicit Number(Block *block) : d(block) {}
    Block *&block() { return d; }
    static Block *emptyBlock()
    {
        static Block empty = {{1}, true, 0};
        return &empty;
    }
    void copyBlock()
    {
        if (copyingFails) {
            throw std::runtime_error("no copy");
        }
        Number fresh(d->value);
        swap(fresh);
    }
    static void destroyBlock(Block *block)
    {
        ++destroyed;
        delete block;
    }

    Block *d;
};

TEST(ZkSharing, CopiesShareAndTheLastOwnerEndsTheBlock)
{
    destroyed = 0;
    {
        Number a(5);
        const Number b = a;
        Number c;
        c = b;
        EXPECT_TRUE(a.isSharedWith(b) && b.isSharedWith(c));
        EXPECT_EQ(a.owners(), 3);
        const Number &same = c;
        c = same;
        EXPECT_EQ(a.owners(), 3);
        EXPECT_FALSE(a.isAlone());
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(ZkSharing, WritesToACopyOfItsOwn)
{
    Number a(5);
    Number b = a;
    b.set(6);
    EXPECT_EQ(a.value(), 5);
    EXPECT_EQ(b.value(), 6);
    EXPECT_TRUE(a.isAlone() && b.isAlone());
}

TEST(ZkSharing, NeverEndsOrWritesTheEmptyBlock)
{
    destroyed = 0;
    const int before = Number::ownersOfEmpty();
    {
        Number a;
        Number b = a;
        EXPECT_TRUE(a.isSharedWith(b));
        EXPECT_FALSE(a.isAlone());
        b.set(3);
        EXPECT_EQ(a.value(), 0);
    }
    EXPECT_EQ(Number::ownersOfEmpty(), before);
    EXPECT_EQ(destroyed, 1); // of `b` alone
}

TEST(ZkSharing, CopiesABlockThatIsNotSharableAtOnce)
{
    Number a(5);
    a.setSharable(false);
    const Number b = a;
    EXPECT_FALSE(a.isSharedWith(b));
    EXPECT_EQ(b.value(), 5);
    EXPECT_TRUE(a.isAlone());
    a.setSharable(true);
    EXPECT_TRUE(a.isSharedWith(Number(a)));
}

TEST(ZkSharing, GivesTheShareBackWhenCopyingThrows)
{
    Number a(5);
    a.setSharable(false);
    copyingFails = true;
    EXPECT_THROW(Number{a}, std::runtime_error);
    copyingFails = false;
    EXPECT_EQ(a.owners(), 1);
}

} // namespace
