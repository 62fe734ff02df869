#include "ImageCommand.h"

#include "EepromImage.h"
#include "SampleUnit.h"
#include "SimServer.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

namespace sim
{

namespace
{

bool parseUnsigned(const std::string& text, unsigned long max, unsigned long* out)
{
    if (text.empty() || text[0] == '-')
        return false;
    char* end = nullptr;
    *out = std::strtoul(text.c_str(), &end, 0);
    return *end == '\0' && *out <= max;
}

} // namespace

int ImageCommand::usage(const std::string& problem)
{
    err_ << "sarvik-sim image: " << problem << "\n"
         << "usage: sarvik-sim image make [--serial S] [--case-type N] [--layout current|old|both]\n"
         << "                             [--copies STATE,STATE,STATE] [--old good|bad|none]\n"
         << "                             [--user-name NAME] [--hardware-id N] [--psu-type N] > FILE\n"
         << "       sarvik-sim image show FILE\n"
         << "STATE is good, bad-checksum or erased.\n";
    return 2;
}

int ImageCommand::run(const std::vector<std::string>& args)
{
    if (args.empty())
        return usage("missing sub-command");
    if (args[0] == "make")
        return make(args);
    if (args[0] == "show")
        return show(args);
    return usage("unknown sub-command '" + args[0] + "'");
}

int ImageCommand::make(const std::vector<std::string>& args)
{
    IdentityRecord record = SampleUnit::record();
    std::string layout = "current";
    EepromImage::State copies[3] = {EepromImage::State::Good, EepromImage::State::Good,
                                    EepromImage::State::Good};
    std::string old;
    for (size_t i = 1; i < args.size(); i += 2)
    {
        const std::string& option = args[i];
        if (i + 1 >= args.size())
            return usage("option " + option + " needs a value");
        const std::string& value = args[i + 1];
        unsigned long number = 0;
        if (option == "--serial")
            record.serial = value;
        else if (option == "--user-name")
            record.userName = value;
        else if (option == "--case-type" && parseUnsigned(value, 0xFF, &number))
            record.caseType = static_cast<uint8_t>(number);
        else if (option == "--psu-type" && parseUnsigned(value, 0xFF, &number))
            record.psuType = static_cast<uint8_t>(number);
        else if (option == "--hardware-id" && parseUnsigned(value, 0xFFFFFFFFul, &number))
            record.hardwareId = static_cast<uint32_t>(number);
        else if (option == "--layout" && (value == "current" || value == "old" || value == "both"))
            layout = value;
        else if (option == "--old" && (value == "good" || value == "bad" || value == "none"))
            old = value;
        else if (option == "--copies")
        {
            size_t start = 0;
            for (int c = 0; c < 3; ++c)
            {
                const size_t comma = value.find(',', start);
                if ((comma == std::string::npos) != (c == 2) ||
                    !EepromImage::parseState(value.substr(start, comma - start), &copies[c]))
                    return usage("--copies takes three states, e.g. good,bad-checksum,good");
                start = comma + 1;
            }
        }
        else
            return usage("bad option or value: " + option + " " + value);
    }
    if (record.serial.size() > 9 || record.userName.size() > 20)
        return usage("the serial number holds 9 characters and the user name 20");
    if (old.empty())
        old = layout == "current" ? "none" : "good";
    EepromImage image;
    if (layout != "old")
        for (uint32_t c = 0; c < 3; ++c)
            if (copies[c] != EepromImage::State::Erased)
                image.writeCopy(c, record, copies[c]);
    EepromImage::State oldState = EepromImage::State::Erased;
    EepromImage::parseState(old, &oldState);
    if (oldState != EepromImage::State::Erased)
        image.writeOld(record, oldState);
    out_.write(reinterpret_cast<const char*>(image.bytes().data()),
               static_cast<std::streamsize>(image.bytes().size()));
    return out_ ? 0 : 1;
}

int ImageCommand::show(const std::vector<std::string>& args)
{
    if (args.size() != 2)
        return usage("show takes one image file");
    std::ifstream file(args[1], std::ios::binary);
    if (!file)
    {
        err_ << "sarvik-sim image: cannot open " << args[1] << "\n";
        return 1;
    }
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (bytes.size() != EepromImage::kSize)
    {
        err_ << "sarvik-sim image: " << args[1] << " holds " << bytes.size() << " bytes, not "
             << EepromImage::kSize << "\n";
        return 1;
    }
    out_ << EepromImage(std::move(bytes)).describe();
    return 0;
}

int imageCommand(int argc, char** argv)
{
    std::vector<std::string> args(argv, argv + argc);
    return ImageCommand(std::cout, std::cerr).run(args);
}

} // namespace sim
