/* Resample_iMalloc.h - zeroed arrays of one, two and three dimensions, for C++.
 *
 *     float** rows;
 *     if (!iCalloc(rows, 2, 960))
 *         return false;
 *     ...
 *     iFree(rows, 2);
 *
 * T is float, int, short, bool or DCOMPLEX (spectral/Resample_Complex.h).  Elements are zero and
 * start on a 64-byte boundary.  A two-dimensional array is one such block, row i at
 * row 0 + i * cols, with a table of pointers to its rows; a three-dimensional one is a table of
 * separate two-dimensional ones.  Counts may be 0.
 *
 * iCalloc returns true; or false when memory is short or the size of a block exceeds 64 bits:
 * then nothing stays allocated and p is null.  The same holds when it throws
 * std::bad_array_new_length, for a table of 2^60 pointers or more.  What p pointed to before is
 * not looked at.
 *
 * iFree takes what iCalloc of the same form gave, or null, which it ignores; p is null
 * afterwards.  Each array belongs to its caller; distinct ones may be used in distinct
 * threads. */
#ifndef RSMPL_RESAMPLE_IMALLOC_H
#define RSMPL_RESAMPLE_IMALLOC_H

/* p[0 .. n). */
template <typename T>
[[gnu::visibility("default")]] bool iCalloc(T*& p, unsigned long n);
template <typename T>
[[gnu::visibility("default")]] void iFree(T*& p);

/* p[0 .. rows)[0 .. cols).  iFree finds the block through row 0: with p[0] set to null it
 * releases the table alone.  It does not look at rows. */
template <typename T>
[[gnu::visibility("default")]] bool iCalloc(T**& p, unsigned long rows, unsigned long cols);
template <typename T>
[[gnu::visibility("default")]] void iFree(T**& p, unsigned long rows);

/* p[0 .. a)[0 .. b)[0 .. c).  iFree needs the a that iCalloc had. */
template <typename T>
[[gnu::visibility("default")]] bool iCalloc(T***& p, unsigned long a, unsigned long b,
                                            unsigned long c);
template <typename T>
[[gnu::visibility("default")]] void iFree(T***& p, unsigned long a, unsigned long b);

#endif
