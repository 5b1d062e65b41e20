#include "ListenAddress.h"

#include <algorithm>

QString ListenAddress::toText() const
{
    const bool isIPv6 = host.protocol() == QAbstractSocket::IPv6Protocol;
    const QString form = isIPv6 ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2");
    return form.arg(host.toString()).arg(port);
}

bool ListenAddress::fromText(const QString &text, ListenAddress *address)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    QString hostText = text.left(colon);
    const QString portText = text.mid(colon + 1);
    const bool isPortNumber =
        !portText.isEmpty() && std::all_of(portText.begin(), portText.end(), [](QChar c) {
            return c >= QLatin1Char('0') && c <= QLatin1Char('9');
        });
    bool fits = false;
    const quint16 portNumber = portText.toUShort(&fits);
    if (colon < 1 || !isPortNumber || !fits)
        return false;

    const bool inBrackets =
        hostText.startsWith(QLatin1Char('[')) && hostText.endsWith(QLatin1Char(']'));
    if (inBrackets)
        hostText = hostText.mid(1, hostText.size() - 2);
    QHostAddress parsed;
    if (hostText == QLatin1String("localhost") && !inBrackets)
        parsed = QHostAddress::LocalHost;
    else if (!parsed.setAddress(hostText))
        return false;
    if (inBrackets != (parsed.protocol() == QAbstractSocket::IPv6Protocol))
        return false;
    *address = {parsed, portNumber};
    return true;
}
