// Code of a host that does without warnings: with fallcatch's own it would not compile.
#include "hslog/HSL.h"

int carelessToo(long number, int unused)
{
    int narrow = number;
    {
        int narrow = 1;
        number = narrow;
    }
    return narrow + (number > sizeof(HSL::CCat));
}
