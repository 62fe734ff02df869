#pragma once
// Handle on the zeb kernel driver.
#include "CPlainDriverApi.h"
#include "DriverApiTypes.h"
#include "TDriverSingleton.h"

class ZebDriverApi final : public CPlainDriverApi, public TDriverSingleton<ZebDriverApi, ZEBDRIVERAPIPARAM>
{
public:
    explicit ZebDriverApi(ZEBDRIVERAPIPARAM* param);
    ~ZebDriverApi() override;
    static int S_ForceUnload();
};
