#include "ImageCommand.h"
#include "EepromImage.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace
{

struct Outcome
{
    int status;
    std::string out;
    std::string err;
};

Outcome run(const std::vector<std::string>& args)
{
    std::ostringstream out;
    std::ostringstream err;
    const int status = sim::ImageCommand(out, err).run(args);
    return {status, out.str(), err.str()};
}

std::string tempFile(const std::string& bytes)
{
    const std::string path = ::testing::TempDir() + "simboard_image.bin";
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

} // namespace

TEST(ImageCommand, MakeWritesTheAskedStatesAndFields)
{
    const Outcome made = run({"make", "--serial", "QA0000042", "--case-type", "9", "--copies",
                              "good,bad-checksum,erased", "--user-name", "Lab", "--hardware-id", "0x1234"});
    ASSERT_EQ(0, made.status) << made.err;
    const sim::EepromImage image(std::vector<uint8_t>(made.out.begin(), made.out.end()));
    ASSERT_EQ(32768u, made.out.size());
    EXPECT_EQ(sim::EepromImage::State::Good, image.copyState(0));
    EXPECT_EQ(sim::EepromImage::State::Bad, image.copyState(1));
    EXPECT_EQ(sim::EepromImage::State::Erased, image.copyState(2));
    EXPECT_EQ(sim::EepromImage::State::Erased, image.oldState());
    EXPECT_EQ("QA0000042", image.copy(1).serial);
    EXPECT_EQ(9, image.copy(0).caseType);
    EXPECT_EQ(0x1234u, image.copy(0).hardwareId);
    EXPECT_EQ("Lab", image.copy(0).userName);
}

TEST(ImageCommand, OldLayoutOnlyLeavesTheCopiesErased)
{
    const Outcome made = run({"make", "--serial", "OLD12345", "--case-type", "4", "--layout", "old"});
    ASSERT_EQ(0, made.status) << made.err;
    const sim::EepromImage image(std::vector<uint8_t>(made.out.begin(), made.out.end()));
    // The older record's tail (hardware ID, PSU and case type) lies in copy 0's first bytes.
    EXPECT_EQ(sim::EepromImage::State::Bad, image.copyState(0));
    EXPECT_EQ(sim::EepromImage::State::Erased, image.copyState(1));
    EXPECT_EQ(sim::EepromImage::State::Erased, image.copyState(2));
    EXPECT_EQ(sim::EepromImage::State::Good, image.oldState());
    EXPECT_EQ("OLD12345", image.old().serial);
    EXPECT_EQ(4, image.old().caseType);
}

TEST(ImageCommand, ShowReportsEveryRecordOfAMadeImage)
{
    const Outcome made = run({"make", "--serial", "KV7654321", "--case-type", "7", "--layout", "both",
                              "--copies", "bad-checksum,good,good", "--old", "bad"});
    ASSERT_EQ(0, made.status);
    const Outcome shown = run({"show", tempFile(made.out)});
    ASSERT_EQ(0, shown.status) << shown.err;
    EXPECT_NE(std::string::npos, shown.out.find("copy 0 at 256: bad-checksum"));
    EXPECT_NE(std::string::npos, shown.out.find("copy 1 at 11072: good"));
    EXPECT_NE(std::string::npos, shown.out.find("copy 2 at 21888: good"));
    EXPECT_NE(std::string::npos, shown.out.find("old at 0: bad-checksum"));
    EXPECT_NE(std::string::npos, shown.out.find("serial \"KV7654321\" case-type 7"));
    EXPECT_NE(std::string::npos, shown.out.find("serial \"KV765432\""));
}

TEST(ImageCommand, BadUsageExitsWithTwoAndExplains)
{
    const std::vector<std::vector<std::string>> bad = {{},
                                                       {"frobnicate"},
                                                       {"make", "--copies", "good,good"},
                                                       {"make", "--case-type", "300"},
                                                       {"make", "--serial", "TEN-CHARS!"},
                                                       {"make", "--layout"},
                                                       {"show"}};
    for (const auto& args : bad)
    {
        const Outcome result = run(args);
        EXPECT_EQ(2, result.status) << (args.empty() ? "" : args[0]);
        EXPECT_NE(std::string::npos, result.err.find("usage:"));
        EXPECT_TRUE(result.out.empty());
    }
}

TEST(ImageCommand, ShowRefusesAFileOfTheWrongSize)
{
    const Outcome shown = run({"show", tempFile("short")});
    EXPECT_EQ(1, shown.status);
    EXPECT_NE(std::string::npos, shown.err.find("5 bytes"));
}
