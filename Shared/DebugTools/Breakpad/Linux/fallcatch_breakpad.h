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
 *     FallcatchLogField                        what the log is sent as, default "upload_file_log"; "none": it is not
 *     FallcatchLogLeaveOut                     messages of the log that must not be sent, separated by semicolons: of
 *                                              categories ("#30", "#30-39"), or that hold a word; see docs/crash-log.md
 *     FallcatchLogBytes                        how much of it, the newest; default "262144"
 *
 *     BreakpadSkipConfirm                      "NO" (or false): nothing is sent before the user has agreed, see
 *                                              FallcatchBreakpadSetUpload
 *     BreakpadLogFiles                         array of paths, "~" allowed; attached like those of
 *                                              FallcatchBreakpadAttachFile
 *
 * Nobody asks the user here, and no program of its own writes the dump, so that BreakpadRequestComments,
 * BreakpadRequestEmail, BreakpadConfirmTimeout, BreakpadSendAndExit and BreakpadInspectorLocation mean nothing.
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

/* Where a product's reports, and what is remembered of them, lie unless the host says otherwise: the path in UTF-8, cut
 * and zero-terminated to fit size bytes. Under GNUstep this is not the cache folder of other programs. The folder need
 * not be there. Null for the product's name counts as empty.
 *
 * Returns the path's whole length without the zero, or 0 where the user has no such folder.
 */
FALLCATCH_BREAKPAD_EXPORT unsigned int FallcatchBreakpadFolder(const char* product, char* path,
                                                               unsigned int size);

/* Whether reports of the product may be sent: not 0 or 0. The user's answer is remembered with the product, for
 * senders of later starts too; until there is one, reports are sent unless "BreakpadSkipConfirm" says "NO". Without
 * consent crashes are written and kept as ever. A consent sends what waits. May be called before FallcatchInit.
 *
 * Breakpad's own framework on macOS asks the user itself unless "BreakpadSkipConfirm" says "YES". Nobody asks here:
 * a host that wants its users asked sets the key to "NO", asks in its own way and calls this.
 *
 * Returns 1, or 0 when the answer could not be written; it then counts for nothing.
 */
FALLCATCH_BREAKPAD_EXPORT int FallcatchBreakpadSetUpload(int allowed);

/* A field of every report from now on, such as "channel" and "beta", in UTF-8. Of the same limits and the same effect
 * as BreakpadServerParameterPrefix_NAME, whose pair it replaces. Before FallcatchInit too; any thread.
 *
 * Returns 1, or 0 for an empty name, a null and when there is no room for a pair more.
 */
FALLCATCH_BREAKPAD_EXPORT int FallcatchBreakpadSetTag(const char* name, const char* value);
FALLCATCH_BREAKPAD_EXPORT void FallcatchBreakpadRemoveTag(const char* name);

/* Posts a file with every report from now on, as attachment_1, attachment_2 and so on; eight at most. The sender reads
 * it when it sends, so the file should still be as it was: the user's own, writable by nobody else, no link, of at most
 * 1 MiB. In place of one that is not so a text is sent that says why. Before FallcatchInit too; any thread.
 *
 * Returns 1, or 0 for an empty path and a ninth file.
 */
FALLCATCH_BREAKPAD_EXPORT int FallcatchBreakpadAttachFile(const char* path);

/* Reports the process as it is, with the reason (UTF-8, null for none) as the field "Reason". The process goes on; all
 * its threads stand still for as long as the dump takes, some tens of milliseconds. The calling thread counts as the
 * crashed one, with the reason DUMP_REQUESTED. Not for signal handlers.
 *
 * Returns 1, or 0 without a reporter, while another such report is made, or when none could be written.
 */
FALLCATCH_BREAKPAD_EXPORT int FallcatchBreakpadReportNow(const char* reason);

/* Has a log go with each report, such as the logger's with HSL::WriteCrashLog; null: none any more. Any thread, at any
 * time.
 *
 * In the crash, once dump and report are on the disk, a bare copy of the process calls the function with a file that
 * is open for writing, <guid>.log beside the dump. The function may call only what is safe in a signal handler; other
 * threads do not run in the copy. A fault ends only the copy; after 2 seconds the crash goes on without it, and the
 * file says so. What it returns is not looked at. Where memory is scarce and may not be promised twice, the system may
 * refuse the copy: then too the file says so.
 *
 * The sender makes text of what HSL::WriteCrashLog writes and sends the newest 256 KiB with the report.
 */
FALLCATCH_BREAKPAD_EXPORT void FallcatchBreakpadSetLogWriter(int (*write)(int file));

/* Watches for a thread that hangs, as a rule the one that serves the user: a host that calls the heartbeat in each
 * round of its event loop gets a report without a crash, as above, when none comes for so many seconds; one only until
 * the next. 0 ends the watch, which is off at first. It is looked at four times a second by a thread of its own, with
 * all signals blocked. Time that the machine sleeps does not count; time under a debugger does.
 *
 * FallcatchBreakpadWatch returns 1, or 0 when the thread could not be started. The heartbeat is one atomic addition, for
 * any thread, but not for signal handlers.
 */
FALLCATCH_BREAKPAD_EXPORT int FallcatchBreakpadWatch(unsigned int seconds);
FALLCATCH_BREAKPAD_EXPORT void FallcatchBreakpadHeartbeat(void);

#ifdef __cplusplus
}
#endif

#endif
