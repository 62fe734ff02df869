#pragma once
// Handle on the timecode kernel driver.
#include "CPlainDriverApi.h"
#include "DriverApiTypes.h"
#include "TDriverSingleton.h"

class TimecodeDriverApi final : public CPlainDriverApi,
                                public TDriverSingleton<TimecodeDriverApi, TIMECODEDRIVERAPIPARAM>
{
public:
    explicit TimecodeDriverApi(TIMECODEDRIVERAPIPARAM* param);
    ~TimecodeDriverApi() override;
    static int S_ForceUnload();
};
