// The --eeprom file of a run: read once at start under a lock that keeps a second run off it
// until this one has written it back, and written back whole through a temporary file and a
// rename, so that the file on disk is always a complete image, the old one or the new one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simhost
{

class ImageFile
{
public:
    ImageFile() = default;
    ~ImageFile();
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    // Reads and locks FILE; a missing FILE is created with `fresh` first. False with a message
    // for a folder, a file that cannot be read or is not an image, or one another run holds.
    bool open(const std::string& path, const std::vector<uint8_t>& fresh, std::vector<uint8_t>* image,
              std::string* error);
    // Replaces the file with `image`, keeping its owner and mode.
    bool save(const std::vector<uint8_t>& image, std::string* error) const;

private:
    bool read(std::vector<uint8_t>* image, std::string* error) const;

    std::string path_;
    int lockFd_ = -1;
};

} // namespace simhost
