#include "CSocketLayerInitializer.h"

#include <csignal>

CSocketLayerInitializer::CSocketLayerInitializer()
{
    signal(SIGPIPE, SIG_IGN);
}
