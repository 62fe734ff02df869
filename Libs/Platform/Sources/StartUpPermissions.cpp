#include "Permissions.h"
#include "StartUpOrder.h"

using Orx::KrpcLinuxTools::Permissions;

Permissions* GL_pDriverPermissions_X = nullptr;
Permissions* GL_pPermissions_X = nullptr;

// The driver interfaces take the singleton first, so that the user identities are captured and
// the file-creation mask (003) is in force before any driver handle or log file is opened.
SARVIK_STARTUP_FUNCTION(DRIVER_PERMISSIONS) static void S_TakeDriverPermissions()
{
    GL_pDriverPermissions_X = Permissions::GetInstance();
}

SARVIK_STARTUP_FUNCTION(PERMISSIONS_MODULE) static void S_TakePermissions()
{
    GL_pPermissions_X = Permissions::GetInstance();
}
