#include "shell/failure.hpp"

#include <cstdio>
#include <cstdlib>

void Fail(FailureCode code)
{
    throw Failure{code};
}

void nrerror(const char* message)
{
    std::fprintf(stderr, "%s\n", message);
    std::fprintf(stderr, "Sorry, you have to quit and restart the program.\n");
    std::exit(1);
}
