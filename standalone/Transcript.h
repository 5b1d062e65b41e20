#pragma once

#include "Exchange.h"

#include <QFile>
#include <QString>

/// Writes every exchange to a file as it happens: "> request", then "< reply", or "! reason" for an
/// exchange without a reply. A line that the controller sent unasked is a comment, "# unasked:
/// line", between two exchanges. Line ends and NULs within a text are written as in C.
class Transcript {
public:
    /// Begins a new file.
    /// @return false and @p error set if it cannot be written
    bool open(const QString &fileName, QString *error);
    /// Does nothing while no file is open.
    void add(const Exchange &exchange);
    void addUnasked(const QByteArray &line);

private:
    void write(const char *sign, QByteArray text);

    QFile m_file;
};
