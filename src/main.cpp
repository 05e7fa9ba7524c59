#include "shell/mainmenu.hpp"

int main()
{
    mainInit();
    return 0;
}
