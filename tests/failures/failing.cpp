// SPDX-License-Identifier: GPL-3.0-or-later
// Preloaded into the program by failures.sh: makes one call fail, as on a machine without memory or
// disk.
//
//   FAIL_KIND   alloc, write, sync, close or rename: the calls that are counted; loop counts the
//               allocations in parallel loops only (of g++); kill counts all but allocations, and
//               there the process is killed
//   FAIL_AT     the number of the one that fails, from 1
//   FAIL_LOG    a file that gets an F when it has failed, and an L for the first parallel loop
//
// Writes and closes are those of files opened for writing. Allocations are those of the program, of
// the C++ library and of GSL; the runtime of OpenMP ends the process itself when it gets none.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

bool IsOf(const char* kind)
{
    const char* const wanted = std::getenv("FAIL_KIND");
    return wanted != nullptr && std::strcmp(wanted, kind) == 0;
}

void Log(const char* letter)
{
    const int log = open(std::getenv("FAIL_LOG"), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (log < 0 || write(log, letter, 1) != 1) _exit(99);
    close(log);
}

/// True for the one call that fails.
bool Fails(const char* kind)
{
    static long calls = 0;
    // Asked for each time: the first calls come before there is an environment.
    const char* const at = std::getenv("FAIL_AT");
    const bool kills = IsOf("kill") && std::strcmp(kind, "alloc") != 0;
    if (at == nullptr || (!kills && !IsOf(kind))) return false;
    if (__atomic_add_fetch(&calls, 1, __ATOMIC_RELAXED) != std::atol(at)) return false;
    Log("F");
    if (kills) raise(SIGKILL);
    return true;
}

template <typename Function>
Function Real(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

int loops = 0; // parallel loops that run
// GSL makes a little work space within a decomposition, whatever one gives to it.
thread_local bool isDecomposing = false;

template <typename Run>
void RunLoop(Run run)
{
    static bool isFirst = true;
    if (isFirst && IsOf("loop")) Log("L");
    isFirst = false;
    __atomic_add_fetch(&loops, 1, __ATOMIC_RELAXED);
    run();
    __atomic_sub_fetch(&loops, 1, __ATOMIC_RELAXED);
}

/// Failing allocations only for callers that can answer for them.
bool AllocationFails(void* caller)
{
    Dl_info from = {};
    if (dladdr(caller, &from) == 0 || from.dli_fname == nullptr) return false;
    const char* const name = from.dli_fname;
    const bool isRuntime = std::strstr(name, "libgomp") != nullptr ||
                           std::strstr(name, "libomp") != nullptr ||
                           std::strstr(name, "ld-linux") != nullptr ||
                           std::strstr(name, "san.so") != nullptr;
    if (isRuntime) return false;
    const bool inLoop = __atomic_load_n(&loops, __ATOMIC_RELAXED) > 0 && !isDecomposing;
    return IsOf("loop") ? inLoop && Fails("loop") : Fails("alloc");
}

// A stream that passes its text on to a descriptor, unless that fails.

int Descriptor(void* cookie) { return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)); }

ssize_t WriteOn(void* cookie, const char* text, size_t size)
{
    if (Fails("write")) {
        errno = ENOSPC;
        return 0;
    }
    return write(Descriptor(cookie), text, size);
}

int SeekOn(void* cookie, off64_t* to, int whence)
{
    *to = lseek(Descriptor(cookie), *to, whence);
    return *to < 0 ? -1 : 0;
}

int CloseOn(void* cookie)
{
    const bool fails = Fails("close");
    const int result = close(Descriptor(cookie));
    if (!fails) return result;
    errno = EIO;
    return EOF;
}

} // namespace

// As in the C++ library. A sanitizer has its own, which would not come here.
void* operator new(std::size_t size)
{
    void* const block = std::malloc(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

extern "C" {

// GSL 2.7 itself loses what it has of a workspace when the next part of it fails.
const char* __lsan_default_suppressions()
{
    return "leak:gsl_eigen_symm\nleak:gsl_vector_alloc"; // of eigenvalues, with vectors or not
}

int gsl_linalg_SV_decomp(void* A, void* V, void* S, void* work)
{
    static auto* const real = Real<int (*)(void*, void*, void*, void*)>("gsl_linalg_SV_decomp");
    isDecomposing = true;
    const int status = real(A, V, S, work);
    isDecomposing = false;
    return status;
}

using Loop = void (*)(void*);

void GOMP_parallel(Loop loop, void* data, unsigned team, unsigned flags)
{
    static auto* const real = Real<void (*)(Loop, void*, unsigned, unsigned)>("GOMP_parallel");
    RunLoop([=] { real(loop, data, team, flags); });
}

void GOMP_parallel_loop_nonmonotonic_dynamic(Loop loop, void* data, unsigned team, long from,
                                             long to, long step, long chunk, unsigned flags)
{
    static auto* const real =
        Real<void (*)(Loop, void*, unsigned, long, long, long, long, unsigned)>(
            "GOMP_parallel_loop_nonmonotonic_dynamic");
    RunLoop([=] { real(loop, data, team, from, to, step, chunk, flags); });
}

#define ALLOCATOR(name, parameters, arguments)                                     \
    void* name parameters                                                          \
    {                                                                              \
        static void*(*const real) parameters = Real<void*(*) parameters>(#name);   \
        if (!AllocationFails(__builtin_return_address(0))) return real arguments;  \
        errno = ENOMEM;                                                            \
        return nullptr;                                                            \
    }
ALLOCATOR(malloc, (size_t size), (size))
ALLOCATOR(calloc, (size_t count, size_t size), (count, size))
ALLOCATOR(realloc, (void* old, size_t size), (old, size))
ALLOCATOR(aligned_alloc, (size_t alignment, size_t size), (alignment, size))

FILE* fopen(const char* path, const char* mode)
{
    static auto* const real = Real<FILE* (*)(const char*, const char*)>("fopen");
    FILE* const file = real(path, mode);
    if (file == nullptr || mode[0] == 'r') return file;
    const std::intptr_t descriptor = dup(fileno(file));
    fclose(file);
    const cookie_io_functions_t functions = {nullptr, WriteOn, SeekOn, CloseOn};
    return fopencookie(reinterpret_cast<void*>(descriptor), "w", functions);
}

int fsync(int)
{
    errno = EIO;
    return Fails("sync") ? -1 : 0;
}

int rename(const char* from, const char* to)
{
    static auto* const real = Real<int (*)(const char*, const char*)>("rename");
    errno = EIO;
    return Fails("rename") ? -1 : real(from, to);
}
}
