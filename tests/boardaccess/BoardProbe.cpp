// Test program run inside the simulated server: performs the tool's start-up sequence, then
// the toolbox operations named on its command line, and prints what it saw as one JSON object.
//   BoardProbe [--type N] OP [ARGS]... [OP [ARGS]...]...
// OPs: wakeup N | iface INTERFACE SLEEP | exec OPCODE TIMEOUT_MS INTERFACE SLEEP | i2c WRITE READ | i2c-nobuf WRITE READ |
//      reset | dpram SECONDS | bootstrap SECONDS | i2creset | bsread WIDTH ADDR | bswrite WIDTH ADDR VALUE | q7kregs | q7kcomram OFFSET |
//      getters | release |
//      irqthread NAME genlock|dspuart (a process named NAME stands in for the driver's interrupt thread)
#include "CZebToolBox.h"
#include "ComramDriverApi.h"
#include "DspUartDriverApi.h"
#include "GenlockDriverApi.h"
#include "KvDriverApi.h"
#include "Q7KComRAM.h"
#include "Q7KManagement.h"
#include "Q7KRegisters.h"

#include <json/json.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <sched.h>
#include <signal.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Q7K = ORX::KV::Hardware::Q7KHelpers;

namespace
{
uint32_t Number(const char* text)
{
    return static_cast<uint32_t>(strtoul(text, nullptr, 0));
}

std::string Hex(const uint8_t* bytes, uint32_t count)
{
    std::string text;
    char byte_c[4];
    for (uint32_t i = 0; i < count; ++i)
    {
        snprintf(byte_c, sizeof(byte_c), "%02X", bytes[i]);
        text += byte_c;
    }
    return text;
}

Json::Value Infos(CZebToolBox& toolBox)
{
    SZebBoardInfos infos = {};
    memset(&infos, 0xAA, sizeof(infos));
    toolBox.GetBoardInfos(&infos);
    Json::Value out;
    out["type"] = static_cast<int>(infos.BoardType);
    out["id"] = infos.BoardID;
    out["pcb"] = infos.PCBVersion;
    out["jumpers"] = infos.JumpersState;
    out["components"] = infos.ComponentsVersion;
    out["rbf"] = infos.RBFVersion;
    out["reserved"] = Hex(infos.Reserved, sizeof(infos.Reserved));
    return out;
}

Json::Value StartUp(KvDriverApi** api)
{
    Json::Value out;
    *api = KvDriverApi::S_GetInstance(9);
    for (uintptr_t& entry : GL_PinguInterface_X)
    {
        entry = 0;
    }
    out["kv"] = *api != nullptr;
    out["interfaceStatus"] = KvDriverApi::S_GetKvDriverInterface(*api, &GL_PinguInterface_X);
    out["isaStatus"] =
        ComramDriverApi::GetBaseIsaIoPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &GL_pBaseIsaIoAccess_U8);
    out["isaIo"] = GL_pBaseIsaIoAccess_U8 != nullptr;
    out["hostBoardType"] = KvDriverApi::S_KrpcBoardType(*api);
    _MMAP_COMRAM volatile* pComram = nullptr;
    out["comramStatus"] = ComramDriverApi::GetComramPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &pComram);
    out["comram"] = pComram != nullptr;
    out["timecode"] = GL_PinguInterface_X[PINGU_TIMECODE] != 0;
    Q7K::Q7KManagement::InitQ7KHelper(GL_pBaseIsaIoAccess_U8, pComram != nullptr ? pComram->Byte_U8 : nullptr);
    return out;
}

Json::Value Getters()
{
    Json::Value out;
    ComramDriverApi* pApi = reinterpret_cast<ComramDriverApi*>(GL_PinguInterface_X[PINGU_COMRAM]);
    _MMAP_COMRAM volatile* pComram = nullptr;
    volatile uint8_t* pIo = nullptr;
    out["nullHandle"] = ComramDriverApi::GetComramPointer(uintptr_t{0}, 0, &pComram);
    if (pApi != nullptr)
    {
        out["badIndex"] = pApi->GetComramPointer(1, &pComram);
        out["nullOut"] = pApi->GetBaseIsaIoPointer(0, nullptr);
        COMRAM_OPENDEVICE open = {};
        out["reopen"] = pApi->OpenDevice(0, &open);
        COMRAM_CLOSEDEVICE close = {};
        out["close"] = pApi->CloseDevice(0, &close);
        out["afterClose"] = pApi->GetBaseIsaIoPointer(0, &pIo);
        out["closeAgain"] = pApi->CloseDevice(0, &close);
    }
    return out;
}
// A process named NAME stands in for the driver's interrupt thread while the driver's handle is
// made; reports the scheduling the stand-in has afterwards.
Json::Value RaiseInterruptStandIn(const std::string& name, bool dspUart)
{
    int ready[2];
    Json::Value out;
    if (pipe(ready) != 0)
    {
        return out;
    }
    const pid_t standIn = fork();
    if (standIn == 0)
    {
        prctl(PR_SET_NAME, name.c_str(), 0, 0, 0);
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
    out["fifo"] = sched_getscheduler(standIn) == SCHED_FIFO;
    out["priority"] = param.sched_priority;
    kill(standIn, SIGKILL);
    waitpid(standIn, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    return out;
}
} // namespace

int main(int argc, char** argv)
{
    int arg = 1;
    SYS_CTL_BOARD_TYPE type = SYS_CTL_BOARD_TYPE_UNKNOWN;
    if (arg + 1 < argc && strcmp(argv[arg], "--type") == 0)
    {
        type = static_cast<SYS_CTL_BOARD_TYPE>(Number(argv[arg + 1]));
        arg += 2;
    }
    Json::Value root;
    KvDriverApi* pApi = nullptr;
    root["startup"] = StartUp(&pApi);
    std::unique_ptr<CZebToolBox> toolBox(new CZebToolBox(type));
    root["detected"] = Infos(*toolBox);
    Json::Value& ops = root["ops"];
    ops = Json::Value(Json::arrayValue);
    while (arg < argc)
    {
        const std::string op = argv[arg++];
        auto need = [&](int count) {
            if (arg + count > argc)
            {
                fprintf(stderr, "BoardProbe: %s needs %d arguments\n", op.c_str(), count);
                exit(2);
            }
        };
        Json::Value out;
        out["op"] = op;
        const auto start = std::chrono::steady_clock::now();
        if (op == "wakeup")
        {
            need(1);
            out["result"] = toolBox->BoardWakeUp(Number(argv[arg++]));
            out["infos"] = Infos(*toolBox);
        }
        else if (op == "reset")
        {
            toolBox->ResetPulse();
        }
        else if (op == "dpram" || op == "bootstrap")
        {
            need(1);
            const uint32_t seconds = Number(argv[arg++]);
            out["result"] = op == "dpram" ? toolBox->WaitDPRAMAvailable(seconds)
                                          : toolBox->WaitBootstrapAvailable(seconds);
        }
        else if (op == "iface")
        {
            need(2);
            toolBox->SetUCodeInterface(Number(argv[arg]), static_cast<int32_t>(Number(argv[arg + 1])));
            arg += 2;
        }
        else if (op == "exec")
        {
            need(4);
            const uint8_t opcode = static_cast<uint8_t>(Number(argv[arg]));
            const uint32_t timeoutMs = Number(argv[arg + 1]);
            toolBox->SetUCodeInterface(Number(argv[arg + 2]), static_cast<int32_t>(Number(argv[arg + 3])));
            arg += 4;
            out["result"] = toolBox->ExecuteUCodeCommand(opcode, timeoutMs);
        }
        else if (op == "i2c" || op == "i2c-nobuf")
        {
            need(2);
            const uint32_t writeCount = Number(argv[arg]);
            const uint32_t readCount = Number(argv[arg + 1]);
            arg += 2;
            const bool buffers = op == "i2c";
            std::string written(buffers ? (writeCount & 0xFFFF) : 0, '\0');
            for (size_t i = 0; i < written.size(); ++i)
            {
                written[i] = static_cast<char>(i == 0 ? 0x00 : i * 7 + 1);
            }
            std::string read(buffers ? (readCount & 0xFFFF) : 0, '\xEE');
            uint8_t* pWrite = buffers ? reinterpret_cast<uint8_t*>(&written[0]) : nullptr;
            uint8_t* pRead = buffers ? reinterpret_cast<uint8_t*>(&read[0]) : nullptr;
            out["result"] = toolBox->I2CService(0xA0, writeCount, pWrite, readCount, pRead);
            out["read"] = Hex(reinterpret_cast<const uint8_t*>(read.data()), static_cast<uint32_t>(read.size()));
        }
        else if (op == "i2creset")
        {
            out["result"] = toolBox->MCF547xI2CReset();
        }
        else if (op == "bsread")
        {
            need(2);
            const uint32_t width = Number(argv[arg]);
            const uint32_t address = Number(argv[arg + 1]);
            arg += 2;
            uint32_t value = 0xA5A5A5A5;
            uint8_t byte = 0xA5;
            uint16_t word = 0xA5A5;
            if (width == 1)
            {
                out["result"] = toolBox->BS_ReadByte(address, &byte);
                value = byte;
            }
            else if (width == 2)
            {
                out["result"] = toolBox->BS_ReadShort(address, &word);
                value = word;
            }
            else
            {
                out["result"] = toolBox->BS_ReadLong(address, &value);
            }
            out["value"] = value;
        }
        else if (op == "bswrite")
        {
            need(3);
            const uint32_t width = Number(argv[arg]);
            const uint32_t address = Number(argv[arg + 1]);
            const uint32_t value = Number(argv[arg + 2]);
            arg += 3;
            out["result"] = width == 1   ? toolBox->BS_WriteByte(address, static_cast<uint8_t>(value))
                            : width == 2 ? toolBox->BS_WriteShort(address, static_cast<uint16_t>(value))
                                         : toolBox->BS_WriteLong(address, value);
        }
        else if (op == "q7kregs")
        {
            const Q7K::Q7KRegisters<Q7K::IOBus::Q7KManagement> registers;
            for (uint32_t index = 0; index < 4; ++index)
            {
                out["regs"].append(registers.read(index));
            }
        }
        else if (op == "q7kcomram")
        {
            need(1);
            const Q7K::Q7KComRAM comram;
            out["value"] = comram.read(Number(argv[arg++]));
        }
        else if (op == "irqthread")
        {
            need(2);
            out = RaiseInterruptStandIn(argv[arg], strcmp(argv[arg + 1], "dspuart") == 0);
            out["op"] = op;
            arg += 2;
        }
        else if (op == "getters")
        {
            out = Getters();
            out["op"] = op;
        }
        else if (op == "release")
        {
            toolBox.reset();
            Q7K::Q7KManagement::ShutdownQ7KHelper();
            KvDriverApi::S_ReleaseInstance(false);
            out["after"] = KvDriverApi::S_GetInstance(0) != nullptr;
            ops.append(out);
            break;
        }
        else
        {
            fprintf(stderr, "BoardProbe: unknown operation %s\n", op.c_str());
            return 2;
        }
        out["elapsedMs"] = static_cast<Json::Int64>(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
                .count());
        ops.append(out);
    }
    toolBox.reset();
    Q7K::Q7KManagement::ShutdownQ7KHelper();
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    std::cout << Json::writeString(writer, root) << std::endl;
    return 0;
}
