// SPDX-License-Identifier: GPL-3.0-or-later
// Preloaded into the program by failures.sh: makes one call fail, as on a machine without memory or
// disk.
//
//   FAIL_KIND   alloc, write, sync, close or rename: the calls that are counted; kill counts all but
//               alloc, and there the process is killed
//   FAIL_AT     the number of the one that fails, from 1
//   FAIL_LOG    a file that gets a letter when it has failed
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

/// True for the one call that fails.
bool Fails(const char* kind)
{
    static long calls = 0;
    // Asked for each time: the first calls come before there is an environment.
    const char* const wanted = std::getenv("FAIL_KIND");
    const char* const at = std::getenv("FAIL_AT");
    if (wanted == nullptr || at == nullptr) return false;
    const bool kills = std::strcmp(wanted, "kill") == 0 && std::strcmp(kind, "alloc") != 0;
    if (!kills && std::strcmp(wanted, kind) != 0) return false;
    if (__atomic_add_fetch(&calls, 1, __ATOMIC_RELAXED) != std::atol(at)) return false;
    const int log = open(std::getenv("FAIL_LOG"), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (log < 0 || write(log, "F", 1) != 1) _exit(99);
    close(log);
    if (kills) raise(SIGKILL);
    return true;
}

template <typename Function>
Function Real(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
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
    return !isRuntime && Fails("alloc");
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
const char* __lsan_default_suppressions() { return "leak:gsl_eigen_symmv_alloc"; }

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
