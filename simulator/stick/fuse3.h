#pragma once

// The version of its interface that libfuse is asked for, in the one place where it is included.
#define FUSE_USE_VERSION 35
#include <fuse.h>
