#pragma once

#include <locale.h>

/// The C locale, made once and kept for the life of the process.
locale_t cLocale();

/// Puts the calling thread into the C locale and back again. The process's locale, and with it
/// every other thread, stays as it is.
class CLocaleScope {
public:
    CLocaleScope();
    ~CLocaleScope();
    CLocaleScope(const CLocaleScope &) = delete;
    CLocaleScope &operator=(const CLocaleScope &) = delete;

private:
    locale_t m_previous;
};
