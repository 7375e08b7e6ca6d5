// A report on disk and what of it goes to the server.
#ifndef FALLCATCH_BREAKPAD_SENDER_REPORT_H
#define FALLCATCH_BREAKPAD_SENDER_REPORT_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace BreakpadLinux {

class StoredReport {
public:
    // Nothing for a file that is not the user's own or not a whole report; why then says so in words that may
    // follow its name.
    static std::optional<StoredReport> Read(const std::string& path, std::string& why);

    const std::string& Path() const { return mPath; }
    std::string Folder() const;
    std::string DumpPath() const;
    std::string Id() const; // the guid
    // Seconds. 0 for text that starts with no number or with none that is finite.
    double Interval() const;
    std::string Value(const std::string& key) const;
    // Whether the host has set the key to a text that says yes: "1", "YES" or "true".
    bool IsSet(const std::string& key) const;
    const std::map<std::string, std::string>& Pairs() const { return mPairs; }

private:
    std::string mPath;
    std::map<std::string, std::string> mPairs;
};

// A file of the form beside the dump.
struct FormFile {
    std::string field;
    std::string name;
    std::string type; // such as "text/plain"
    std::string contents;
};

struct Submission {
    std::string url;
    std::map<std::string, std::string> query; // added to the URL
    std::map<std::string, std::string> fields;
    std::string dump; // path; the field upload_file_minidump
    std::vector<FormFile> files;
    std::string caFile; // empty: the system's certificates
    bool gzip = false;  // whether the collector takes a compressed post
};

// The server type decides the names: "socorro" or "google"; for any other only the host's extra parameters and
// the dump are sent. An extra parameter of a field's name replaces it. The client's id is asked for only when
// it is sent.
Submission MakeSubmission(const StoredReport& report, const std::function<std::string()>& clientId);

} // namespace BreakpadLinux

#endif
