#include "CSysLogDestination.h"

CSysLogDestination::~CSysLogDestination() = default;
