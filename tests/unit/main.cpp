#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <gsl/gsl_errno.h>

#include "shell/console.hpp"
#include "shell/files.hpp"

int main(int argc, char** argv)
{
    gsl_set_error_handler_off(); // as the program does at its start
    console.in = &StandardInput();
    console.out = stdout;
    return doctest::Context(argc, argv).run();
}
