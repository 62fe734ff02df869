// --date texts: ISO 8601 or anything date(1) understands, read by date(1) itself so that the
// two agree and dates after 2038 work.
#pragma once

#include <cstdint>
#include <string>

namespace simhost
{

class DateText
{
public:
    static bool toEpochNs(const std::string& text, int64_t* ns, std::string* error);
};

} // namespace simhost
