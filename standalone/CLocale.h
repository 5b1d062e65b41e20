#pragma once

#include <clocale>
#include <locale.h>

/// Puts the calling thread into the C locale while it lives, so that printf writes a decimal point
/// whatever the process's locale is. Other threads are not touched.
class CLocale {
public:
    CLocale()
        : m_previous(uselocale(cLocale()))
    {
    }
    ~CLocale() { uselocale(m_previous); }
    CLocale(const CLocale &) = delete;
    CLocale &operator=(const CLocale &) = delete;

private:
    static locale_t cLocale()
    {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
        return locale;
    }

    locale_t m_previous;
};
