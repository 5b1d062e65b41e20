#pragma once

#include "Exchange.h"

#include <QFile>
#include <QString>

/// Writes every exchange to a file as it happens: "> request", then "< reply", or "! reason" for an
/// exchange without a reply.
class Transcript {
public:
    /// Begins a new file.
    /// @return false and @p error set if it cannot be written
    bool open(const QString &fileName, QString *error);
    /// Does nothing while no file is open.
    void add(const Exchange &exchange);

private:
    QFile m_file;
};
