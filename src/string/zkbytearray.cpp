#include "zkbytearray.h"

#include "string/zktextlength.h"

#include <algorithm>
#include <cstring>

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ZkByteArray::Data) == 16, "four words on the device");
#endif

ZkByteArray::Data ZkByteArray::Data::shared_null = {{1}, 0, 0, nullptr};

void ZkByteArray::Data::allocMemory(Data *d, std::int64_t n, bool grow)
{
    if (d->data != nullptr && d->alloc >= n) {
        return;
    }
    const std::int64_t bytes = grow ? 2 * n : n;
    d->data = static_cast<char *>(zkReallocate(d->data, bytes));
    d->alloc = static_cast<int>(bytes);
}

ZkByteArray::ZkByteArray(int n, char c) : d(createData())
{
    if (n < 1) {
        return;
    }
    Data::allocMemory(d, static_cast<std::int64_t>(n) + 1, false);
    std::memset(d->data, static_cast<unsigned char>(c), static_cast<std::size_t>(n));
    d->data[n] = '\0';
    d->size = n;
}

ZkByteArray::ZkByteArray(const char *s, int len)
    : ZkByteArray(std::string_view(s, static_cast<std::size_t>(zkTextLength(s, len))))
{
}

ZkByteArray::ZkByteArray(std::string_view bytes) : d(createData())
{
    if (bytes.data() == nullptr) {
        return;
    }
    const int n = zkClippedLength(bytes.size());
    Data::allocMemory(d, static_cast<std::int64_t>(n) + 1, false);
    std::memcpy(d->data, bytes.data(), static_cast<std::size_t>(n));
    d->data[n] = '\0';
    d->size = n;
}

void ZkByteArray::fromRawBytes(char *p, int n, bool copy)
{
    if (p == nullptr) {
        return;
    }
    const int size = n < 0 ? zkTextLength(p, -1) : n;
    Data *block = createData();
    block->size = size;
    if (copy) {
        Data::allocMemory(block, static_cast<std::int64_t>(size) + 1, false);
        std::memcpy(block->data, p, static_cast<std::size_t>(size));
        block->data[size] = '\0';
    } else {
        block->data = p;
        block->alloc = size;
    }
    // Last, since the bytes copied may be this array's own.
    d.adopt(block);
}

bool ZkByteArray::operator==(const ZkByteArray &other) const
{
    return text() == other.text();
}

bool ZkByteArray::operator<(const ZkByteArray &other) const
{
    const bool shorter = d->size < other.d->size;
    const int common = std::min(d->size, other.d->size);
    for (int i = 0; i < common; ++i) {
        const auto left = static_cast<unsigned char>(d->data[i]);
        const auto right = static_cast<unsigned char>(other.d->data[i]);
        if (left == 0 || right == 0) {
            return shorter;
        }
        if (left != right) {
            return left < right;
        }
    }
    return shorter;
}

ZkByteArray::Data *ZkByteArray::createData()
{
    return ZkSharedBlock<Data>::create();
}

std::string_view ZkByteArray::text() const
{
    const std::string_view bytes = toStdStringView();
    return bytes.substr(0, bytes.find('\0'));
}

std::size_t std::hash<ZkByteArray>::operator()(const ZkByteArray &bytes) const noexcept
{
    const std::string_view all = bytes.toStdStringView();
    return std::hash<std::string_view>()(all.substr(0, all.find('\0')));
}
