#include "CFileUtils.h"

// The destructor is defined here so that the class's virtual table is emitted once, in this library.
OrxHwLGPL::CFileUtils::~CFileUtils() = default;
