#pragma once
// Channel number to channel name ("" for a channel without a name): names the log files.
const char* SysLog_GetChannelName(unsigned int channel);
