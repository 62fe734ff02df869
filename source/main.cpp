// Sarvik: prints the unit's serial number and chassis model, as two text lines or with
// -j/--json as a JSON object. Prints nothing when the board or the record cannot be read (the
// reasons are in syslog) and always exits with status 0.
#include "ComramDriverApi.h"
#include "DriverApiTypes.h"
#include "KvDriverApi.h"
#include "Permissions.h"
#include "Q7KManagement.h"
#include "Sarvik.h"

#include <cstring>
#include <exception>
#include <getopt.h>
#include <iostream>
#include <json/json.h>
#include <string>
#include <syslog.h>

// The tool's own module initialises last: the privileges singleton it keeps here was created by
// the driver handles' modules, before any handle could switch users.
Orx::KrpcLinuxTools::Permissions* GL_pProcessPermissions_O = Orx::KrpcLinuxTools::Permissions::GetInstance();

namespace
{
const struct option long_options[] = {
    {"json", no_argument, nullptr, 'j'},
    {nullptr, 0, nullptr, 0},
};

void PrintReport(Orx::Corvane::Sarvik& session, bool json_B)
{
    if (json_B)
    {
        Json::Value root;
        root["SerialNumber"] = Json::Value(session.GetSerialNumber());
        root["Chassis"] = Json::Value(session.GetChassis());
        const std::string text = root.toStyledString();
        std::cout << std::endl << text << std::endl;
        return;
    }
    const char* pSerial_c = session.GetSerialNumber();
    std::cout << "Serial number : " << pSerial_c << std::endl;
    const char* pChassis_c = session.GetChassis();
    std::cout << "Chassis : " << pChassis_c << std::endl;
}
} // namespace

int main(int argc, char** argv)
{
    bool json_B = false;
    int32_t optionIndex_S32 = 0;
    int option_S32 = 0;
    // Unknown options and positional arguments are ignored: scripts may pass more than we know.
    while ((option_S32 = getopt_long(argc, argv, "j", long_options, &optionIndex_S32)) != -1)
    {
        if (option_S32 == 'j')
        {
            json_B = true;
        }
    }

    // Communication RAM and timecode drivers only.
    KvDriverApi* pDriverApi_O =
        KvDriverApi::S_GetInstance(KvDriverApi::S_MASK_COMRAM | KvDriverApi::S_MASK_TIMECODE);
    memset(GL_PinguInterface_X, 0, sizeof(GL_PinguInterface_X));
    KvDriverApi::S_GetKvDriverInterface(pDriverApi_O, &GL_PinguInterface_X);
    ComramDriverApi::GetBaseIsaIoPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &GL_pBaseIsaIoAccess_U8);
    // Queried for its side effect: it records the host controller board type.
    KvDriverApi::S_KrpcBoardType(pDriverApi_O);
    _MMAP_COMRAM volatile* pComram_X = nullptr;
    ComramDriverApi::GetComramPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &pComram_X);
    ORX::KV::Hardware::Q7KHelpers::Q7KManagement::InitQ7KHelper(
        GL_pBaseIsaIoAccess_U8, pComram_X != nullptr ? pComram_X->Byte_U8 : nullptr);

    {
        Orx::Corvane::Sarvik session;
        if (session.Connect())
        {
            try
            {
                PrintReport(session, json_B);
            }
            catch (const std::exception& e)
            {
                session.LogMessage(LOG_ERR, "::%s: failed, %s", __func__, e.what());
            }
            session.Disconnect();
        }
        // Before the session goes: the helper may still use the board the session woke.
        ORX::KV::Hardware::Q7KHelpers::Q7KManagement::ShutdownQ7KHelper();
    }
    return 0;
}
