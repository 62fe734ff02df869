// CSysLogServer: the key help that the log menu shows.
#include "CSysLogServer.h"
#include <cstdio>
#include <cstring>

void CSysLogServer::InitInfoKeys()
{
    static const char* const S_ppKeyHelp_c[][2] = {
        {"A/a", "Enable/disable logs"},
        {"+/-", "Scroll channels"},
        {"Arrows", "Move the cursor"},
        {"Space Bar", "Toggle channel menu"},
        {"Enter", "Validate a channel menu choice"},
        {"F3", "Set threshold for all channels"},
        {"Shift-F3", "Reset to default threshold configuration"},
        {"F4", "Save threshold configuration"},
        {"F5", "Reload saved threshold configuration"},
        {"Ctrl-Alt-Q", "Delete all log files"},
    };
    mNbInfoKeys_U32 = 0;
    for (const auto& line : S_ppKeyHelp_c)
    {
        SetInfoKeys(line[0], line[1]);
    }
}

void CSysLogServer::SetInfoKeys(const char* key, const char* text)
{
    if (key == nullptr || text == nullptr)
    {
        return;
    }
    uint32_t index_U32 = 0;
    while (index_U32 < mNbInfoKeys_U32 &&
           strncmp(mpInfoKey_X[index_U32].mpKey_c, key, sizeof(SSysLogInfoKey::mpKey_c) - 1) != 0)
    {
        index_U32++;
    }
    if (index_U32 == NB_INFO_KEYS)
    {
        return;
    }
    SSysLogInfoKey& line_X = mpInfoKey_X[index_U32];
    snprintf(line_X.mpKey_c, sizeof(line_X.mpKey_c), "%s", key);
    snprintf(line_X.mpText_c, sizeof(line_X.mpText_c), "%s", text);
    mNbInfoKeys_U32 = index_U32 == mNbInfoKeys_U32 ? mNbInfoKeys_U32 + 1 : mNbInfoKeys_U32;
}

const char* CSysLogServer::GetInfoKeyText(const char* key) const
{
    for (uint32_t i_U32 = 0; key != nullptr && i_U32 < mNbInfoKeys_U32; i_U32++)
    {
        // Keys are stored cut to their field: a longer key is found by what was kept of it.
        if (strncmp(mpInfoKey_X[i_U32].mpKey_c, key, sizeof(SSysLogInfoKey::mpKey_c) - 1) == 0)
        {
            return mpInfoKey_X[i_U32].mpText_c;
        }
    }
    return nullptr;
}
