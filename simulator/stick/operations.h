#pragma once

#include "stick/fuse3.h"

/// The file system's calls over a Medium, which is its private data.
const fuse_operations& stickOperations();
