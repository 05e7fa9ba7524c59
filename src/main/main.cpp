#include "main/process.hpp"

int main()
{
    mainInit();
    return 0;
}
