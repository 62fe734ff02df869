#include "ImageCommand.h"
#include "IdentityRecord.h"
#include "MailboxDriver.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

namespace
{

// The exit status, then what went to standard output and to standard error.
std::tuple<int, std::string, std::string> run(const std::vector<std::string>& args)
{
    std::ostringstream out, err;
    const int status = sim::ImageCommand(out, err).run(args);
    return {status, out.str(), err.str()};
}

std::string tempFile(const std::string& bytes)
{
    // One name per process: ctest runs the cases of this file side by side.
    const std::string path = ::testing::TempDir() + "simboard_image." + std::to_string(getpid()) + ".bin";
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

} // namespace

TEST(ImageCommand, ShowReportsTheRecordsMakeWrote)
{
    const std::pair<const char*, const char*> rows[] = {
        {"make --serial QA0000042 --case-type 9 --copies good,bad-checksum,erased --user-name Lab "
         "--hardware-id 0x1234 --psu-type 2",
         "copy 0 at 256: good|copy 1 at 11072: bad-checksum|copy 2 at 21888: erased|old at 0: erased|"
         "serial \"QA0000042\" case-type 9 user-name \"Lab\" hardware-id 0x00001234 psu-type 2"},
        // The older record's tail (hardware ID, PSU and case type) lies in copy 0's first bytes.
        {"make --serial KV7654321 --case-type 4 --layout old --old bad",
         "copy 0 at 256: bad-checksum|copy 1 at 11072: erased|old at 0: bad-checksum|serial \"KV765432\" "
         "case-type 4"}};
    for (const auto& [make, shown] : rows)
    {
        const auto [status, image, err] = run(simtest::words(make));
        ASSERT_EQ(0, status) << err;
        ASSERT_EQ(32768u, image.size());
        const auto [shownStatus, out, shownErr] = run({"show", tempFile(image)});
        ASSERT_EQ(0, shownStatus) << shownErr;
        std::istringstream lines(shown);
        for (std::string line; std::getline(lines, line, '|');)
            EXPECT_NE(std::string::npos, out.find(line)) << line << "\n" << out;
    }
}

TEST(ImageCommand, RefusesBadUsageAndFilesWithAnExplanation)
{
    std::istringstream usages(
        "|frobnicate|make --copies good,good|make --case-type 300|make --serial TEN-CHARS!|"
        "make --layout|show");
    for (std::string args; std::getline(usages, args, '|');)
    {
        const auto [status, out, err] = run(simtest::words(args));
        EXPECT_EQ(2, status) << args;
        EXPECT_NE(std::string::npos, err.find("usage:")) << err;
        EXPECT_TRUE(out.empty());
    }
    const auto [status, out, err] = run({"show", tempFile("short")});
    EXPECT_EQ(1, status);
    EXPECT_NE(std::string::npos, err.find("holds 5 bytes, not 32768")) << err;
}
