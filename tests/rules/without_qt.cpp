#include "osrelease/osrelease.h"

#include <cstdio>

bool g_kq_verbose = false;

int main(int argc, char** argv)
{
    std::puts(COSRelease(argc, argv).m_id.c_str());
}
