#pragma once

#include <QByteArray>

/// Puts the whole process under a locale with a decimal comma, as an application object does on a
/// German desktop, and back again. Makes the locale in the build folder if the system has none.
class CommaLocale {
public:
    /// @param wanted  false changes nothing
    explicit CommaLocale(bool wanted = true);
    ~CommaLocale();
    CommaLocale(const CommaLocale &) = delete;
    CommaLocale &operator=(const CommaLocale &) = delete;

    /// False if it was wanted, but this system can neither find nor make one.
    bool isAsWanted() const { return m_asWanted; }

private:
    QByteArray m_previous;
    bool m_asWanted = true;
};

/// Adds one row for each locale under which a case must hold.
void addLocaleRows();

/// For a case with the rows of addLocaleRows(): the rest of it runs under the locale of its row.
#define UNDER_LOCALE_OF_ROW()                                                                      \
    QFETCH(bool, comma);                                                                           \
    const CommaLocale localeOfRow(comma);                                                          \
    if (!localeOfRow.isAsWanted())                                                                 \
    QSKIP("NOT TESTED: this system has no locale with a decimal comma and cannot make one")
