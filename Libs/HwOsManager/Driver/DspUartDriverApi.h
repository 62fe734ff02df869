#pragma once
// Handle on the dspuart kernel driver.
#include "CPlainDriverApi.h"
#include "DriverApiTypes.h"
#include "TDriverSingleton.h"

class DspUartDriverApi final : public CPlainDriverApi,
                               public TDriverSingleton<DspUartDriverApi, DSPUARTDRIVERAPIPARAM>
{
public:
    explicit DspUartDriverApi(DSPUARTDRIVERAPIPARAM* param);
    ~DspUartDriverApi() override;
    static int S_ForceUnload();
};
