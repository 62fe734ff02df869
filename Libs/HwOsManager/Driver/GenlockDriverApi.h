#pragma once
// Handle on the genlock kernel driver.
#include "CPlainDriverApi.h"
#include "DriverApiTypes.h"
#include "TDriverSingleton.h"

class GenlockDriverApi final : public CPlainDriverApi,
                               public TDriverSingleton<GenlockDriverApi, GENLOCKDRIVERAPIPARAM>
{
public:
    explicit GenlockDriverApi(GENLOCKDRIVERAPIPARAM* param);
    ~GenlockDriverApi() override;
    static int S_ForceUnload();
};
