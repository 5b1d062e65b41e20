#include "CommaLocale.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <clocale>
#include <cstring>

namespace {

const char kLocale[] = "de_DE.UTF-8";

bool setCommaLocale()
{
    return std::setlocale(LC_ALL, kLocale) &&
           std::strcmp(std::localeconv()->decimal_point, ",") == 0;
}

bool makeLocale(const QString &folder)
{
    const QString target = folder + QLatin1Char('/') + QLatin1String(kLocale);
    if (QDir(target).exists())
        return true;
    QDir().mkpath(folder);
    // Made aside and put in place in one step, since several tests may want it at once.
    QTemporaryDir aside(folder + QStringLiteral("/new-XXXXXX"));
    const QString made = aside.filePath(QLatin1String(kLocale));
    QProcess localedef;
    localedef.start(QStringLiteral("localedef"),
                    {QStringLiteral("-i"), QStringLiteral("de_DE"), QStringLiteral("-f"),
                     QStringLiteral("UTF-8"), made});
    if (!localedef.waitForFinished(60000) || !QDir(made).exists())
        return false;
    return QDir().rename(made, target) || QDir(target).exists();
}

} // namespace

CommaLocale::CommaLocale(bool wanted)
    : m_previous(std::setlocale(LC_ALL, nullptr))
{
    if (!wanted) {
        std::setlocale(LC_ALL, "C");
        return;
    }
    m_asWanted = setCommaLocale();
    if (!m_asWanted) {
        const QString folder = QStringLiteral(QUOREL2_BUILD_DIR "/locales");
        if (makeLocale(folder)) {
            qputenv("LOCPATH", QFile::encodeName(folder));
            m_asWanted = setCommaLocale();
        }
    }
}

CommaLocale::~CommaLocale()
{
    std::setlocale(LC_ALL, m_previous.constData());
}

void addLocaleRows()
{
    QTest::addColumn<bool>("comma");
    QTest::newRow("decimal point") << false;
    QTest::newRow("decimal comma") << true;
}
