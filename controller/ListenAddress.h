#pragma once

#include <QHostAddress>
#include <QString>

/// Where to listen, as options write it.
struct ListenAddress {
    QHostAddress host = QHostAddress::LocalHost;
    quint16 port = 0; ///< 0: any free one

    /// "127.0.0.1:42200", "[::1]:42200".
    QString toText() const;
    /// Takes a numeric address or "localhost", a colon and a port; an IPv6 address in brackets.
    /// @return false, with @p address unchanged, for anything else
    static bool fromText(const QString &text, ListenAddress *address);
};
