// SPDX-License-Identifier: GPL-3.0-or-later
// Kernels compiled for several widths of vectors, and the choice among them.
//
// A source named *.lanes.cpp is compiled once for each vector path, with the flags that CMakeLists.txt
// gives it, KELPRA_PATH (the path's name) and KELPRA_LANES (its doubles to a vector). It takes its
// vectors from numeric/lanes.hpp and defines a table of functions:
//
//     namespace KELPRA_PATH
//     {
//     extern const FooKernels fooKernels;
//     const FooKernels fooKernels = {...};
//     }
//
// A plain source beside it hands out the table of the path in force:
//
//     KELPRA_DECLARE_ON_PATHS(const FooKernels fooKernels)
//     const FooKernels& ActiveFoo() { return KELPRA_ON_ACTIVE_PATH(fooKernels); }
//
// All paths do the same operations in the same order for every output, side by side over outputs
// and never along a sum, so the bits do not depend on the machine. Nothing in such a source may be
// shared with code compiled for another path: all but the table stands in an unnamed namespace, and
// no inline function of another header is called.
#pragma once

enum class VectorPath { baseline, avx2, avx512 };

/// The widest path that this machine can run, or the one that ChoosePath asked for.
VectorPath ActivePath();

/// "baseline", "avx2" or "avx512"
const char* PathName(VectorPath path);

/// Takes the path of that name from now on; null goes back to the widest. Returns false, and
/// changes nothing, if this machine cannot run it. For tests and the benchmark; not while threads
/// are at work.
bool ChoosePath(const char* name);

#if defined(KELPRA_WIDE_PATHS)
#define KELPRA_DECLARE_ON_PATHS(declaration) \
    namespace baseline                       \
    {                                        \
    extern declaration;                      \
    }                                        \
    namespace avx2                           \
    {                                        \
    extern declaration;                      \
    }                                        \
    namespace avx512                         \
    {                                        \
    extern declaration;                      \
    }
#define KELPRA_ON_ACTIVE_PATH(table)                          \
    (ActivePath() == VectorPath::avx512   ? avx512::table     \
     : ActivePath() == VectorPath::avx2   ? avx2::table       \
                                          : baseline::table)
#else
#define KELPRA_DECLARE_ON_PATHS(declaration) \
    namespace baseline                       \
    {                                        \
    extern declaration;                      \
    }
#define KELPRA_ON_ACTIVE_PATH(table) (baseline::table)
#endif
