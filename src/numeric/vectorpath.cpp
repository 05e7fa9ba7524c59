// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/vectorpath.hpp"

#include <cstring>
#include <initializer_list>

namespace {

VectorPath WidestPath()
{
#if defined(KELPRA_WIDE_PATHS)
    if (__builtin_cpu_supports("avx512f") != 0) return VectorPath::avx512;
    if (__builtin_cpu_supports("avx2") != 0) return VectorPath::avx2;
#endif
    return VectorPath::baseline;
}

const VectorPath widest = WidestPath();
VectorPath active = widest;

} // namespace

VectorPath ActivePath()
{
    return active;
}

const char* PathName(VectorPath path)
{
    switch (path) {
    case VectorPath::avx512: return "avx512";
    case VectorPath::avx2: return "avx2";
    default: return "baseline";
    }
}

bool ChoosePath(const char* name)
{
    if (name == nullptr) {
        active = widest;
        return true;
    }
    for (const VectorPath path : {VectorPath::baseline, VectorPath::avx2, VectorPath::avx512}) {
        if (path > widest || std::strcmp(name, PathName(path)) != 0) continue;
        active = path;
        return true;
    }
    return false;
}
