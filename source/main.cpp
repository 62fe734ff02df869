#include "ComramDriverApi.h"
#include "KvDriverApi.h"
#include "Q7KManagement.h"

namespace Q7KManagement = ORX::KV::Hardware::Q7KHelpers::Q7KManagement;

int main(int argc, char** argv)
{
    // [reader session: command line]

    // Communication RAM and timecode drivers; the handle is null when they could not be opened,
    // and every call below then reports a status instead of touching anything.
    KvDriverApi* pKvDriverApi = KvDriverApi::S_GetInstance(9);
    for (uintptr_t& entry : GL_PinguInterface_X)
    {
        entry = 0;
    }
    KvDriverApi::S_GetKvDriverInterface(pKvDriverApi, &GL_PinguInterface_X);
    ComramDriverApi::GetBaseIsaIoPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &GL_pBaseIsaIoAccess_U8);
    // Kept for its query of the host board type; the answer is not needed here.
    KvDriverApi::S_KrpcBoardType(pKvDriverApi);
    _MMAP_COMRAM volatile* pComram_X = nullptr;
    ComramDriverApi::GetComramPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &pComram_X);
    Q7KManagement::InitQ7KHelper(GL_pBaseIsaIoAccess_U8,
                                 pComram_X != nullptr ? pComram_X->Byte_U8 : nullptr);

    // [reader session: connect, report, disconnect]

    Q7KManagement::ShutdownQ7KHelper();

    // [reader session: destroyed here]
    return 0;
}
