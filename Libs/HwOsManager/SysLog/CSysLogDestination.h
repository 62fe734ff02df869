#pragma once
// Where the log server routes a channel's messages.
class CSysLogMessage;

class CSysLogDestination
{
public:
    virtual ~CSysLogDestination();
    // Returns the text length written.
    virtual int WriteMessage(CSysLogMessage* message) = 0;
    virtual bool IsReadyForReceiving() const = 0;
    virtual void Flush() = 0;
};
