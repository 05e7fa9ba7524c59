// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/complaint.hpp"

#include <cstdio>

void Complain(const char* format, ...)
{
    std::fflush(stdout);
    std::va_list items;
    va_start(items, format);
    std::vfprintf(stderr, format, items);
    va_end(items);
}

void Bell()
{
    std::putchar(7);
}
