#include "BodyListEntry.h"

#include <QStringList>

namespace {

const QChar kSeparator = QLatin1Char('|');
const QLatin1String kCalibrated("calibrated");
const QLatin1String kUncalibrated("uncalibrated");

} // namespace

bool isStandardType(const QString &type)
{
    return type.compare(QLatin1String("standard"), Qt::CaseInsensitive) == 0;
}

bool isVimbarType(const QString &type)
{
    return type.compare(QLatin1String("vimbar"), Qt::CaseInsensitive) == 0;
}

QString BodyListEntry::toText() const
{
    return type + kSeparator + QString::number(number) + kSeparator +
           (calibrated ? kCalibrated : kUncalibrated) + kSeparator + targetType;
}

bool BodyListEntry::fromText(const QString &text, BodyListEntry *entry)
{
    *entry = BodyListEntry();
    const QStringList fields = text.split(kSeparator, Qt::KeepEmptyParts);
    if (fields.size() < 4)
        return false;
    entry->type = fields.at(0);
    entry->number = fields.at(1).toInt();
    entry->calibrated = fields.at(2) == kCalibrated;
    entry->targetType = fields.at(3);
    return true;
}

QString bodyDisplayText(const QString &typeDescription, const QString &bodyDescription, int number)
{
    QString typeText = typeDescription;
    typeText.remove(QLatin1Char('"'));
    QString bodyText = bodyDescription;
    bodyText.remove(QLatin1Char('"'));

    // Put together piece by piece: a description may itself contain a place marker such as %1.
    const QString numberText =
        QLatin1Char(' ') + QString::number(number).rightJustified(2, QLatin1Char('0'));
    if (bodyText.isEmpty())
        return typeText + numberText;
    return bodyText + QLatin1String(" (") + typeText + numberText + QLatin1Char(')');
}
