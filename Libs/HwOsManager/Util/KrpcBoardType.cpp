#include "KrpcBoardType.h"

#include <unistd.h>

unsigned int GetKrpcBoardType()
{
    // Only the newer host controller board carries the codec board node.
    return access("/dev/zq8_0", F_OK) == 0 ? 1u : 0u;
}
