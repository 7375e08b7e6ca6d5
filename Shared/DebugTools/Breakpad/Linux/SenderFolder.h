// A folder of reports, as the sender sees it.
#ifndef FALLCATCH_BREAKPAD_SENDER_FOLDER_H
#define FALLCATCH_BREAKPAD_SENDER_FOLDER_H

#include "SenderReport.h"
#include "SenderRetention.h"

#include <ctime>
#include <string>
#include <vector>

namespace BreakpadLinux {

struct FoundReport {
    StoredReport report;
    Kept kept;
};

// The product's whole reports, oldest first. Folders, pipes, links and what is not the user's own are passed
// over.
std::vector<FoundReport> ReportsOf(const std::string& product, const std::string& folder);

// Removes dumps without a report, halves of files and damaged reports that a crash left more than a day ago.
// Only files whose names are those of a reporter's are looked at, since the folder may be anyone's. Returns
// their names.
std::vector<std::string> RemoveOrphans(const std::string& folder, time_t now);

// Dump first, report last: a report without its dump is known to be sent. Returns whether all of it is gone.
bool RemoveReport(const StoredReport& report);

} // namespace BreakpadLinux

#endif
