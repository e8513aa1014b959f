// Every program that links the library defines this flag.
#include "osrelease/osrelease.h"

bool g_kq_verbose = false;
