// The image helper of the launcher: "make" writes a 32 KiB EEPROM image to standard output,
// "show" prints the fields and checksum state of each record in an image file.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace sim
{

class ImageCommand
{
public:
    ImageCommand(std::ostream& out, std::ostream& err) : out_(out), err_(err) {}

    // args[0] is the sub-command; returns the exit status.
    int run(const std::vector<std::string>& args);

private:
    int make(const std::vector<std::string>& args);
    int show(const std::vector<std::string>& args);
    int usage(const std::string& problem);

    std::ostream& out_;
    std::ostream& err_;
};

} // namespace sim
