// The text of a <guid>.report file: what the crashed process leaves beside its dump for the sender.
//
// A first line, then for each pair a line with the two lengths in bytes followed by key and value, then a last
// line. A file without its last line was not written to its end and is no report.
#ifndef FALLCATCH_BREAKPAD_REPORT_FILE_H
#define FALLCATCH_BREAKPAD_REPORT_FILE_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace BreakpadLinux {

constexpr char kReportHeader[] = "fallcatch report 1\n";
constexpr char kReportEnd[] = "0 0\n";

void AppendPair(std::string& text, const std::string& key, const std::string& value);

// Of two pairs with one key the later one counts. Nothing for text that is not a whole report.
std::optional<std::map<std::string, std::string>> ParseReport(const std::string& text);

} // namespace BreakpadLinux

#endif
