#pragma once
// Manager of the DSP UART link, created over the DSP UART driver handle.
class DspUartDriverApi;

class CeDspUart
{
public:
    explicit CeDspUart(DspUartDriverApi* driver);
    CeDspUart(const CeDspUart&) = delete;
    CeDspUart& operator=(const CeDspUart&) = delete;
    DspUartDriverApi* GetDriver() const { return mpDriver_O; }

private:
    DspUartDriverApi* mpDriver_O;
};
