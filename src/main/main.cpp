// SPDX-License-Identifier: GPL-3.0-or-later
#include "main/process.hpp"

int main()
{
    mainInit();
    return 0;
}
