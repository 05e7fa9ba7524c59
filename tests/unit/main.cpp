// SPDX-License-Identifier: GPL-3.0-or-later
#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <gsl/gsl_errno.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "shell/console.hpp"
#include "shell/files.hpp"

int main(int argc, char** argv)
{
    gsl_set_error_handler_off(); // as the program does at its start
    console.in = &StandardInput();
    console.out = stdout;
    // Tests capture standard output, so what they report goes to a copy of it.
    std::ofstream report("/dev/fd/" + std::to_string(dup(STDOUT_FILENO)), std::ios::app);
    report << std::unitbuf;
    doctest::Context context(argc, argv);
    if (report.is_open()) context.setCout(&report);
    return context.run();
}
