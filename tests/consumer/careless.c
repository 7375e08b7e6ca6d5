/* Code of a host that does without warnings: with fallcatch's own it would not compile. */
#include "CircularBuffer.h"

int careless(long number, int unused);

int careless(long number, int unused)
{
    int narrow = number;
    {
        int narrow = 1;
        number = narrow;
    }
    return narrow + (number > sizeof(cb_control));
}
