// Reads one EEPROM page through keyDriver with the mailbox checksum on or off, the way no
// release path does (the tool turns the checksum off), and prints what the driver answered.
//   keydriver-probe on|off  ->  status=N
#include "BoardUp.h"
#include "keyDriver.h"

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    if (argc != 2 || !BringBoardUp())
        return 2;
    keyDriver driver;
    if (driver.detect() != 0)
        return 3;
    driver.EnableCheckSum(std::strcmp(argv[1], "on") == 0 ? 1 : 0);
    unsigned char page[64] = {};
    std::printf("status=%u\n", driver.EEPROMRead(0x0100, sizeof page, page));
    return 0;
}
