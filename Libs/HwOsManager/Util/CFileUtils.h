#pragma once
// Root of the file and process helpers of the hardware layer.

namespace OrxHwLGPL
{
class CFileUtils
{
public:
    CFileUtils() = default;
    virtual ~CFileUtils();
};
} // namespace OrxHwLGPL
