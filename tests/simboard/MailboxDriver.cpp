#include "MailboxDriver.h"

#include <gtest/gtest.h>

namespace simtest
{

std::vector<std::string> RecordingSink::matching(std::initializer_list<const char*> fragments) const
{
    std::vector<std::string> found;
    for (const std::string& line : lines)
    {
        bool all = true;
        for (const char* f : fragments)
            all = all && line.find(f) != std::string::npos;
        if (all)
            found.push_back(line);
    }
    return found;
}

MailboxDriver::MailboxDriver(const sim::BoardConfig& config, std::vector<uint8_t> image)
    : eeprom(std::move(image)), server(config, eeprom.data(), &trace)
{
}

sim::BoardConfig MailboxDriver::config(std::initializer_list<std::pair<const char*, const char*>> options)
{
    sim::BoardConfig config;
    for (const auto& option : options)
    {
        std::string error;
        EXPECT_TRUE(config.apply(option.first, option.second, &error)) << error;
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

void MailboxDriver::resetPulse()
{
    for (uint8_t level : {1, 0, 1})
    {
        write(0x7FFD, level);
        wait(10 * kMs);
    }
    write(0x7FFD, 0);
    wait(100 * kMs);
}

bool MailboxDriver::memoryCheck()
{
    writeLe(0x0004, 0xA5005AFF, 4);
    return readLe(0x0004, 4) == 0xA5005AFF;
}

bool MailboxDriver::waitBootstrap(uint64_t budgetNs)
{
    for (uint64_t spent = 0; spent <= budgetNs; spent += 100 * kMs)
    {
        if (command(0x01, 0, 100 * kMs) == 0)
            return true;
    }
    return false;
}

bool MailboxDriver::wake()
{
    resetPulse();
    return memoryCheck() && waitBootstrap();
}

int MailboxDriver::boardWakeUp(int attempts)
{
    int code = 0;
    for (int attempt = 0; attempt < attempts; ++attempt)
    {
        resetPulse();
        bool ram = false;
        for (int probe = 0; probe < 10 && !ram; ++probe)
            if (!(ram = memoryCheck()))
                wait(100 * kMs);
        if (!ram)
        {
            code = 1;
            continue;
        }
        if (!waitBootstrap())
        {
            code = 2;
            continue;
        }
        if (command(0x05) != 0)
            return 3;
        const uint8_t ident = read(0x0004);
        if ((ident & 0xF0) != 0xC0)
        {
            if (command(0x92) != 0)
                return 5;
            writeLe(0x0004, 0, 4); // empty transfer; the address byte stays as it stands
            if (command(0x90) != 0)
            {
                busReset();
                code = 6;
                continue;
            }
        }
        return command(0x03) == 0 ? 0 : 4;
    }
    return code;
}

int MailboxDriver::command(uint8_t opcode, uint32_t mailbox, uint64_t timeoutNs)
{
    write(mailbox, opcode);
    write(mailbox + 1, 0x80);
    if (mailbox == 0)
    {
        write(0x0003, 1);
        write(0x7FFF, 1);
    }
    for (uint64_t waited = 0; waited <= timeoutNs; waited += 100 * kUs)
    {
        const uint8_t status = read(mailbox + 1);
        if (status != 0x80 && status != 0xFF)
            return status;
        wait(100 * kUs);
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

void MailboxDriver::busReset()
{
    uint32_t value = 0;
    bsRead(0x87, 0xF0000A44, &value);
    bsWrite(0x81, 0xF0000A44, value & ~0x0004u);
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

int MailboxDriver::transfer(uint8_t device, const std::vector<uint8_t>& out, uint16_t readCount,
                            std::vector<uint8_t>* in, bool checksum)
{
    write(0x0002, device);
    write(0x0003, 0);
    writeLe(0x0004, static_cast<uint32_t>(out.size()), 2);
    writeLe(0x0006, readCount, 2);
    uint32_t sum = 1;
    for (size_t i = 0; i < out.size(); ++i)
    {
        write(static_cast<uint32_t>(0x0010 + i), out[i]);
        sum += out[i];
    }
    if (checksum)
        writeLe(0x0008, sum, 4);
    wait(kMs);
    write(0x0000, 0x90);
    write(0x0001, 0x80);
    if (checksum)
        write(0x0003, 1);
    write(0x7FFF, 1);
    int status = kTimedOut;
    for (int poll = 0; poll < 1000 && status == kTimedOut; ++poll)
    {
        const uint8_t handshake = read(0x0001);
        if (handshake != 0x80 && handshake != 0xFF)
            status = handshake;
        else
            wait(kMs);
    }
    if (status == 0 && in)
        for (uint16_t i = 0; i < readCount; ++i)
            in->push_back(read(0x0010 + i));
    return status;
}

int MailboxDriver::eepromRead(uint16_t address, uint16_t count, std::vector<uint8_t>* data)
{
    return transfer(0xA4, {static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)}, count, data);
}

int MailboxDriver::eepromWrite(uint16_t address, const std::vector<uint8_t>& data)
{
    std::vector<uint8_t> block{static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)};
    block.insert(block.end(), data.begin(), data.end());
    return transfer(0xA4, block, 0, nullptr);
}

uint8_t MailboxDriver::reg(uint8_t index)
{
    server.portWrite(0x351, index, now);
    return server.portRead(0x350, now);
}

void MailboxDriver::setReg(uint8_t index, uint8_t value)
{
    server.portWrite(0x351, index, now);
    server.portWrite(0x350, value, now);
}

bool MailboxDriver::psuSend(const std::vector<uint8_t>& bytes)
{
    setReg(32, 0xDC);
    setReg(33, 0x32);
    setReg(35, 0x01);
    setReg(38, 0x40);
    setReg(38, 0x81);
    for (uint8_t b : bytes)
        setReg(34, b);
    for (int waited = 0; waited < 1000; ++waited)
    {
        if (reg(34) & 0x01)
            return true;
        wait(kMs);
    }
    return false;
}

} // namespace simtest
