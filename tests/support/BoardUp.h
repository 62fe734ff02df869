#pragma once
// Brings the simulated server's codec board up the way the tool does at start: drivers opened,
// interface record and mappings fetched, board woken. Test cases that need the EEPROM mailbox call
// it first; the others leave the board down.
#include "CZebToolBox.h"
#include "ComramDriverApi.h"
#include "DriverApiTypes.h"
#include "KvDriverApi.h"

#include <cstring>

inline bool BringBoardUp()
{
    KvDriverApi* pApi = KvDriverApi::S_GetInstance(9);
    memset(GL_PinguInterface_X, 0, sizeof(GL_PinguInterface_X));
    KvDriverApi::S_GetKvDriverInterface(pApi, &GL_PinguInterface_X);
    ComramDriverApi::GetBaseIsaIoPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &GL_pBaseIsaIoAccess_U8);
    CZebToolBox toolBox(SYS_CTL_BOARD_TYPE_UNKNOWN);
    return toolBox.BoardWakeUp(3) == 0;
}
