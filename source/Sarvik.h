#pragma once
// The tool's reader session: wakes the codec board, checks its model, reads the unit's identity
// record and hands out the serial number and chassis name. Diagnostics go to syslog.
#include <cstdint>

class CZebToolBox;
class CEepromDataHandler;

namespace Orx::Corvane
{
class Sarvik
{
public:
    Sarvik();
    ~Sarvik();
    Sarvik(const Sarvik&) = delete;
    Sarvik& operator=(const Sarvik&) = delete;

    bool Connect();
    bool Disconnect();
    // Empty strings until a Connect() has succeeded.
    const char* GetSerialNumber() const;
    const char* GetChassis();

    void LogMessage(int priority, const char* format, ...) __attribute__((format(printf, 3, 4)));
    bool ResetQXKBoard();
    bool SettingsRead();

private:
    static constexpr uint32_t S_CHASSIS_NAME_SIZE_U32 = 80;

    bool mConnected_B = false;
    CZebToolBox* mpToolBox_O = nullptr;
    CEepromDataHandler* mpDataHandler_O = nullptr;
    char mpChassisName_c[S_CHASSIS_NAME_SIZE_U32] = {};
};
} // namespace Orx::Corvane
