#include "fir/Resample_iMalloc.h"

#include "spectral/Resample_Complex.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace
{

constexpr std::size_t kAlignment = 64;

// Aligned zeroed memory, or null.  The address that calloc gave is kept in the word before it:
// that is at least as far from it as calloc aligns, which a pointer fits into.
void* allocate_block(std::size_t count, std::size_t size)
{
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes) ||
        __builtin_add_overflow(bytes, kAlignment, &bytes))
        return nullptr;
    void* raw = std::calloc(bytes, 1);
    if (raw == nullptr)
        return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(raw);
    void* start = static_cast<char*>(raw) + (kAlignment - address % kAlignment);
    static_cast<void**>(start)[-1] = raw;
    return start;
}

void free_block(void* start)
{
    std::free(static_cast<void**>(start)[-1]);
}

void check_table(unsigned long count)
{
    std::ptrdiff_t bytes = 0;
    if (__builtin_mul_overflow(count, sizeof(void*), &bytes))
        throw std::bad_array_new_length();
}

// A table of no rows still has room for one pointer, which iFree reads.
template <typename T>
T* allocate_table(unsigned long count)
{
    return new (std::nothrow) T[std::max(count, 1UL)];
}

} // namespace

template <typename T>
bool iCalloc(T*& p, unsigned long n)
{
    p = static_cast<T*>(allocate_block(n, sizeof(T)));
    return p != nullptr;
}

template <typename T>
void iFree(T*& p)
{
    if (p == nullptr)
        return;
    free_block(p);
    p = nullptr;
}

template <typename T>
bool iCalloc(T**& p, unsigned long rows, unsigned long cols)
{
    p = nullptr;
    check_table(rows);
    unsigned long count = 0;
    if (__builtin_mul_overflow(rows, cols, &count))
        return false;
    T** table = allocate_table<T*>(rows);
    if (table == nullptr)
        return false;
    if (!iCalloc(table[0], count)) {
        delete[] table;
        return false;
    }
    for (unsigned long i = 1; i < rows; ++i)
        table[i] = table[0] + i * cols;
    p = table;
    return true;
}

template <typename T>
void iFree(T**& p, unsigned long /*rows*/)
{
    if (p == nullptr)
        return;
    iFree(p[0]);
    delete[] p;
    p = nullptr;
}

template <typename T>
bool iCalloc(T***& p, unsigned long a, unsigned long b, unsigned long c)
{
    p = nullptr;
    check_table(a);
    if (a > 0)
        check_table(b); // before there is anything that its exception would leave behind
    T*** table = allocate_table<T**>(a);
    if (table == nullptr)
        return false;
    for (unsigned long slab = 0; slab < a; ++slab) {
        if (!iCalloc(table[slab], b, c)) {
            iFree(table, slab, b);
            return false;
        }
    }
    p = table;
    return true;
}

template <typename T>
void iFree(T***& p, unsigned long a, unsigned long b)
{
    if (p == nullptr)
        return;
    for (unsigned long slab = 0; slab < a; ++slab)
        iFree(p[slab], b);
    delete[] p;
    p = nullptr;
}

// NOLINTBEGIN(bugprone-macro-parentheses): T is a type
#define RSMPL_INSTANTIATE(T)                                                                       \
    template bool iCalloc(T*&, unsigned long);                                                     \
    template void iFree(T*&);                                                                      \
    template bool iCalloc(T**&, unsigned long, unsigned long);                                     \
    template void iFree(T**&, unsigned long);                                                      \
    template bool iCalloc(T***&, unsigned long, unsigned long, unsigned long);                     \
    template void iFree(T***&, unsigned long, unsigned long)
// NOLINTEND(bugprone-macro-parentheses)

RSMPL_INSTANTIATE(float);
RSMPL_INSTANTIATE(int);
RSMPL_INSTANTIATE(short);
RSMPL_INSTANTIATE(bool);
RSMPL_INSTANTIATE(DCOMPLEX);
