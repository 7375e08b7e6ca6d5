/* fallcatch_breakpad: answers the bridge's three Breakpad calls on Linux, over Breakpad's own Linux client.
 *
 * A host links it beside fallcatch and calls nothing in it to get reports; FallcatchInit does. What the host
 * may set, through the information dictionary or FallcatchInit's parameters:
 *
 *     BreakpadProduct, else CFBundleName       required, text that is not empty
 *     BreakpadVersion, else CFBundleVersion    required, text that is not empty
 *     BreakpadURL                              required, text that is not empty; http or https
 *     BreakpadServerType                       "google" (default) or "socorro": the names of the fields sent
 *     BreakpadReportInterval                   seconds between two reports of the product that are sent,
 *                                              default "3600"; "0" or less: every report is sent. A text that
 *                                              is no finite number is told and changes nothing
 *     BreakpadVendor                           default "Vendor not specified"; sent as the field Vendor if set
 *     BreakpadComments, BreakpadEmail          sent with every report
 *     BreakpadMinidumpLocation                 folder of the dumps, "~" allowed; default: the product's folder
 *                                              under Breakpad in the user's cache
 *     BreakpadReporterExeLocation              the sender program; default: fallcatch_sender beside this
 *                                              library or where it was installed with it
 *     BreakpadServerParameters                 dictionary of texts sent with every report
 *     BreakpadServerParameterPrefix_NAME       text sent with every report as NAME
 *
 * And of this adapter's own, texts too; a yes is "1", "YES" or "true":
 *
 *     FallcatchAnyAnswer                       yes: a collector of the type "socorro" need not name the report
 *     FallcatchCAFile                          file of certificates to trust instead of the system's
 *     FallcatchKeepEnvironment                 yes: dumps keep the values of environment variables and the command
 *                                              line, which are blanked otherwise (LANG, LC_... and TZ stay)
 *     FallcatchKeepReports, ...KeepMegabytes,  how much is kept of a product: default "20", "64", "90"; the
 *     ...KeepDays                              oldest reports go first
 *
 * Other keys are not read, whatever their values are. A value of the wrong type under a key that is read, a
 * missing required one, a folder that cannot be made or written, that is a link, belongs to another user or can
 * be written by others, and a missing sender program: no reporter, and one line on standard error that says which.
 *
 * The reporter holds 64 pairs of at most 255 bytes of UTF-8 a side; what is longer is cut between characters
 * (the URL and folders are not: half an address is another one), and a 65th pair is dropped. A nil value
 * removes its pair.
 *
 * In the crash the host writes the dump <guid>.dmp, then beside it <guid>.report with the pairs, starts the
 * sender, which outlives it, and dies of its own signal. A dump is removed only once a collector has taken it, has
 * said that it never will, or too much is kept. Until then it waits for the next start of a host of the same
 * product with the same folder; while that host runs, a sender beside it tries again, ever more seldom.
 *
 * What a host must know: signal handlers that it installs after FallcatchInit replace Breakpad's. An exception
 * of Objective-C that nobody catches ends a GNUstep program by exit(1), which is no crash: a host that wants a
 * report sets an NSUncaughtExceptionHandler that aborts. A host that is process 1 of a container takes its
 * sender with it; the report goes out at the next start.
 */
#ifndef FALLCATCH_BREAKPAD_H
#define FALLCATCH_BREAKPAD_H

#if defined(__GNUC__)
#define FALLCATCH_BREAKPAD_EXPORT __attribute__((visibility("default")))
#else
#define FALLCATCH_BREAKPAD_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Gives the calling thread a stack for signal handlers, so that an overflow of its own stack is reported too.
 * The thread that calls FallcatchInit has one already; every other thread that the host wants covered calls
 * this once when it starts. The memory is given back when the thread ends.
 *
 * Returns 1, or 0 when there was no memory; the thread then runs on without.
 */
FALLCATCH_BREAKPAD_EXPORT int FallcatchBreakpadPrepareThread(void);

#ifdef __cplusplus
}
#endif

#endif
