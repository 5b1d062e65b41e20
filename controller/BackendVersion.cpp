#include "BackendVersion.h"

#include <QRegularExpression>

bool BackendVersion::isAtLeast(int otherMajor, int otherMinor) const
{
    return major != otherMajor ? major > otherMajor : minor >= otherMinor;
}

QByteArray BackendVersion::toText() const
{
    QByteArray text = QByteArray::number(major) + '.' + QByteArray::number(minor);
    if (patch >= 0)
        text += '.' + QByteArray::number(patch);
    return text;
}

bool BackendVersion::fromText(const QString &text, BackendVersion *version)
{
    const QRegularExpression form(
        QStringLiteral("\\A([0-9]{1,4})\\.([0-9]{1,4})(?:\\.([0-9]{1,4}))?\\z"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return false;
    version->major = match.captured(1).toInt();
    version->minor = match.captured(2).toInt();
    version->patch = match.capturedLength(3) > 0 ? match.captured(3).toInt() : -1;
    return true;
}
