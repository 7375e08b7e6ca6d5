// A report on disk and what of it goes to the server.
#ifndef FALLCATCH_BREAKPAD_SENDER_REPORT_H
#define FALLCATCH_BREAKPAD_SENDER_REPORT_H

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace BreakpadLinux {

class StoredReport {
public:
    // Nothing for a file that is not a whole report.
    static std::optional<StoredReport> Read(const std::string& path);

    const std::string& Path() const { return mPath; }
    std::string DumpPath() const;
    std::string Id() const; // the guid
    std::string StateFolder() const;
    double Interval() const; // 0 for text that starts with no number
    std::string Value(const std::string& key) const;
    const std::map<std::string, std::string>& Pairs() const { return mPairs; }

private:
    std::string mPath;
    std::map<std::string, std::string> mPairs;
};

struct Submission {
    std::string url;
    std::map<std::string, std::string> query; // added to the URL
    std::map<std::string, std::string> fields;
    std::string dump; // path; the field upload_file_minidump
};

// The server type decides the names: "socorro" or "google"; for any other only the host's extra parameters and
// the dump are sent. An extra parameter of a field's name replaces it. The client's id is asked for only when
// it is sent.
Submission MakeSubmission(const StoredReport& report, const std::function<std::string()>& clientId);

} // namespace BreakpadLinux

#endif
