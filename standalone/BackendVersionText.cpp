#include "BackendVersionText.h"

#include "ReplyValues.h"

#include <QList>

#include <algorithm>

BackendVersions unknownBackendVersion()
{
    return BackendVersions{{nullptr, nullptr, nullptr, nullptr}, 0, 0, -1};
}

bool parseBackendVersion(const QByteArray &text, BackendVersions *version)
{
    const QList<QByteArray> parts = text.split('.');
    if (parts.size() < 2 || parts.size() > 3)
        return false;
    int numbers[3] = {0, 0, -1};
    for (int i = 0; i < parts.size(); ++i) {
        const QByteArray &part = parts.at(i);
        const bool digitsOnly =
            !part.isEmpty() &&
            std::all_of(part.cbegin(), part.cend(), [](char c) { return c >= '0' && c <= '9'; });
        if (!digitsOnly || !parseInt(part, &numbers[i]))
            return false;
    }
    version->major = numbers[0];
    version->minor = numbers[1];
    version->patch = numbers[2];
    return true;
}

QString backendVersionText(const BackendVersions &version)
{
    if (version.major == 0 && version.minor == 0)
        return QString();
    QString text = QStringLiteral("%1.%2").arg(version.major).arg(version.minor);
    if (version.patch >= 0)
        text += QStringLiteral(".%1").arg(version.patch);
    return text;
}
