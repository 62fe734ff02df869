#include "CIoPortAccess.h"

#include "Permissions.h"

#include <bitset>
#include <sys/io.h>

namespace
{
constexpr uint32_t NB_PORTS = 0x10000;
std::bitset<NB_PORTS> S_Granted_X;
} // namespace

int CIoPortAccess::S_SetPermission(uint32_t first, uint32_t count, int enable)
{
    Orx::KrpcLinuxTools::Permissions* pPermissions = Orx::KrpcLinuxTools::Permissions::GetInstance();
    const bool raised_B = !pPermissions->HasPrivileges();
    if (raised_B && !pPermissions->RestorePriveleges())
    {
        return -1;
    }
    const int result = ioperm(first, count, enable);
    if (raised_B)
    {
        pPermissions->DropPriveleges();
    }
    return result;
}

void CIoPortAccess::S_Record(uint32_t first, uint32_t count, bool granted)
{
    for (uint32_t port_U32 = first; port_U32 < NB_PORTS && port_U32 - first < count; ++port_U32)
    {
        S_Granted_X[port_U32] = granted;
    }
}

int CIoPortAccess::S_Grant(uint32_t first, uint32_t count)
{
    const int result = S_SetPermission(first, count, 1);
    if (result == 0)
    {
        S_Record(first, count, true);
    }
    return result;
}

int CIoPortAccess::S_Revoke(uint32_t first, uint32_t count)
{
    // Forget the grant first: whatever the kernel answers, the ports are no longer ours.
    S_Record(first, count, false);
    return S_SetPermission(first, count, 0);
}

bool CIoPortAccess::S_IsGranted(uint32_t port)
{
    return port < NB_PORTS && S_Granted_X[port];
}

uint8_t CIoPortAccess::S_In8(uint32_t port)
{
    if (!S_IsGranted(port))
    {
        return 0xFF;
    }
    uint8_t value_U8;
    const uint16_t port_U16 = static_cast<uint16_t>(port);
    __asm__ __volatile__("inb %w1, %b0" : "=a"(value_U8) : "Nd"(port_U16));
    return value_U8;
}

void CIoPortAccess::S_Out8(uint32_t port, uint8_t value)
{
    if (!S_IsGranted(port))
    {
        return;
    }
    const uint16_t port_U16 = static_cast<uint16_t>(port);
    __asm__ __volatile__("outb %b0, %w1" : : "a"(value), "Nd"(port_U16));
}
