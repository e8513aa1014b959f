#include "console/console.h"

#include <cstdarg>
#include <cstdio>

bool g_kq_consoleSetupFlag = false;

namespace {

// Any non-zero byte counts as true. Reading a bool whose byte is neither 0 nor 1 is undefined behaviour.
bool traceIsOn()
{
    return reinterpret_cast<const unsigned char&>(g_kq_consoleSetupFlag) != 0;
}

} // namespace

int KQCONSOLETRACE(const char* format, ...)
{
    if (!traceIsOn())
        return 0;

    va_list values;
    va_start(values, format);
    const int written = std::vfprintf(stdout, format, values);
    va_end(values);
    std::fflush(stdout);
    return written;
}

void KQCONSOLEPAUSE() {}

int AnsiToUnicode16(const char* /*source*/, wchar_t* destination, int capacity)
{
    if (capacity < 1)
        return 0;
    destination[0] = L'\0';
    return 1;
}

int Unicode16ToAnsi(wchar_t* /*source*/, char* destination, int capacity)
{
    if (capacity > 0)
        destination[0] = '\0';
    return 0;
}
