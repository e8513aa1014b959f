// What every host program of the library defines.
#include "osrelease/osrelease.h"

bool g_kq_verbose = false;
