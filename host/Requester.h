#pragma once

/// Receives the controller's live data lines.
class Requester {
public:
    /// May be called on a thread of the host's.
    /// @param lineType  NUL-terminated type, for example "6d"
    /// @param line      NUL-terminated line, the type included
    virtual int receiveLine(const char *lineType, const char *line) = 0;
    virtual int reserved1() = 0;
    virtual int reserved2() = 0;

protected:
    ~Requester() = default;
};
