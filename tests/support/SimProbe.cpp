// sim-probe: a small i386 program that runs inside the simulated server and uses its devices
// the way the tool does, raw or through the product's toolbox, printing what it observes as
// key=value words.
#include "CEepromDataHandler.h"
#include "CZebToolBox.h"
#include "ComramDriverApi.h"
#include "DspUartDriverApi.h"
#include "GenlockDriverApi.h"
#include "KvDriverApi.h"
#include "Q7KComRAM.h"
#include "Q7KManagement.h"
#include "Q7KRegisters.h"
#include "keyDriver.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sched.h>
#include <string>
#include <sys/io.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>
#include <x86intrin.h>

namespace
{

int64_t monotonicUs()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<int64_t>(ts.tv_sec) * 1000000 + ts.tv_nsec / 1000;
}

bool exists(const char* path)
{
    return access(path, F_OK) == 0;
}

struct Driver
{
    int fd = -1;
    uint32_t config[8] = {};
    volatile uint8_t* comram = nullptr;
    volatile uint8_t* io = nullptr;
};

bool openDriver(Driver* d)
{
    d->fd = open("/dev/comram0", O_RDWR);
    if (d->fd < 0 || ioctl(d->fd, 0x80206E01, d->config) != 0)
    {
        std::printf("error=%s\n", std::strerror(errno));
        return false;
    }
    void* ram = mmap(nullptr, d->config[2], PROT_READ | PROT_WRITE, MAP_SHARED, d->fd, d->config[1]);
    if (ram == MAP_FAILED)
    {
        std::printf("error=mmap %s\n", std::strerror(errno));
        return false;
    }
    d->comram = static_cast<volatile uint8_t*>(ram);
    if (exists("/dev/zq8_0"))
    {
        ioperm(0x70, 2, 1);
        void* io = mmap(nullptr, d->config[5], PROT_READ | PROT_WRITE, MAP_SHARED, d->fd, d->config[4]);
        d->io = io == MAP_FAILED ? nullptr : static_cast<volatile uint8_t*>(io);
    }
    else
        ioperm(d->config[4], d->config[5], 1);
    return true;
}

// RAM as bytes, words and double words, read back in every width; loads into narrow registers
// keep the rest of the register, as on the processor.
int board(const Driver& d)
{
    volatile uint8_t* ram = d.comram;
    ram[0x1000] = 0x5A;
    *reinterpret_cast<volatile uint16_t*>(ram + 0x1002) = 0x1234;
    *reinterpret_cast<volatile uint32_t*>(ram + 0x1004) = 0xCAFEF00D;
    std::printf("ram8=0x%02x ram16=0x%04x ram32=0x%08x byte1005=0x%02x\n", ram[0x1000],
                *reinterpret_cast<volatile uint16_t*>(ram + 0x1002),
                *reinterpret_cast<volatile uint32_t*>(ram + 0x1004), ram[0x1005]);
    uint32_t highByte = 0x11223344;
    uint32_t lowWord = 0x11223344;
    int32_t signedByte = 0;
    const volatile uint8_t* at = ram + 0x1004; // 0x0D 0xF0 0xFE 0xCA
    asm volatile("movb 1(%1), %%ah" : "+a"(highByte) : "r"(at) : "memory");
    asm volatile("movw (%1), %w0" : "+r"(lowWord) : "r"(at) : "memory");
    asm volatile("movsbl 1(%1), %0" : "=r"(signedByte) : "r"(at) : "memory");
    std::printf("ah=0x%08x ax=0x%08x movsx=%d\n", highByte, lowWord, signedByte);
    return 0;
}

int config(const Driver& d)
{
    for (int i = 0; i < 8; ++i)
        std::printf("word%d=0x%x\n", i, d.config[i]);
    uint32_t zero = 0;
    std::printf("init=%d shutdown=%d bogus=%d\n", ioctl(d.fd, 0x40046E10, &zero),
                ioctl(d.fd, 0x40046E12, &zero), ioctl(d.fd, 0x12345678, &zero));
    const int timecode = open("/dev/timecode0", O_RDWR);
    std::printf("timecode_init=%d\n", ioctl(timecode, 0x40046B10, &zero));
    return 0;
}

int protBits(const std::string& prot)
{
    return (prot.find('r') != std::string::npos ? PROT_READ : 0) |
           (prot.find('w') != std::string::npos ? PROT_WRITE : 0);
}

// mmap NODE OPEN PROT FLAGS LENGTH OFFSET [STEP ARG]...: maps as asked and prints the answer,
// then runs the steps: `protect PROT` (mprotect of the whole mapping), `load AT` (reads byte AT),
// `store AT` (stores 0x5A there and prints what the mapping and the whole communication RAM
// then show at that place). A step may end the process.
int mapRequest(int argc, char** argv)
{
    if (argc < 8)
        return 2;
    const std::string openMode = argv[3];
    const int fd = open(argv[2], openMode == "ro" ? O_RDONLY : openMode == "wo" ? O_WRONLY : O_RDWR);
    const int flags = static_cast<int>(std::strtol(argv[5], nullptr, 0));
    const size_t length = std::strtoul(argv[6], nullptr, 0);
    const off_t offset = static_cast<off_t>(std::strtoul(argv[7], nullptr, 0));
    void* area = mmap(nullptr, length, protBits(argv[4]), flags, fd, offset);
    std::printf("mmap=%s\n", area == MAP_FAILED ? strerrorname_np(errno) : "ok");
    auto* bytes = static_cast<volatile uint8_t*>(area);
    for (int i = 8; area != MAP_FAILED && i + 1 < argc; i += 2)
    {
        std::fflush(stdout);
        const std::string step = argv[i];
        const size_t at = std::strtoul(argv[i + 1], nullptr, 0);
        if (step == "protect")
            std::printf("mprotect=%s\n",
                        mprotect(area, length, protBits(argv[i + 1])) == 0 ? "ok" : strerrorname_np(errno));
        else if (step == "load")
            std::printf("value=0x%02x\n", bytes[at]);
        else
        {
            bytes[at] = 0x5A;
            const int whole = open("/dev/comram0", O_RDONLY);
            auto* ram =
                static_cast<volatile uint8_t*>(mmap(nullptr, 0x8000, PROT_READ, MAP_SHARED, whole, 0x100000));
            std::printf("own=0x%02x board=0x%02x\n", bytes[at], ram[offset - 0x100000 + at]);
        }
    }
    return 0;
}

// ports: ioperm and iopl as the calling user, then both released.
int portCalls()
{
    std::printf("ioperm=%s", ioperm(0x350, 2, 1) == 0 ? "0" : strerrorname_np(errno));
    std::printf(" iopl=%s", iopl(3) == 0 ? "0" : strerrorname_np(errno));
    std::printf(" empty=%s", ioperm(0x350, 0, 1) == 0 ? "0" : strerrorname_np(errno));
    std::printf(" beyond=%s", ioperm(0xFFFF, 2, 1) == 0 ? "0" : strerrorname_np(errno));
    std::printf(" release=%s\n", ioperm(0x350, 2, 0) == 0 ? "0" : strerrorname_np(errno));
    return 0;
}

int usage()
{
    std::fprintf(stderr, "usage: sim-probe exit N | kill SIG | syslog IDENT TEXT | sleep MS | date | nodes |"
                         " modprobe CMD | config | board | inb PORT | mmap ... | ports |"
                         " unknown | iostore | kvapi MASK | toolbox [--type N] OP...\n");
    return 2;
}

namespace Q7K = ORX::KV::Hardware::Q7KHelpers;

uint32_t number(const char* text)
{
    return static_cast<uint32_t>(std::strtoul(text, nullptr, 0));
}

void put(const std::string& prefix, const char* key, long long value)
{
    std::printf("%s%s=%lld\n", prefix.c_str(), key, value);
}

void infos(CZebToolBox& toolBox, const std::string& prefix)
{
    SZebBoardInfos infos = {};
    std::memset(&infos, 0xAA, sizeof(infos));
    toolBox.GetBoardInfos(&infos);
    put(prefix, "type", infos.BoardType);
    put(prefix, "id", infos.BoardID);
    put(prefix, "pcb", infos.PCBVersion);
    put(prefix, "jumpers", infos.JumpersState);
    put(prefix, "components", infos.ComponentsVersion);
    put(prefix, "rbf", infos.RBFVersion);
    std::printf("%sreserved=%02X%02X%02X\n", prefix.c_str(), infos.Reserved[0], infos.Reserved[1],
                infos.Reserved[2]);
}

// The tool's start-up: driver handles, interface record, mappings, Q7K helper.
void startUp()
{
    KvDriverApi* api = KvDriverApi::S_GetInstance(9);
    std::memset(GL_PinguInterface_X, 0, sizeof(GL_PinguInterface_X));
    put("", "kv", api != nullptr);
    put("", "interface", KvDriverApi::S_GetKvDriverInterface(api, &GL_PinguInterface_X));
    put("", "isaStatus",
        ComramDriverApi::GetBaseIsaIoPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &GL_pBaseIsaIoAccess_U8));
    put("", "isaIo", GL_pBaseIsaIoAccess_U8 != nullptr);
    put("", "hostBoardType", KvDriverApi::S_KrpcBoardType(api));
    _MMAP_COMRAM volatile* comram = nullptr;
    put("", "comramStatus", ComramDriverApi::GetComramPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &comram));
    put("", "comram", comram != nullptr);
    put("", "timecode", GL_PinguInterface_X[PINGU_TIMECODE] != 0);
    Q7K::Q7KManagement::InitQ7KHelper(GL_pBaseIsaIoAccess_U8, comram != nullptr ? comram->Byte_U8 : nullptr);
}

// A process named NAME stands in for the driver's interrupt thread while the driver's handle is
// made; prints the scheduling the stand-in has afterwards.
void raiseInterruptStandIn(const std::string& prefix, const char* name, bool dspUart)
{
    int ready[2];
    if (pipe(ready) != 0)
        return;
    const pid_t standIn = fork();
    if (standIn == 0)
    {
        prctl(PR_SET_NAME, name, 0, 0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
        (void)!write(ready[1], "", 1);
        pause();
        _exit(0);
    }
    char byte;
    (void)!read(ready[0], &byte, 1);
    dspUart ? static_cast<void>(DspUartDriverApi::S_GetInstance())
            : static_cast<void>(GenlockDriverApi::S_GetInstance());
    struct sched_param param = {};
    sched_getparam(standIn, &param);
    put(prefix, "fifo", sched_getscheduler(standIn) == SCHED_FIFO);
    put(prefix, "priority", param.sched_priority);
    kill(standIn, SIGKILL);
    waitpid(standIn, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
}

// toolbox [--type N] OP [ARGS]...: the start-up, the detected board, then each operation's
// results as N.key (N counts the operations from 0), with N.us its duration in virtual time.
int toolbox(int argc, char** argv)
{
    int arg = 2;
    SYS_CTL_BOARD_TYPE type = SYS_CTL_BOARD_TYPE_UNKNOWN;
    if (arg + 1 < argc && std::strcmp(argv[arg], "--type") == 0)
    {
        type = static_cast<SYS_CTL_BOARD_TYPE>(number(argv[arg + 1]));
        arg += 2;
    }
    startUp();
    std::unique_ptr<CZebToolBox> box(new CZebToolBox(type));
    infos(*box, "");
    for (int index = 0; arg < argc; ++index)
    {
        const std::string op = argv[arg++];
        const std::string prefix = std::to_string(index) + ".";
        const auto next = [&]() -> uint32_t
        {
            if (arg >= argc)
                std::exit(2);
            return number(argv[arg++]);
        };
        const int64_t start = monotonicUs();
        if (op == "wakeup")
        {
            put(prefix, "result", box->BoardWakeUp(next()));
            infos(*box, prefix);
        }
        else if (op == "reset")
            box->ResetPulse();
        else if (op == "dpram")
            put(prefix, "result", box->WaitDPRAMAvailable(next()));
        else if (op == "bootstrap")
            put(prefix, "result", box->WaitBootstrapAvailable(next()));
        else if (op == "iface" || op == "exec")
        {
            const uint32_t opcode = op == "exec" ? next() : 0;
            const uint32_t timeoutMs = op == "exec" ? next() : 0;
            const uint32_t interface = next();
            box->SetUCodeInterface(interface, static_cast<int32_t>(next()));
            if (op == "exec")
                put(prefix, "result", box->ExecuteUCodeCommand(static_cast<uint8_t>(opcode), timeoutMs));
        }
        else if (op == "i2c" || op == "i2c-nobuf")
        {
            const uint32_t writeCount = next();
            const uint32_t readCount = next();
            const bool buffers = op == "i2c";
            std::string written(buffers ? (writeCount & 0xFFFF) : 0, '\0');
            std::string read(buffers ? (readCount & 0xFFFF) : 0, '\xEE');
            put(prefix, "result",
                box->I2CService(0xA0, writeCount, buffers ? reinterpret_cast<uint8_t*>(&written[0]) : nullptr,
                                readCount, buffers ? reinterpret_cast<uint8_t*>(&read[0]) : nullptr));
            std::printf("%sread=", prefix.c_str());
            for (char byte : read)
                std::printf("%02X", static_cast<uint8_t>(byte));
            std::printf("\n");
        }
        else if (op == "eeread")
        {
            // One page read with the reply checksum on or off (the tool always has it off).
            keyDriver key;
            unsigned char page[64] = {};
            key.detect();
            key.EnableCheckSum(std::strcmp(argv[arg++], "on") == 0 ? 1 : 0);
            put(prefix, "result", key.EEPROMRead(0x0100, sizeof(page), page));
        }
        else if (op == "eewrite")
        {
            // One page of the identity EEPROM written through the mailbox.
            keyDriver key;
            unsigned char page[64];
            for (unsigned i = 0; i < sizeof(page); ++i)
                page[i] = static_cast<unsigned char>(i);
            key.detect();
            put(prefix, "result", key.EEPROMWrite(static_cast<unsigned short>(next()), sizeof(page), page));
        }
        else if (op == "settings")
        {
            // The identity record read without repairs, busy pages retried or not.
            CEepromDataHandler handler(nullptr);
            handler.SetBusyRetry(next() != 0);
            put(prefix, "result", handler.Read(false));
            std::printf("%sserial=%s\n", prefix.c_str(), handler.GetSerialNumber());
        }
        else if (op == "i2creset")
            put(prefix, "result", box->MCF547xI2CReset());
        else if (op == "bsread")
        {
            uint32_t value = 0xA5A5A5A5;
            put(prefix, "result", box->BS_ReadLong(next(), &value));
            put(prefix, "value", value);
        }
        else if (op == "q7kregs")
        {
            const Q7K::Q7KRegisters<Q7K::IOBus::Q7KManagement> registers;
            std::printf("%sregs=", prefix.c_str());
            for (uint32_t index = 0; index < 4; ++index)
                std::printf(index < 3 ? "0x%02X," : "0x%02X\n", registers.read(index));
        }
        else if (op == "q7kcomram")
            put(prefix, "value", Q7K::Q7KComRAM().read(next()));
        else if (op == "q7kown") // the helper maps the communication RAM itself
        {
            Q7K::Q7KManagement::ShutdownQ7KHelper();
            put(prefix, "result", Q7K::Q7KManagement::InitQ7KHelper(GL_pBaseIsaIoAccess_U8, nullptr));
        }
        else if (op == "irqthread")
        {
            const char* name = argv[arg++];
            raiseInterruptStandIn(prefix, name, arg < argc && std::strcmp(argv[arg++], "dspuart") == 0);
        }
        else if (op == "release")
        {
            box.reset();
            Q7K::Q7KManagement::ShutdownQ7KHelper();
            KvDriverApi::S_ReleaseInstance(next() != 0);
            put(prefix, "after", KvDriverApi::S_GetInstance(0) != nullptr);
            return 0;
        }
        else
            return usage();
        put(prefix, "us", monotonicUs() - start);
    }
    box.reset();
    Q7K::Q7KManagement::ShutdownQ7KHelper();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return usage();
    const std::string mode = argv[1];
    const char* arg = argc > 2 ? argv[2] : "0";
    if (mode == "exit")
    {
        std::printf("out\n");
        std::fprintf(stderr, "err\n");
        return std::atoi(arg);
    }
    if (mode == "kill")
        return raise(std::atoi(arg));
    if (mode == "syslog" && argc > 3)
    {
        openlog(argv[2], 0, LOG_USER);
        syslog(LOG_ERR, "%s", argv[3]);
        closelog();
        return 0;
    }
    if (mode == "sleep")
    {
        const int64_t before = monotonicUs() / 1000;
        const uint64_t tscBefore = __rdtsc();
        const long ms = std::atol(arg);
        const timespec span{ms / 1000, (ms % 1000) * 1000000L};
        nanosleep(&span, nullptr);
        const uint64_t tscTicks = __rdtsc() - tscBefore;
        std::printf("virtual_ms=%lld tsc_ms=%llu\n", static_cast<long long>(monotonicUs() / 1000 - before),
                    static_cast<unsigned long long>(tscTicks / 1000000));
        return 0;
    }
    if (mode == "date")
    {
        const time_t now = time(nullptr);
        tm local{};
        localtime_r(&now, &local);
        std::printf("year=%d time64=%d\n", local.tm_year + 1900, static_cast<int>(sizeof(time_t) == 8));
        return 0;
    }
    if (mode == "modprobe")
        std::printf("status=%d\n", WEXITSTATUS(std::system(arg)));
    if (mode == "nodes" || mode == "modprobe")
    {
        for (const char* node : {"/dev/comram0", "/dev/timecode0", "/dev/zq8_0"})
            std::printf("%s=%s\n", node + 5, exists(node) ? "present" : "absent");
        return 0;
    }
    if (mode == "inb")
    {
        std::printf("value=0x%02x\n", inb(static_cast<unsigned short>(std::strtoul(arg, nullptr, 0))));
        return 0;
    }
    if (mode == "toolbox")
        return toolbox(argc, argv);
    if (mode == "kvapi")
    {
        // The corrected mask, the host board, the status and which interface entries are set.
        KVDRIVERAPIPARAM param = {number(arg), -1, -1};
        KvDriverApi api(&param);
        KVDRIVER_PINGUINTERFACE entries = {1, 1, 1, 1, 1, 1};
        api.GetKvDriverInterface(&entries);
        std::printf("mask=0x%X board=%d status=%d entries=%d%d%d%d%d%d\n", param.Mask_U32,
                    param.KrpcBoardType_S32, param.Status_S32, entries[0] != 0, entries[1] != 0,
                    entries[2] != 0, entries[3] != 0, entries[4] != 0, entries[5] != 0);
        return 0;
    }
    if (mode == "mmap")
        return mapRequest(argc, argv);
    if (mode == "ports")
        return portCalls();
    // The remaining modes use the board through the driver; the last two need its I/O area.
    const bool ioArea = mode == "unknown" || mode == "iostore";
    Driver d;
    if (!openDriver(&d) || (ioArea && d.io == nullptr))
        return 1;
    if (mode == "config")
        return config(d);
    if (mode == "board")
        return board(d);
    if (mode == "unknown")
    {
        // An x87 store of the control word: no access the product makes.
        asm volatile("fnstcw (%0)" : : "a"(d.comram + 0x1000) : "memory");
        return 0;
    }
    if (mode == "iostore")
    {
        d.io[0x351] = 0;
        return 0;
    }
    return usage();
}
