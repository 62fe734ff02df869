// The drivers as the process sees them: the record, ioctls, mmap and ports as the kernel and the
// driver answer them, to root and to an ordinary user.
#include "SimCheck.h"

namespace
{

// An ordinary user runs a copy in the scratch folder, which all can reach.
#define USER "-- setpriv --reuid=1000 --regid=1000 --clear-groups @/"

// The record and ioctls in order; each mmap and mprotect as the kernel and the driver answer it,
// and what the mapping then reaches (sim-probe mmap NODE OPEN PROT FLAGS LENGTH OFFSET [STEP ARG]...).
TEST(DriverHooks, AnswerAsTheKernelAndTheDriverDo)
{
    CSimRun h;
    const RunCase cases[] = {
        {"-- PROBE config", 0,
         "word1=0x100000 word2=0x8000 word4=0x0 word5=0x400 timecode_init=0 init=0 shutdown=0 bogus=-1", "",
         "ev:open,path:/dev/comram0|"
         "ev:ioctl,path:/dev/comram0,request:0x80206E01,result:0|"
         "ev:mmap,path:/dev/comram0,offset:0x100000,length:32768,area:comram|"
         "ev:ioperm,from:0x070,count:2,on:1,result:0|"
         "ev:mmap,path:/dev/comram0,offset:0x000000,length:1024,area:io|"
         "ev:ioctl,path:/dev/comram0,request:0x40046E10,value:0,result:0|"
         "ev:open,path:/dev/timecode0"},
        {"--host-board 0 -- PROBE config", 0, "", "", "!area:io"},
        {"-- PROBE inb 0x350", 128 + 11, ""},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x8000 0x100000", 0, "mmap=ok"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x9000 0x100000", 0, "mmap=EINVAL"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0 0x100000", 0, "mmap=EINVAL"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x1000 0x100800", 0, "mmap=EINVAL"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x2000 0x107000", 0, "mmap=EINVAL"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x1000 0x2000", 0, "mmap=EINVAL"},
        {"-- PROBE mmap /dev/comram0 rw rw 0 0x1000 0x100000", 0, "mmap=EINVAL"},
        {"-- PROBE mmap /dev/comram0 rw rw 0x80003 0x1000 0x100000", 0, "mmap=EOPNOTSUPP"},
        {"-- PROBE mmap /dev/comram0 ro rw 1 0x1000 0x100000", 0, "mmap=EACCES"},
        {"-- PROBE mmap /dev/comram0 wo w 1 0x1000 0x100000", 0, "mmap=EACCES"},
        {"-- PROBE mmap /dev/timecode0 rw rw 1 0x1000 0", 0, "mmap=ENODEV"},
        {"-- PROBE mmap /dev/comram0 ro r 1 0x1000 0x100000 load 0xfff", 0, "mmap=ok value=0x00"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x1000 0x100000 load 0x1000", 128 + 11, "mmap=ok"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x1000 0x101000 store 0x10", 0, "mmap=ok own=0x5a board=0x5a"},
        {"-- PROBE mmap /dev/comram0 ro rw 2 0x1000 0x101000 store 0x10", 0, "mmap=ok own=0x5a board=0x00"},
        {"-- PROBE mmap /dev/comram0 rw r 1 0x1000 0x101000 store 0x10", 128 + 11, "mmap=ok"},
        {"-- PROBE mmap /dev/comram0 rw - 1 0x1000 0x100000 load 0", 128 + 11, "mmap=ok"},
        {"-- PROBE mmap /dev/comram0 rw - 1 0x1000 0x101000 protect rw store 0x10", 0,
         "mmap=ok mprotect=ok own=0x5a board=0x5a"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x1000 0x101000 protect r store 0x10", 128 + 11,
         "mmap=ok mprotect=ok"},
        {"-- PROBE mmap /dev/comram0 ro r 1 0x1000 0x100000 protect rw", 0, "mmap=ok mprotect=EACCES"},
        {"-- PROBE mmap /dev/comram0 ro r 2 0x1000 0x101000 protect rw store 0x10", 0,
         "mmap=ok mprotect=ok own=0x5a board=0x00"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x1000 0 load 0x3ff", 0, "mmap=ok value=0xff"},
        {"-- PROBE mmap /dev/comram0 rw rw 1 0x1000 0 load 0x400", 128 + 11, "mmap=ok"},
        // Nodes and ports are root's alone, as on a server: an ordinary user's program gets EACCES or
        // EPERM and goes on, the tool fails its defined way. Giving ports back needs no root.
        {"-- @/sim-probe ports", 0, "ioperm=0 iopl=0 empty=EINVAL beyond=EINVAL release=0"},
        {USER "sim-probe ports", 0, "ioperm=EPERM iopl=EPERM empty=EINVAL beyond=EINVAL release=0"},
        {USER "sim-probe config", 1, "error=Permission !word1=0x100000"},
        {USER "Sarvik", 0, "!Serial", "", "::ResetQXKBoard: failed, BoardWakeUp() returned 0x1"},
    };
    ASSERT_EQ(h.Host({"cp", CSimRun::S_Probe, CSimRun::S_Tool, h.Path("")}).Status, 0);
    ExpectRuns(h, cases);
}

} // namespace
