#include "MailboxDriver.h"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

namespace simtest
{

std::vector<std::string> words(const std::string& text)
{
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

MailboxDriver::MailboxDriver(const std::string& options, Bytes image)
    : eeprom(std::move(image)), server(config(options), eeprom.data(), &trace)
{
}

sim::BoardConfig MailboxDriver::config(const std::string& options)
{
    sim::BoardConfig config;
    for (const std::string& option : words(options))
    {
        const size_t eq = option.find('=');
        std::string error;
        EXPECT_TRUE(config.apply(option.substr(0, eq), option.substr(eq + 1), &error)) << error;
    }
    return config;
}

uint32_t MailboxDriver::readLe(uint32_t offset, int width)
{
    uint32_t value = 0;
    for (int i = 0; i < width; ++i)
        value |= static_cast<uint32_t>(read(offset + i)) << (8 * i);
    return value;
}

void MailboxDriver::writeLe(uint32_t offset, uint32_t value, int width)
{
    for (int i = 0; i < width; ++i)
        write(offset + i, static_cast<uint8_t>(value >> (8 * i)));
}

bool MailboxDriver::wake()
{
    for (int edge = 0; edge < 4; ++edge) // the reset line pulsed twice, then 100 ms for the board
    {
        write(0x7FFD, edge % 2 == 0 ? 1 : 0);
        wait(edge == 3 ? 100 * kMs : 10 * kMs);
    }
    return memoryCheck() && command(0x01) == 0;
}

bool MailboxDriver::memoryCheck()
{
    writeLe(0x0004, 0xA5005AFF, 4);
    return readLe(0x0004, 4) == 0xA5005AFF;
}

int MailboxDriver::command(uint8_t opcode, uint32_t mailbox, uint64_t timeoutNs, uint8_t flag,
                           uint64_t pollNs)
{
    write(mailbox, opcode);
    write(mailbox + 1, 0x80);
    if (mailbox == 0)
    {
        write(0x0003, flag);
        write(0x7FFF, 1);
    }
    for (uint64_t waited = 0; waited <= timeoutNs; waited += pollNs)
    {
        const uint8_t status = read(mailbox + 1);
        if (status != 0x80 && status != 0xFF)
            return status;
        wait(pollNs);
    }
    return kTimedOut;
}

int MailboxDriver::bsWrite(uint8_t opcode, uint32_t address, uint32_t value)
{
    writeLe(0x0002, address, 4);
    writeLe(0x0006, value, opcode == 0x80 ? 1 : opcode == 0x81 ? 2 : 4);
    return command(opcode, bsMailbox);
}

int MailboxDriver::bsRead(uint8_t opcode, uint32_t address, uint32_t* value)
{
    writeLe(0x0002, address, 4);
    const int status = command(opcode, bsMailbox);
    *value = readLe(0x0006, opcode == 0x86 ? 1 : opcode == 0x87 ? 2 : 4);
    return status;
}

void MailboxDriver::busReset(bool handPinToPort)
{
    uint32_t value = 0;
    if (handPinToPort)
    {
        bsRead(0x87, 0xF0000A44, &value);
        bsWrite(0x81, 0xF0000A44, value & ~0x0004u);
    }
    bsRead(0x86, 0xF0000A18, &value);
    bsWrite(0x80, 0xF0000A18, value | 0x01);
    for (int i = 0; i < 10; ++i)
    {
        bsWrite(0x80, 0xF0000A38, 0xFE);
        bsWrite(0x80, 0xF0000A28, 0x01);
    }
    bsRead(0x87, 0xF0000A44, &value);
    bsWrite(0x81, 0xF0000A44, value | 0x0004);
}

int MailboxDriver::transfer(uint8_t device, const Bytes& out, uint16_t readCount, Bytes* in, bool checksum,
                            uint32_t checksumSkew)
{
    write(0x0002, device);
    writeLe(0x0004, static_cast<uint32_t>(out.size() | readCount << 16), 4);
    uint32_t sum = 1;
    for (size_t i = 0; i < out.size(); ++i)
    {
        write(static_cast<uint32_t>(0x0010 + i), out[i]);
        sum += out[i];
    }
    if (checksum)
        writeLe(0x0008, sum + checksumSkew, 4);
    wait(kMs);
    const int status = command(0x90, 0, 1000 * kMs, checksum ? 1 : 0, kMs);
    for (uint16_t i = 0; status == 0 && in && i < readCount; ++i)
        in->push_back(read(0x0010 + i));
    return status;
}

int MailboxDriver::eepromRead(uint16_t address, uint16_t count, Bytes* data)
{
    return transfer(0xA4, {static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)}, count, data);
}

std::string MailboxDriver::psuScript(const std::string& bytes, const char* rate)
{
    std::string script = std::string("g20=DC g21=") + rate + " g23=1 g26=40 g26=81";
    for (const std::string& byte : words(bytes))
        script += " g22=" + byte;
    return script;
}

void MailboxDriver::run(const std::string& script)
{
    SCOPED_TRACE(script);
    for (const std::string& step : words(script))
    {
        SCOPED_TRACE(step);
        unsigned a = 0, n = 0, v = 0;
        const char* rest = step.c_str() + 1;
        std::sscanf(rest, step[0] == 't' ? "%u" : "%x", &a);
        if (const char* plus = std::strchr(rest, '+'))
            std::sscanf(plus + 1, "%u", &n);
        if (const char* eq = std::strchr(rest, '='))
            std::sscanf(eq + 1, "%x", &v);
        Bytes data{static_cast<uint8_t>(a >> 8), static_cast<uint8_t>(a)}; // the address, then 1, 2, 3...
        for (unsigned i = 0; i < n; ++i)
            data.push_back(static_cast<uint8_t>(i + 1));
        const char op = step[0];
        if (op == 'g' || op == 'q')
            server.portWrite(0x351, static_cast<uint8_t>(a), now); // the Q7K register's index
        if (op == 'w')
            write(a, static_cast<uint8_t>(v));
        else if (op == 'c')
        {
            write(0x0000, static_cast<uint8_t>(a));
            write(0x0001, 0x80);
            write(0x7FFF, 1);
        }
        else if (op == 't')
            wait(a * kUs);
        else if (op == 'g')
            server.portWrite(0x350, static_cast<uint8_t>(v), now);
        else
        {
            const int actual = op == 'r'   ? read(a)
                               : op == 'm' ? memoryCheck()
                               : op == 'p' ? server.portRead(static_cast<uint16_t>(a), now)
                               : op == 'q' ? server.portRead(0x350, now)
                               : op == 'W' ? transfer(0xA4, data, 0, nullptr)
                               : op == 'R' ? eepromRead(static_cast<uint16_t>(a), n, &data)
                               : op == 'P' ? transfer(0xA4, {}, 0, nullptr)
                               : op == 'M' ? eeprom.at(a)
                                           : -2; // no such step

            EXPECT_EQ(static_cast<int>(v), actual);
        }
    }
}

} // namespace simtest
