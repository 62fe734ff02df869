#pragma once
// Remembers the user identities the process started with and switches between them.

namespace Orx::KrpcLinuxTools
{
namespace Users
{
constexpr int root_uid = 0;
}

class Permissions
{
public:
    static Permissions* GetInstance();

    Permissions(bool dropNow, int fileCreationMask);

    bool HasPrivileges() const;
    bool DropPriveleges();
    bool RestorePriveleges();
    bool ChangeRealUser(int uid);
    bool RestoreRealUser(bool keepRealAsEffective);
    bool RestoreRealUser();

private:
    int mRealUid_S32 = 0;
    int mEffectiveUid_S32 = 0;
    int mSavedUid_S32 = 0;
    int mUmask_S32 = 0;
};
} // namespace Orx::KrpcLinuxTools
