// The same calls with the check (CHECKED) or without (PLAIN).
#include "hslog/HSLFormatCheck.h"

#ifdef CHECKED
#define TELL(log, ...) HSL_CHECKED_LOG(log, 3, __VA_ARGS__)
#define TELL_ALL(...) HSL_CHECKED_HSLOG(HSL::CCat(3), __VA_ARGS__)
#else
#define TELL(log, ...) (log)->Log(3, __VA_ARGS__)
#define TELL_ALL(...) HSL::HSLog(HSL::CCat(3), __VA_ARGS__)
#endif

void TellAll(HSL::CLogContext* log, int number, const char* text, const wchar_t* wide)
{
    TELL(log, "plain");
    TELL(log, "%d %s %S %.1f", number, text, wide, 7.25);
    TELL_ALL("%d files opened", number);
}
