// Sarvik as users see it: the release binary run in a simulated server, one table row per case.
#include "SimRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <numeric>

namespace
{
constexpr int ERR = 3;
constexpr int INFO = 6;
constexpr uint32_t RECORD_SIZE = 1280;
constexpr uint32_t PAGE_SIZE = 64;

uint32_t CopyAddress(uint32_t copy)
{
    return (169 * copy + 4) * PAGE_SIZE;
}
std::vector<uint8_t> CopyBytes(const std::vector<uint8_t>& image, uint32_t copy) // empty when cut short
{
    const size_t end = CopyAddress(copy) + RECORD_SIZE;
    return image.size() < end ? std::vector<uint8_t>()
                              : std::vector<uint8_t>(image.begin() + end - RECORD_SIZE, image.begin() + end);
}
// The page at the address answers the status, to as many reads as given.
Args PageFault(uint32_t address, const std::string& status)
{
    return {"--fault", "page-status=" + std::to_string(address) + ":" + status};
}

std::string Text(const std::string& serial, const std::string& chassis)
{
    return "Serial number : " + serial + "\nChassis : " + chassis + "\n";
}
std::string Json(const std::string& serial, const std::string& chassis)
{
    return "\n{\n\t\"Chassis\" : \"" + chassis + "\",\n\t\"SerialNumber\" : \"" + serial + "\"\n}\n\n";
}

LogLines Connected(const std::string& detected = "Detected Q5K  board")
{
    return {{INFO, "Resetting QXK board..."},
            {INFO, "Retrieving QXK board infos..."},
            {INFO, detected},
            {INFO, "Reading settings..."}};
}
LogLines ReadFailed(const std::string& code, const std::string& detected = "Detected Q5K  board")
{
    LogLines lines = Connected(detected);
    lines.push_back({ERR, "::SettingsRead: failed, received error " + code});
    lines.push_back({ERR, "::Connect: failed to read settings"});
    return lines;
}

Args Unit(const std::string& serial, int caseType)
{
    return {"--serial", serial, "--case-type", std::to_string(caseType)};
}
// The sample unit with both layouts: copies as "image make" names them, the older record good or bad.
Args Copies(const std::string& copies, bool oldGood)
{
    Args args = Unit("SN123456", 7);
    args.insert(args.end(), {"--layout", "both", "--copies", copies, "--old", oldGood ? "good" : "bad"});
    return args;
}

// One run of the tool on the image.
SSimResult RunTool(CSimRun& sim, const std::string& image, Args options, const Args& toolArgs = {})
{
    if (!image.empty())
        options.insert(options.end(), {"--eeprom", image});
    SSimResult run = sim.Tool(options, toolArgs);
    EXPECT_EQ(run.Status, 0);
    return run;
}

// ---------------------------------------------------------------------------------------------
// Single runs: image, launcher options, command line -> output and the tool's log.

struct SRunCase
{
    std::string Name;
    Args Image; // "image make" arguments; empty for the simulator's sample unit
    Args Options;
    Args ToolArgs;
    std::string Out;
    LogLines Log;
    bool GetoptComplains = false;
};

using SingleRun = testing::TestWithParam<SRunCase>;

TEST_P(SingleRun, PrintsAndLogsWhatTheUnitHolds)
{
    const SRunCase& c = GetParam();
    CSimRun sim;
    const std::string image = c.Image.empty() ? "" : sim.Image(c.Image);
    ASSERT_EQ(image.empty(), c.Image.empty()) << "image make failed";
    const SSimResult run = RunTool(sim, image, c.Options, c.ToolArgs);
    EXPECT_EQ(run.Out, c.Out);
    EXPECT_EQ(run.Log(), c.Log);
    // getopt's own diagnostic, nothing of the tool's.
    EXPECT_EQ(run.Err.find("option") != std::string::npos, c.GetoptComplains) << run.Err;
    EXPECT_EQ(run.Err.empty(), !c.GetoptComplains) << run.Err;
}

const Args UNIT = Unit("SN123456", 7);
const std::string TEXT = Text("SN123456", "KV5-4U");
const std::string JSON = Json("SN123456", "KV5-4U");

const LogLines NO_BOARD = {{INFO, "Resetting QXK board..."},
                           {ERR, "::ResetQXKBoard: failed, BoardWakeUp() returned 0x1"},
                           {ERR, "::Connect: QXK board reset failed"}};
const Args NO_GOOD_COPY = Copies("bad-checksum,bad-checksum,bad-checksum", false);
const uint32_t LAST_PAGE = CopyAddress(0) + 19 * PAGE_SIZE; // of copy 0
// Copy 0's last page answers 1 to reads and writes alike: the repair reports its status.
const Args LAST_PAGE_FAILS = PageFault(LAST_PAGE, "1");

SRunCase Board(const std::string& name, const std::string& board, const std::string& detected)
{
    return {name,       Unit("SN123456", 16),       {"--board", board},
            {"--json"}, Json("SN123456", "KV-Arc"), Connected(detected)};
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SingleRun,
    testing::Values(
        SRunCase{"TextByDefault", UNIT, {}, {}, TEXT, Connected()},
        SRunCase{"RepeatedJsonSwitch", UNIT, {}, {"-j", "-j"}, JSON, Connected()},
        SRunCase{"UnknownOptionKeepsText", UNIT, {}, {"--verbose"}, TEXT, Connected(), true},
        SRunCase{"UnknownShortOptionWithJson", UNIT, {}, {"-x", "-j"}, JSON, Connected(), true},
        SRunCase{"PositionalArgumentsIgnored", UNIT, {}, {"extra", "--json", "words"}, JSON, Connected()},
        SRunCase{"EmptySerialInJson", Unit("", 7), {}, {"--json"}, Json("", "KV5-4U"), Connected()},
        // The chassis names themselves are CKvFunctionality's; here only that an unnamed code
        // still prints its line.
        SRunCase{"UnnamedChassisCode", Unit("SN123456", 4), {}, {}, Text("SN123456", ""), Connected()},
        Board("BoardZEBX", "ZEBX", "Detected ZEBX board"), Board("BoardQ5KP", "Q5KP", "Detected Q5KP board"),
        Board("BoardQ5KPV", "Q5KP-V", "Detected Q5KP board"), Board("BoardQ7K", "Q7K", "Detected Q7K board"),
        SRunCase{"NoBoardPrintsNothing", UNIT, {"--fault", "no-drivers"}, {"--json"}, "", NO_BOARD},
        SRunCase{"NoValidRecordReportsDefaults", NO_GOOD_COPY, {}, {"--json"}, "", ReadFailed("0xb")},
        // An EEPROM that does not acknowledge is polled until it answers, ten polls a transfer.
        SRunCase{"BusyEepromPolled", UNIT, {"--fault", "eeprom-busy=9"}, {}, TEXT, Connected()},
        SRunCase{"BusyEepromPolledAgain", UNIT, {"--fault", "eeprom-busy=25"}, {}, TEXT, Connected()},
        SRunCase{"FailedRewrite", UNIT, LAST_PAGE_FAILS, {}, "", ReadFailed("0x201")},
        // A busy page (status 3 or 4) is taken as read, not asked again: the last page's bytes, with the
        // checksum, are missing, so its copy fails its checksum (not its attempt, which a second
        // attempt would pass); the repair from the next copy is the copy table's.
        SRunCase{"BusyPageTakenUnread", UNIT, PageFault(LAST_PAGE, "3:1"), {}, "", ReadFailed("0x200")},
        SRunCase{"GarbledPageTakenUnread", UNIT, PageFault(LAST_PAGE, "4:1"), {}, "", ReadFailed("0x200")}),
    [](const testing::TestParamInfo<SRunCase>& info) { return info.param.Name; });

// Rewrites bytes of the copies and fixes their checksums, as a unit programmed with them.
void PatchCopies(const std::string& path, uint32_t offset, const std::vector<uint8_t>& bytes,
                 const std::vector<uint32_t>& copies = {0, 1, 2})
{
    std::vector<uint8_t> image = CSimRun::ReadBytes(path);
    ASSERT_GE(image.size(), CopyAddress(2) + RECORD_SIZE);
    for (uint32_t copy : copies)
    {
        uint8_t* record = &image[CopyAddress(copy)];
        memcpy(record + offset, bytes.data(), bytes.size());
        const uint32_t sum = std::accumulate(record, record + 1216, 1u);
        for (uint32_t i = 0; i < 4; i++)
            record[1216 + i] = static_cast<uint8_t>(sum >> (8 * i));
    }
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(image.data()), image.size());
}

// ---------------------------------------------------------------------------------------------
// The three copies and the older record: which copy becomes the record, which one is rewritten,
// what is printed, run after run until the unit has healed.

struct SCopyCase
{
    const char* Name;
    // Per copy: G good, B bad checksum, U good but its last page answers the micro-code error 1 to
    // every read of the first run (5 tries, 3 attempts); the repair writes it again.
    const char* Copies;
    bool OldGood;
    // Per run: "ok" (printed, nothing written) or "D<S": copy D rewritten from copy S.
    std::vector<std::string> Runs;
};

using CopyRepair = testing::TestWithParam<SCopyCase>;

TEST_P(CopyRepair, ReadsTheFirstGoodCopyAndRewritesTheFirstDamagedOnePerRun)
{
    const SCopyCase& c = GetParam();
    CSimRun sim;
    std::string copies;
    Args faults;
    for (uint32_t copy = 0; copy < 3; ++copy)
    {
        copies += std::string(copy ? "," : "") + (c.Copies[copy] == 'B' ? "bad-checksum" : "good");
        if (c.Copies[copy] == 'U')
            faults = PageFault(CopyAddress(copy) + 19 * PAGE_SIZE, "1:15");
    }
    const std::string image = sim.Image(Copies(copies, c.OldGood));
    ASSERT_FALSE(image.empty());
    if (c.Copies[2] != 'B')
        PatchCopies(image, 9, {'Z'}, {2}); // copy 2 differs from copy 1 in a field nothing prints
    for (const std::string& expected : c.Runs)
    {
        SCOPED_TRACE(expected);
        const std::vector<uint8_t> before = CSimRun::ReadBytes(image);
        const SSimResult run = RunTool(sim, image, faults);
        faults.clear(); // a rewritten page reads again
        const std::vector<uint8_t> after = CSimRun::ReadBytes(image);
        const int rewritten = expected == "ok" ? -1 : expected[0] - '0';
        EXPECT_EQ(run.Out, rewritten < 0 ? TEXT : "");
        EXPECT_EQ(run.Log(), rewritten < 0 ? Connected() : ReadFailed("0x200"));
        EXPECT_EQ(run.Err, "");
        for (int copy = 0; copy < 3; ++copy)
            EXPECT_EQ(CopyBytes(after, copy), CopyBytes(before, copy == rewritten ? expected[2] - '0' : copy))
                << "copy " << copy;
        // The older record's head, below copy 0 (its tail lies inside copy 0).
        EXPECT_TRUE(std::equal(after.begin(), after.begin() + CopyAddress(0), before.begin()))
            << "older record touched";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Copies, CopyRepair,
    testing::Values(SCopyCase{"AllGoodOlderIgnored", "GGG", true, {"ok"}},
                    SCopyCase{"UnreadableFirst", "UGG", false, {"0<1", "ok"}},
                    SCopyCase{"DamagedAfterTheGoodOne", "GBB", false, {"1<0", "2<0", "ok"}},
                    SCopyCase{"OnlyTheLastGoodOlderIgnored", "BBG", true, {"0<2", "1<2", "ok"}}),
    [](const testing::TestParamInfo<SCopyCase>& info) { return std::string(info.param.Name); });

// ---------------------------------------------------------------------------------------------
// Runs whose checks need the image itself.

TEST(SerialNumber, NineCharactersRunOnIntoTheFollowingBytesOfTheRecord)
{
    CSimRun sim;
    const std::string image = sim.Image(Unit("123456789", 7));
    ASSERT_FALSE(image.empty());
    // The bytes after the field are not text, and nothing in the record ends the serial number.
    PatchCopies(image, 38, {'R', 'U', 'N', 0});
    const SSimResult runOn = RunTool(sim, image, {}, {"--json"});
    EXPECT_EQ(runOn.Out, Json("123456789RUN", "KV5-4U"));
    EXPECT_EQ(runOn.Log(), Connected());
}

TEST(OlderLayout, OnlyOlderRecordIsConvertedIntoCopyZeroOnEveryRun)
{
    CSimRun sim;
    const std::string image = sim.Image({"--serial", "SN654321", "--case-type", "9", "--layout", "old"});
    ASSERT_FALSE(image.empty());
    const std::vector<uint8_t> original = CSimRun::ReadBytes(image);
    for (int runIndex = 0; runIndex < 2; runIndex++)
    {
        SCOPED_TRACE("run " + std::to_string(runIndex + 1));
        const SSimResult run = RunTool(sim, image, {}, {"--json"});
        const std::vector<uint8_t> after = CSimRun::ReadBytes(image);
        EXPECT_EQ(run.Out, "");
        EXPECT_EQ(run.Log(), ReadFailed("0x200"));
        // The converted record (its fields are CEepromDataHandler's): no checksum, so never read.
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&after[CopyAddress(0) + 29])), "SN654321");
        EXPECT_EQ(after[CopyAddress(0) + 8], 9);
        EXPECT_EQ(CopyBytes(after, 1), CopyBytes(original, 1)) << "copy 1 touched";
        EXPECT_EQ(CopyBytes(after, 2), CopyBytes(original, 2)) << "copy 2 touched";
    }
}

struct SMicroCodeCase
{
    const char* Name;
    Args Options;
    std::string Detected;
    const char* Code;
    int Presence;  // presence requests rung, the wake-up's included
    int64_t GapUs; // from "Reading settings..." to the failure
};

using MicroCode = testing::TestWithParam<SMicroCodeCase>;

TEST_P(MicroCode, FailsTheReadAfterItsPresenceRounds)
{
    const SMicroCodeCase& c = GetParam();
    CSimRun sim;
    const SSimResult run = RunTool(sim, "", c.Options, {"--json"});
    EXPECT_EQ(run.Out, "");
    EXPECT_EQ(run.Log(), ReadFailed(c.Code, c.Detected));
    std::vector<int64_t> times;
    for (const Json::Value& line : run.Syslog)
        if (line["ident"] == "Sarvik")
            times.push_back(line["t_us"].asInt64());
    ASSERT_GE(times.size(), 5u);
    EXPECT_EQ(times[4] - times[3], c.GapUs);
    int presence = 0;
    for (const Json::Value& event : run.Events("doorbell"))
        presence += event["op"] == "0x01";
    EXPECT_EQ(presence, c.Presence);
}

const std::string Q5K = "Detected Q5K  board";
const Args STUCK = {"--board", "Q7K", "--fault", "status-stuck=0xFF"};

// Ten presence rounds of 1000 one-millisecond polls, then 5. A refused request leaves no record
// (11) and each next copy probes the micro-code again.
INSTANTIATE_TEST_SUITE_P(
    Faults, MicroCode,
    testing::Values(SMicroCodeCase{"Absent", {"--fault", "ucode-absent"}, Q5K, "0x5", 11, 10000050},
                    SMicroCodeCase{"NeverAnswers", {"--fault", "ucode-timeout"}, Q5K, "0x5", 11, 10000050},
                    // 0xFF is the micro-code's busy handshake, never a completion code.
                    SMicroCodeCase{"BusyForever", STUCK, "Detected Q7K board", "0x5", 10, 10000050},
                    SMicroCodeCase{"Refuses", {"--fault", "ucode-refuse"}, Q5K, "0xb", 5, 12084}),
    [](const testing::TestParamInfo<SMicroCodeCase>& info) { return std::string(info.param.Name); });
} // namespace
