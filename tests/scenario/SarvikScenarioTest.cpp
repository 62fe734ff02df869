// Sarvik as users see it: the release binary run in a simulated server, one table row per case.
#include "SimRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

namespace
{
using Args = std::vector<std::string>;
using LogLines = std::vector<std::pair<int, std::string>>;

constexpr int LOG_ERR_PRIORITY = 3;
constexpr int LOG_INFO_PRIORITY = 6;
// openlog's facility 8 (LOG_USER) is facility number 1 in the log.
constexpr int LOG_USER_FACILITY = 8 >> 3;
// Fast enough for the suite, slow enough that the tool's own polling still dominates.
const std::string SPEED = "50";

constexpr uint32_t RECORD_SIZE = 1280;
constexpr uint32_t PAGE_SIZE = 64;
uint32_t CopyAddress(uint32_t copy)
{
    return (169 * copy + 4) * PAGE_SIZE;
}
std::vector<uint8_t> CopyBytes(const std::vector<uint8_t>& image, uint32_t copy)
{
    if (image.size() < CopyAddress(copy) + RECORD_SIZE)
    {
        return {};
    }
    return std::vector<uint8_t>(image.begin() + CopyAddress(copy),
                                image.begin() + CopyAddress(copy) + RECORD_SIZE);
}

std::string Text(const std::string& serial, const std::string& chassis)
{
    return "Serial number : " + serial + "\nChassis : " + chassis + "\n";
}
std::string Json(const std::string& serial, const std::string& chassis)
{
    return "\n{\n\t\"Chassis\" : \"" + chassis + "\",\n\t\"SerialNumber\" : \"" + serial + "\"\n}\n\n";
}

LogLines Connected(const std::string& detected)
{
    return {{LOG_INFO_PRIORITY, "Resetting QXK board..."},
            {LOG_INFO_PRIORITY, "Retrieving QXK board infos..."},
            {LOG_INFO_PRIORITY, detected},
            {LOG_INFO_PRIORITY, "Reading settings..."}};
}
LogLines ReadFailed(const std::string& detected, const std::string& code)
{
    LogLines lines = Connected(detected);
    lines.push_back({LOG_ERR_PRIORITY, "::SettingsRead: failed, received error " + code});
    lines.push_back({LOG_ERR_PRIORITY, "::Connect: failed to read settings"});
    return lines;
}

LogLines ToolLog(const RunResult& run)
{
    LogLines lines;
    for (const SyslogLine& line : run.ToolLog())
    {
        EXPECT_EQ(line.facility, LOG_USER_FACILITY) << line.message;
        lines.push_back({line.priority, line.message});
    }
    return lines;
}

// Trace lines holding every one of the given fragments.
size_t TraceLines(const std::string& trace, const std::vector<std::string>& fragments)
{
    size_t count = 0;
    size_t start = 0;
    while (start < trace.size())
    {
        size_t end = trace.find('\n', start);
        end = end == std::string::npos ? trace.size() : end;
        const std::string line = trace.substr(start, end - start);
        bool all = true;
        for (const std::string& fragment : fragments)
        {
            all = all && line.find(fragment) != std::string::npos;
        }
        count += all ? 1 : 0;
        start = end + 1;
    }
    return count;
}

// ---------------------------------------------------------------------------------------------
// Single runs: image, launcher options, command line -> output and the tool's log.

struct RunCase
{
    std::string name;
    Args image; // "image make" arguments; empty for the simulator's sample unit
    Args sim;
    Args tool;
    std::string out;
    LogLines log;
    bool stderrEmpty = true;
};

std::ostream& operator<<(std::ostream& os, const RunCase& c)
{
    return os << c.name;
}

Args Unit(const std::string& serial, int caseType)
{
    return {"--serial", serial, "--case-type", std::to_string(caseType)};
}

const LogLines Q5K_OK = Connected("Detected Q5K  board");

std::vector<RunCase> CommandLineCases()
{
    const Args unit = Unit("SN123456", 7);
    return {
        {"TextByDefault", unit, {}, {}, Text("SN123456", "KV5-4U"), Q5K_OK},
        {"ShortJsonSwitch", unit, {}, {"-j"}, Json("SN123456", "KV5-4U"), Q5K_OK},
        {"LongJsonSwitch", unit, {}, {"--json"}, Json("SN123456", "KV5-4U"), Q5K_OK},
        {"RepeatedJsonSwitch", unit, {}, {"-j", "-j"}, Json("SN123456", "KV5-4U"), Q5K_OK},
        {"UnknownOptionKeepsText", unit, {}, {"--verbose"}, Text("SN123456", "KV5-4U"), Q5K_OK, false},
        {"UnknownShortOptionWithJson", unit, {}, {"-x", "-j"}, Json("SN123456", "KV5-4U"), Q5K_OK, false},
        {"PositionalArgumentsIgnored",
         unit,
         {},
         {"extra", "--json", "words"},
         Json("SN123456", "KV5-4U"),
         Q5K_OK},
        {"EmptySerialInJson", Unit("", 7), {}, {"--json"}, Json("", "KV5-4U"), Q5K_OK},
        {"EmptySerialInText", Unit("", 7), {}, {}, Text("", "KV5-4U"), Q5K_OK},
    };
}

std::vector<RunCase> BoardCases()
{
    const Args unit = Unit("SN123456", 16);
    std::vector<RunCase> cases;
    const std::vector<std::pair<std::string, std::string>> boards = {{"ZEBX", "Detected ZEBX board"},
                                                                     {"Q5K", "Detected Q5K  board"},
                                                                     {"Q5KP", "Detected Q5KP board"},
                                                                     {"Q5KP-V", "Detected Q5KP board"},
                                                                     {"Q7K", "Detected Q7K board"}};
    for (const auto& [board, detected] : boards)
    {
        std::string name = "Board" + board;
        name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
        cases.push_back(
            {name, unit, {"--board", board}, {"--json"}, Json("SN123456", "KV-Arc"), Connected(detected)});
    }
    return cases;
}

std::vector<RunCase> ChassisCases()
{
    const std::vector<std::pair<int, std::string>> names = {
        {3, "KM-5U "},  {4, ""},        {5, "KVmini"},  {6, ""},        {7, "KV5-4U"},  {8, "KV5-6U"},
        {9, "KM-6U "},  {10, "KMmini"}, {11, "KM-4U "}, {12, "KM5-6U"}, {13, "KM5-4U"}, {14, "KV-UX "},
        {15, "KM-UX "}, {16, "KV-Arc"}, {17, "KM-Arc"}, {18, "KV-LT"},  {0, ""},        {2, ""},
        {19, ""},       {127, ""},      {128, ""},      {200, ""},      {255, ""}};
    std::vector<RunCase> cases;
    for (const auto& [code, name] : names)
    {
        cases.push_back({"ChassisCode" + std::to_string(code),
                         Unit("SN123456", code),
                         {},
                         {},
                         Text("SN123456", name),
                         Q5K_OK});
    }
    return cases;
}

std::vector<RunCase> FailureCases()
{
    const Args unit = Unit("SN123456", 7);
    return {
        {"NoBoardPrintsNothing",
         unit,
         {"--fault", "no-drivers"},
         {"--json"},
         "",
         {{LOG_INFO_PRIORITY, "Resetting QXK board..."},
          {LOG_ERR_PRIORITY, "::ResetQXKBoard: failed, BoardWakeUp() returned 0x1"},
          {LOG_ERR_PRIORITY, "::Connect: QXK board reset failed"}}},
        {"NoValidRecordReportsDefaults",
         {"--serial", "SN123456", "--case-type", "7", "--copies", "bad-checksum,bad-checksum,bad-checksum",
          "--old", "bad"},
         {},
         {"--json"},
         "",
         ReadFailed("Detected Q5K  board", "0xb")},
    };
}

class SingleRun : public testing::TestWithParam<RunCase>
{
};

// One run of the case with the clocks at the given speed ("1": real time).
void CheckRun(const RunCase& c, const std::string& speed)
{
    CSimRun sim;
    Args simArgs = {"--speed", speed};
    if (!c.image.empty())
    {
        const std::string image = sim.MakeImage(c.image);
        ASSERT_FALSE(image.empty()) << "image make failed";
        simArgs.insert(simArgs.end(), {"--eeprom", image});
    }
    simArgs.insert(simArgs.end(), c.sim.begin(), c.sim.end());
    const RunResult run = sim.Run(simArgs, c.tool);
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.out, c.out);
    EXPECT_EQ(ToolLog(run), c.log);
    if (c.stderrEmpty)
    {
        EXPECT_EQ(run.err, "");
    }
    else
    {
        // getopt's own diagnostic, nothing of the tool's.
        EXPECT_NE(run.err.find("option"), std::string::npos) << run.err;
    }
}

TEST_P(SingleRun, PrintsAndLogsWhatTheUnitHolds)
{
    CheckRun(GetParam(), SPEED);
}

// Every model once with nothing accelerated: the tool's timer calibrates against real sleeps
// and its busy-waits meet the board's real reset, bootstrap and power-up delays.
class RealSpeed : public testing::TestWithParam<RunCase>
{
};

TEST_P(RealSpeed, PrintsAndLogsWhatTheUnitHolds)
{
    CheckRun(GetParam(), "1");
}

std::string CaseName(const testing::TestParamInfo<RunCase>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(CommandLine, SingleRun, testing::ValuesIn(CommandLineCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(Boards, SingleRun, testing::ValuesIn(BoardCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(Chassis, SingleRun, testing::ValuesIn(ChassisCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(Failures, SingleRun, testing::ValuesIn(FailureCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(Models, RealSpeed, testing::ValuesIn(BoardCases()), CaseName);

// ---------------------------------------------------------------------------------------------
// The three copies and the older record: which copy becomes the record, which one is rewritten,
// what is printed, run after run until the unit has healed (or, with only the older layout, never).

enum class Copy
{
    GOOD,
    BAD_CHECKSUM,
    UNREADABLE // good content, but its last page cannot be read
};

struct CopyCase
{
    Copy copy[3];
    bool oldGood;
};

const char* CopyName(Copy state)
{
    switch (state)
    {
    case Copy::GOOD:
        return "Good";
    case Copy::BAD_CHECKSUM:
        return "BadSum";
    default:
        return "Unreadable";
    }
}

std::string CopyCaseName(const testing::TestParamInfo<CopyCase>& info)
{
    std::string name;
    for (Copy state : info.param.copy)
    {
        name += CopyName(state);
        name += "_";
    }
    return name + (info.param.oldGood ? "OldGood" : "OldBad");
}

std::vector<CopyCase> AllCopyCases()
{
    const Copy states[] = {Copy::GOOD, Copy::BAD_CHECKSUM, Copy::UNREADABLE};
    std::vector<CopyCase> cases;
    for (Copy c0 : states)
        for (Copy c1 : states)
            for (Copy c2 : states)
                for (bool oldGood : {true, false})
                    cases.push_back({{c0, c1, c2}, oldGood});
    return cases;
}

// The record the older layout converts to: identity fields only, everything else zero.
std::vector<uint8_t> ConvertedRecord(const std::vector<uint8_t>& image)
{
    std::vector<uint8_t> record(RECORD_SIZE, 0);
    memcpy(&record[9], &image[72], 19);
    memcpy(&record[29], &image[92], 8);
    memcpy(&record[0], &image[256], 4);
    record[7] = image[263];
    record[8] = image[264];
    return record;
}

// Page faults that make a copy unreadable: its last page answers with a micro-code error.
Args UnreadableFaults(const CopyCase& c)
{
    Args faults;
    for (uint32_t copy = 0; copy < 3; copy++)
    {
        if (c.copy[copy] == Copy::UNREADABLE)
        {
            faults.push_back("--fault");
            // Fails every read of the first run (5 tries, 3 attempts); the repair writes it again.
            faults.push_back("page-status=" + std::to_string(CopyAddress(copy) + 19 * PAGE_SIZE) + ":1:15");
        }
    }
    return faults;
}

class CopyRepair : public testing::TestWithParam<CopyCase>
{
};

TEST_P(CopyRepair, ReadsFirstGoodCopyAndRewritesOneDamagedCopyPerRun)
{
    CopyCase state = GetParam();
    CSimRun sim;
    std::string copies;
    for (Copy c : state.copy)
    {
        copies += copies.empty() ? "" : ",";
        copies += c == Copy::BAD_CHECKSUM ? "bad-checksum" : "good";
    }
    const std::string image = sim.MakeImage({"--serial", "SN123456", "--case-type", "7", "--layout", "both",
                                             "--copies", copies, "--old", state.oldGood ? "good" : "bad"});
    ASSERT_FALSE(image.empty());
    const std::vector<uint8_t> original = CSimRun::ReadBytes(image);
    const std::vector<uint8_t> converted = ConvertedRecord(original);

    // The faults hold for the first run only: a rewritten page reads again.
    Args faults = UnreadableFaults(state);
    for (int runIndex = 0; runIndex < 3; runIndex++)
    {
        SCOPED_TRACE("run " + std::to_string(runIndex + 1));
        const std::vector<uint8_t> before = CSimRun::ReadBytes(image);
        Args simArgs = {"--speed", SPEED, "--eeprom", image};
        simArgs.insert(simArgs.end(), faults.begin(), faults.end());
        const RunResult run = sim.Run(simArgs, {});
        faults.clear();
        const std::vector<uint8_t> after = CSimRun::ReadBytes(image);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.err, "");

        int firstGood = -1;
        int damaged = -1;
        for (int copy = 2; copy >= 0; copy--)
        {
            firstGood = state.copy[copy] == Copy::GOOD ? copy : firstGood;
            damaged = state.copy[copy] != Copy::GOOD ? copy : damaged;
        }
        int rewritten = -1;
        std::vector<uint8_t> record;
        if (firstGood >= 0)
        {
            record = CopyBytes(before, firstGood);
            rewritten = damaged;
        }
        else if (state.oldGood)
        {
            record = converted;
            rewritten = 0;
        }

        if (record.empty())
        {
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(ToolLog(run), ReadFailed("Detected Q5K  board", "0xb"));
        }
        else if (rewritten < 0)
        {
            EXPECT_EQ(run.out, Text("SN123456", "KV5-4U"));
            EXPECT_EQ(ToolLog(run), Q5K_OK);
        }
        else
        {
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(ToolLog(run), ReadFailed("Detected Q5K  board", "0x200"));
        }
        for (int copy = 0; copy < 3; copy++)
        {
            EXPECT_EQ(CopyBytes(after, copy), copy == rewritten ? record : CopyBytes(before, copy))
                << "copy " << copy << (copy == rewritten ? " should be the record" : " should be untouched");
        }
        // The older record's head, below copy 0 (its tail lies inside copy 0).
        EXPECT_TRUE(std::equal(after.begin(), after.begin() + CopyAddress(0), before.begin()))
            << "older record touched";

        // What the next run finds: a copy rewritten from the older layout has no checksum.
        for (int copy = 0; copy < 3; copy++)
        {
            if (copy == rewritten)
            {
                state.copy[copy] = firstGood >= 0 ? Copy::GOOD : Copy::BAD_CHECKSUM;
            }
            else if (state.copy[copy] == Copy::UNREADABLE)
            {
                state.copy[copy] = Copy::GOOD;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Copies, CopyRepair, testing::ValuesIn(AllCopyCases()), CopyCaseName);

// ---------------------------------------------------------------------------------------------
// Runs whose checks need the image itself.

// Rewrites bytes of the three copies and fixes their checksums, as a unit programmed with them.
void PatchCopies(const std::string& path, uint32_t offset, const std::vector<uint8_t>& bytes)
{
    std::vector<uint8_t> image = CSimRun::ReadBytes(path);
    ASSERT_GE(image.size(), CopyAddress(2) + RECORD_SIZE);
    for (uint32_t copy = 0; copy < 3; copy++)
    {
        uint8_t* record = &image[CopyAddress(copy)];
        memcpy(record + offset, bytes.data(), bytes.size());
        uint32_t sum = 1;
        for (uint32_t i = 0; i < 1216; i++)
        {
            sum += record[i];
        }
        for (uint32_t i = 0; i < 4; i++)
        {
            record[1216 + i] = static_cast<uint8_t>(sum >> (8 * i));
        }
    }
    FILE* file = fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(fwrite(image.data(), 1, image.size(), file), image.size());
    fclose(file);
}

TEST(SerialNumber, NineCharactersRunOnIntoTheFollowingBytesOfTheRecord)
{
    CSimRun sim;
    const std::string image = sim.MakeImage(Unit("123456789", 7));
    ASSERT_FALSE(image.empty());
    const RunResult plain = sim.Run({"--speed", SPEED, "--eeprom", image}, {});
    EXPECT_EQ(plain.out, Text("123456789", "KV5-4U"));

    // The bytes after the field are not text, and nothing in the record ends the serial number.
    PatchCopies(image, 38, {'R', 'U', 'N', 0});
    const RunResult runOn = sim.Run({"--speed", SPEED, "--eeprom", image}, {"--json"});
    EXPECT_EQ(runOn.out, Json("123456789RUN", "KV5-4U"));
    EXPECT_EQ(ToolLog(runOn), Q5K_OK);
}

TEST(OlderLayout, OnlyOlderRecordIsConvertedAndCopyZeroRewrittenOnEveryRun)
{
    CSimRun sim;
    const std::string image = sim.MakeImage({"--serial", "SN654321", "--case-type", "9", "--layout", "old"});
    ASSERT_FALSE(image.empty());
    const std::vector<uint8_t> original = CSimRun::ReadBytes(image);
    for (int runIndex = 0; runIndex < 2; runIndex++)
    {
        SCOPED_TRACE("run " + std::to_string(runIndex + 1));
        const RunResult run = sim.Run({"--speed", SPEED, "--eeprom", image}, {"--json"});
        const std::vector<uint8_t> after = CSimRun::ReadBytes(image);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(ToolLog(run), ReadFailed("Detected Q5K  board", "0x200"));
        const std::vector<uint8_t> copy0 = CopyBytes(after, 0);
        EXPECT_EQ(copy0, ConvertedRecord(original));
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&copy0[29])), "SN654321");
        EXPECT_EQ(copy0[8], 9);
        EXPECT_EQ(CopyBytes(after, 1), CopyBytes(original, 1)) << "copy 1 touched";
        EXPECT_EQ(CopyBytes(after, 2), CopyBytes(original, 2)) << "copy 2 touched";
    }
}

TEST(Repair, FailedRewriteReportsTheWriteStatus)
{
    CSimRun sim;
    const std::string image = sim.MakeImage(Unit("SN123456", 7));
    ASSERT_FALSE(image.empty());
    // Copy 0's last page answers 1 to reads and writes alike.
    const std::string fault = "page-status=" + std::to_string(CopyAddress(0) + 19 * PAGE_SIZE) + ":1";
    const RunResult run = sim.Run({"--speed", SPEED, "--eeprom", image, "--fault", fault}, {});
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(ToolLog(run), ReadFailed("Detected Q5K  board", "0x201"));
}

// A busy page (status 3 or 4) is taken as read and not retried: its bytes are missing, so that
// copy fails its checksum and is repaired from the next one.
TEST(BusyEeprom, BusyPageIsAcceptedUnreadAndTheCopyRepaired)
{
    for (int status : {3, 4})
    {
        SCOPED_TRACE("status " + std::to_string(status));
        CSimRun sim;
        const std::string image = sim.MakeImage(Unit("SN123456", 7));
        ASSERT_FALSE(image.empty());
        const std::vector<uint8_t> original = CSimRun::ReadBytes(image);
        const std::string fault =
            "page-status=" + std::to_string(CopyAddress(0)) + ":" + std::to_string(status) + ":1";
        const RunResult run = sim.Run({"--speed", SPEED, "--eeprom", image, "--fault", fault}, {});
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(ToolLog(run), ReadFailed("Detected Q5K  board", "0x200"));
        EXPECT_EQ(CSimRun::ReadBytes(image), original) << "copy 0 is rewritten with the same record";
        EXPECT_EQ(TraceLines(run.trace, {"\"ev\":\"i2c\"", "\"wr\":2,", "\"mem\":\"0x0100\""}), 1u)
            << "the busy page was retried";

        const RunResult next = sim.Run({"--speed", SPEED, "--eeprom", image}, {});
        EXPECT_EQ(next.out, Text("SN123456", "KV5-4U"));
    }
}

TEST(BusyEeprom, UnacknowledgedTransfersArePolledUntilTheEepromAnswers)
{
    for (int busy : {1, 9, 25})
    {
        SCOPED_TRACE("busy " + std::to_string(busy));
        CSimRun sim;
        const std::string image = sim.MakeImage(Unit("SN123456", 7));
        ASSERT_FALSE(image.empty());
        const RunResult run = sim.Run(
            {"--speed", SPEED, "--eeprom", image, "--fault", "eeprom-busy=" + std::to_string(busy)}, {});
        EXPECT_EQ(run.out, Text("SN123456", "KV5-4U"));
        EXPECT_EQ(ToolLog(run), Q5K_OK);
    }
}

TEST(MicroCode, AbsentMicroCodeIsProbedTenRoundsThenReportedAsFive)
{
    CSimRun sim;
    const RunResult run = sim.Run({"--speed", SPEED, "--fault", "ucode-absent"}, {"--json"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(ToolLog(run), ReadFailed("Detected Q5K  board", "0x5"));
    // Ten presence rounds of 1000 one-millisecond polls lie between the two messages (virtual
    // time never runs shorter than the sleeps asked for).
    const std::vector<SyslogLine> log = run.ToolLog();
    ASSERT_GE(log.size(), 5u);
    EXPECT_GE(log[4].timeUs - log[3].timeUs, 10'000'000u);
    // The presence requests the board never took: exactly the ten rounds, each rung once.
    size_t rung = 0;
    size_t taken = 0;
    std::istringstream lines(run.trace);
    for (std::string line; std::getline(lines, line);)
    {
        if (line.find("\"op\":\"0x01\"") == std::string::npos)
            continue;
        rung += line.find("\"ev\":\"doorbell\"") != std::string::npos ? 1 : 0;
        taken += line.find("\"ev\":\"cmd\"") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(rung - taken, 10u) << "presence rounds the micro-code never answered";
}

} // namespace
