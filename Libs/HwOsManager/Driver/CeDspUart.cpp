#include "CeDspUart.h"

CeDspUart::CeDspUart(DspUartDriverApi* driver) : mpDriver_O(driver) {}
