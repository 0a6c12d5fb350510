// Holds one value of every kind that zk.py shows; `check` stops it in `held`.

#include <zkbytearray.h>
#include <zkhash.h>
#include <zklist.h>
#include <zkmap.h>
#include <zkstring.h>
#include <zkstringlist.h>
#include <zkvector.h>

struct Place {
    int x;
    int y;
};

// Everything in `main` is made when this is called.
__attribute__((noinline)) void held(const void *of)
{
    asm volatile("" : : "r"(of) : "memory");
}

int main()
{
    const ZkString text("na\xC3\xAFve \"\xD8\xB3\""), nothing;
    const ZkByteArray bytes("raw");
    ZkString moved("moved away");
    const ZkString taken = std::move(moved);

    const ZkVector<int> numbers = {3, 1, 2};
    const ZkVector<Place> places = {{1, 2}, {3, 4}};
    const ZkVector<ZkString> none;
    const ZkVector<ZkVector<int>> rows = {{1}, {}, {2, 3}};

    ZkList<ZkString> words = {"one", "two"};
    words.prepend("zero");
    const ZkList<const Place *> pointers = {places.constData(), nullptr};
    const ZkStringList names = words;

    const ZkHash<int, const char *> spelt = {{7, "seven"}, {-1, "minus one"}};
    const ZkHash<ZkString, short> lengths = {{"abc", short(3)}};
    const ZkMap<int, int> squares = {{3, 9}, {-2, 4}, {1, 1}};
    const ZkMap<ZkString, char> initials = {{"zeta", 'z'}, {"alpha", 'a'}};
    const ZkMap<char, double> halves = {{'a', 0.5}};

    ZkVector<int> broken(3, 0);
    ZkVectorData *const header = reinterpret_cast<ZkVectorData *>(broken.data()) - 1;
    header->size = 5; // as a stray write leaves it

    const void *const kept[] = {&text,  &nothing, &bytes,   &taken,   &none,     &rows,  &pointers,
                                &names, &spelt,   &lengths, &squares, &initials, &halves};
    held(kept);
    header->size = 3;
    return 0;
}
