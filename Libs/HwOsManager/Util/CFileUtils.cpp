#include "CFileUtils.h"

// Anchors the class's virtual table in this library.
