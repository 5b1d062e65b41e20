#pragma once

/// Receives messages that other modules of the host address to this one.
class MessageReceiver {
public:
    /// May be called on any thread.
    /// @param source  NUL-terminated name of the sending module
    /// @param text    NUL-terminated message (Latin-1)
    virtual int receiveMessage(int kind, const char *source, const char *text) = 0;

protected:
    ~MessageReceiver() = default;
};
