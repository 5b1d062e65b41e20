#include "CLocaleScope.h"

locale_t cLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

CLocaleScope::CLocaleScope()
    : m_previous(uselocale(cLocale()))
{
}

CLocaleScope::~CLocaleScope()
{
    uselocale(m_previous);
}
