// The smallest client: it loads the library and uses none of it but the flag.
#include "console/console.h"

bool g_kq_verbose = false;

int main()
{
    return g_kq_consoleSetupFlag ? 1 : 0;
}
