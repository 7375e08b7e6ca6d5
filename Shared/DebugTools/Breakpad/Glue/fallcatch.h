/* fallcatch: connects a desktop application to the Breakpad crash reporter.
 *
 * Usable from C, C++ and Objective-C. The functions may be called on any thread, but FallcatchInit,
 * FallcatchSetReportInterval and FallcatchRelease are meant for the host's start-up and shut-down code, one
 * at a time. wchar_t is 32 bits wide here: code compiled with -fshort-wchar must not call FallcatchInit.
 *
 * Order: FallcatchInit once, FallcatchSetReportInterval any number of times, FallcatchRelease with the same
 * handle. The library keeps no state of its own.
 */
#ifndef FALLCATCH_H
#define FALLCATCH_H

#include <stddef.h> /* wchar_t of C */

#if defined(__GNUC__)
#define FALLCATCH_EXPORT __attribute__((visibility("default")))
#else
#define FALLCATCH_EXPORT
#endif

/* Tells Swift and clang's checks which pointers may be null: those that say so. Nothing elsewhere. */
#ifdef __has_feature
#if __has_feature(nullability)
#define FALLCATCH_NULLABLE _Nullable
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wnullability-extension"
#pragma clang assume_nonnull begin
#endif
#endif
#ifndef FALLCATCH_NULLABLE
#define FALLCATCH_NULLABLE
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Builds the reporter's configuration and creates the reporter.
 *
 * unused1, unused2: never read; pass null.
 * defaultUrl: zero-terminated UTF-32 text, the URL that reports are submitted to. The user default
 *     "serverName" overrides it, also when that is empty. Empty, null or not valid UTF-32: the URL built
 *     into the library (FALLCATCH_DEFAULT_URL of its build).
 * parameters: parameterCount texts of the form key=value. Later ones win over earlier ones, over the
 *     application bundle's information dictionary and over the URL above. "ver" stands for
 *     "BreakpadVersion", "prod" for "BreakpadProduct"; any other key is handed to the reporter as it is. A
 *     text without "=" is ignored. A value cannot contain "=": k=a=b sets k to a. An "=" under a combining
 *     mark (U+0338, for one) is another character and separates nothing. A null text is ignored, and so is the
 *     whole list when it is null or parameterCount is not positive.
 *
 * Returns the reporter's handle, or null when the reporter refused the configuration (Breakpad needs a
 * product, a version and a URL) or there was no memory. No other error is reported.
 *
 * The configuration and its strings, a few hundred bytes, are never freed.
 */
FALLCATCH_EXPORT void* FALLCATCH_NULLABLE
FallcatchInit(void* FALLCATCH_NULLABLE unused1, const wchar_t* FALLCATCH_NULLABLE defaultUrl,
              void* FALLCATCH_NULLABLE unused2,
              const wchar_t* FALLCATCH_NULLABLE const* FALLCATCH_NULLABLE parameters, int parameterCount);

/* Sets the running reporter's "BreakpadReportInterval": the seconds that must pass between two reports that
 * are sent. FallcatchInit starts with 0, which sends every report. Any number is handed on as it is, and so is
 * the handle: a null one must not be passed on to a reporter that does not take it. The number's text, a few
 * bytes a call, is never freed.
 */
FALLCATCH_EXPORT void FallcatchSetReportInterval(void* reporter, int interval);

/* Releases the reporter. The handle is handed on as it is. */
FALLCATCH_EXPORT void FallcatchRelease(void* reporter);

/* Scans the process's arguments for a crash that a tester asks for: a switch that names the thread and, right
 * behind it, a crash type. Performs no crash; that is the host's part.
 *
 * codes: room for two numbers, whatever the capacity says. With null nothing is stored and 0 returned.
 *     codes[0]: 0 main thread ("-tcmt"), 1 worker thread ("-tcwt").
 *     codes[1]: 0 "TC_AR", 1 "TC_GC", 2 "TC_DIV0" (division by zero), 3 "TC_DER0" (dereference of address
 *     zero), 4 "TC_PUREV" (pure virtual call), 5 "TC_RECOVERABLE", 6 "TC_NONRECOVERABLE" (faults),
 *     7 "TC_CONSTRUCTWITHNULL" (construction with a null argument).
 * capacity: ignored.
 *
 * Returns how many were stored: 0 without a switch, 1 when an unknown word or nothing follows it, else 2.
 * Only the first switch counts, and the argument behind it is taken as a crash type whatever it is.
 *
 * Logs what it finds at level 3 ("Info") where the host links this library's log manager and has switched it
 * on. The argument itself is logged as the address of its string object under "%s": expect a few meaningless
 * bytes in its place.
 */
FALLCATCH_EXPORT int GetTestCommandsList(int* FALLCATCH_NULLABLE codes, int capacity);

#ifdef __cplusplus
}
#endif

#ifdef __has_feature
#if __has_feature(nullability)
#pragma clang assume_nonnull end
#pragma clang diagnostic pop
#endif
#endif

#endif
