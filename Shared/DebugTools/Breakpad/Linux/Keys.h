// The names of the pairs that adapter and sender share.
#ifndef FALLCATCH_BREAKPAD_KEYS_H
#define FALLCATCH_BREAKPAD_KEYS_H

namespace BreakpadLinux {

constexpr char kProduct[] = "BreakpadProduct";
constexpr char kVersion[] = "BreakpadVersion";
constexpr char kUrl[] = "BreakpadURL";
constexpr char kServerType[] = "BreakpadServerType";
constexpr char kReportInterval[] = "BreakpadReportInterval";
constexpr char kVendor[] = "BreakpadVendor";
constexpr char kMinidumpLocation[] = "BreakpadMinidumpLocation";
constexpr char kReporterExeLocation[] = "BreakpadReporterExeLocation";
constexpr char kServerParameters[] = "BreakpadServerParameters";
constexpr char kServerParameterPrefix[] = "BreakpadServerParameterPrefix_";
constexpr char kLogFiles[] = "BreakpadLogFiles";
constexpr char kSkipConfirm[] = "BreakpadSkipConfirm";
constexpr char kComments[] = "BreakpadComments";
constexpr char kEmail[] = "BreakpadEmail";
constexpr char kStartTime[] = "BreakpadProcStartTime";
constexpr char kCrashTime[] = "BreakpadProcessCrashTime";
constexpr char kUpTime[] = "BreakpadProcessUpTime";

// Of this adapter only.
constexpr char kAnyAnswer[] = "FallcatchAnyAnswer";
constexpr char kCaFile[] = "FallcatchCAFile";
constexpr char kGzip[] = "FallcatchGzip";
// Followed by a number from 1 on; the value is a path.
constexpr char kAttachmentPrefix[] = "FallcatchAttachment_";
constexpr char kKeepEnvironment[] = "FallcatchKeepEnvironment";
constexpr char kKeepReports[] = "FallcatchKeepReports";
constexpr char kKeepMegabytes[] = "FallcatchKeepMegabytes";
constexpr char kKeepDays[] = "FallcatchKeepDays";
constexpr char kLogField[] = "FallcatchLogField";
constexpr char kLogBytes[] = "FallcatchLogBytes";
constexpr char kLogLeaveOut[] = "FallcatchLogLeaveOut";

constexpr char kGoogle[] = "google";
constexpr char kSocorro[] = "socorro";

// In the product's folder, where both write it or read it: "1" or "0".
constexpr char kConsentFile[] = "Consent";

constexpr char kDumpSuffix[] = ".dmp";
constexpr char kReportSuffix[] = ".report";
constexpr char kPartSuffix[] = ".part";
constexpr char kLogSuffix[] = ".log";

// What may lie beside a report and goes with it, the dump first: a report without its dump is known to be sent.
constexpr const char* kCompanions[] = { kDumpSuffix, kLogSuffix };

} // namespace BreakpadLinux

#endif
