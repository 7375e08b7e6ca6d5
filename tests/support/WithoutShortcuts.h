// For its lifetime every piece of text goes through the C library's formatter, where a test can watch it.
#ifndef FALLCATCH_TESTS_WITHOUT_SHORTCUTS_H
#define FALLCATCH_TESTS_WITHOUT_SHORTCUTS_H

#include "hslog/render/HSLStringify.h"

class WithoutShortcuts {
public:
    WithoutShortcuts() { HSL::gShortcuts = false; }
    ~WithoutShortcuts() { HSL::gShortcuts = true; }

    WithoutShortcuts(const WithoutShortcuts&) = delete;
    WithoutShortcuts& operator=(const WithoutShortcuts&) = delete;
};

#endif
