// The prerequisite check, over and over: check TIMES --distrib NAME
#include "osrelease/osrelease.h"

#include <cstdlib>

bool g_kq_verbose = false;

int main(int argc, char** argv)
{
    const int times = argc > 1 ? std::atoi(argv[1]) : 1;
    for (int i = 0; i < times; ++i)
        COSRelease::CheckPrerequisites(argc, argv);
}
