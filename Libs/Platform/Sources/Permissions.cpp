#include "Permissions.h"

#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace Orx::KrpcLinuxTools
{
Permissions* Permissions::GetInstance()
{
    static std::once_flag S_Once_O;
    static Permissions* S_pInstance_O = nullptr;
    // Files the process creates must not be writable or executable by others: mask 003.
    std::call_once(S_Once_O, [] { S_pInstance_O = new Permissions(false, 3); });
    return S_pInstance_O;
}

Permissions::Permissions(bool dropNow, int fileCreationMask) : mUmask_S32(fileCreationMask)
{
    uid_t real_U32 = 0;
    uid_t effective_U32 = 0;
    uid_t saved_U32 = 0;
    if (getresuid(&real_U32, &effective_U32, &saved_U32) == 0)
    {
        mRealUid_S32 = static_cast<int>(real_U32);
        mEffectiveUid_S32 = static_cast<int>(effective_U32);
        mSavedUid_S32 = static_cast<int>(saved_U32);
    }
    umask(static_cast<mode_t>(mUmask_S32));
    if (dropNow)
    {
        DropPriveleges();
    }
}

bool Permissions::HasPrivileges() const
{
    uid_t effective_U32 = geteuid();
    if (effective_U32 == static_cast<uid_t>(Users::root_uid))
    {
        return true;
    }
    // A set-user-ID process whose raised identity is in force.
    return effective_U32 != getuid();
}

bool Permissions::DropPriveleges()
{
    if (geteuid() == getuid())
    {
        return false;
    }
    return seteuid(getuid()) == 0;
}

bool Permissions::RestorePriveleges()
{
    return seteuid(static_cast<uid_t>(mEffectiveUid_S32)) == 0;
}

bool Permissions::ChangeRealUser(int uid)
{
    if (!HasPrivileges() && seteuid(static_cast<uid_t>(mEffectiveUid_S32)) != 0)
    {
        return false;
    }
    if (setuid(static_cast<uid_t>(uid)) != 0)
    {
        return false;
    }
    return getuid() == static_cast<uid_t>(uid);
}

bool Permissions::RestoreRealUser(bool keepRealAsEffective)
{
    uid_t real_U32 = static_cast<uid_t>(mRealUid_S32);
    uid_t effective_U32 = static_cast<uid_t>(mEffectiveUid_S32);
    if (keepRealAsEffective)
    {
        return setresuid(real_U32, real_U32, effective_U32) == 0;
    }
    return setresuid(real_U32, effective_U32, static_cast<uid_t>(mSavedUid_S32)) == 0;
}

bool Permissions::RestoreRealUser()
{
    return RestoreRealUser(false);
}
} // namespace Orx::KrpcLinuxTools
