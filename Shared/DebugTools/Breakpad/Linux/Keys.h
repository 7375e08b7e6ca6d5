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
constexpr char kComments[] = "BreakpadComments";
constexpr char kEmail[] = "BreakpadEmail";
constexpr char kStartTime[] = "BreakpadProcStartTime";
constexpr char kCrashTime[] = "BreakpadProcessCrashTime";
constexpr char kUpTime[] = "BreakpadProcessUpTime";

// The folder where the sender keeps what it remembers of the product. In reports only; not one of the pairs
// that a host may set.
constexpr char kStateFolder[] = "FallcatchStateFolder";

constexpr char kGoogle[] = "google";
constexpr char kSocorro[] = "socorro";

constexpr char kDumpSuffix[] = ".dmp";
constexpr char kReportSuffix[] = ".report";

} // namespace BreakpadLinux

#endif
