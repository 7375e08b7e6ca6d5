#include "SenderUpload.h"

#include "CleanText.h"
#include "OwnFiles.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <curl/curl.h>
#include <filesystem>
#include <memory>
#include <unistd.h>

namespace BreakpadLinux {

namespace {

constexpr std::size_t kAnswerLimit = 64 * 1024;
constexpr std::size_t kKeptText = 1000;
constexpr long kLongest = 24 * 60 * 60;

using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Mime = std::unique_ptr<curl_mime, decltype(&curl_mime_free)>;
using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

// What comes back. Of a body beyond the limit nobody wants to know more: the exchange ends there, and counts.
class Reply {
public:
    static std::size_t Head(char* bytes, std::size_t, std::size_t count, void* reply)
    {
        return static_cast<Reply*>(reply)->head(std::string(bytes, count)) ? count : 0;
    }

    static std::size_t Body(char* bytes, std::size_t, std::size_t count, void* reply)
    {
        auto* self = static_cast<Reply*>(reply);
        self->mText.append(bytes, std::min(count, kKeptText - std::min(kKeptText, self->mText.size())));
        self->mBody += count;
        return self->mBody <= kAnswerLimit ? count : 0;
    }

    bool HasWholeHead() const { return mIsWhole; }
    bool IsLong() const { return mBody > kAnswerLimit; }
    const std::string& RetryAfter() const { return mRetryAfter; }
    std::string FirstLine() const { return CleanLine(mText.substr(0, mText.find_first_of("\r\n"))); }

private:
    bool head(const std::string& line)
    {
        mHead += line.size();
        if (line.rfind("HTTP/", 0) == 0) {
            mIsWhole = false; // what was before was for the time being
            mRetryAfter.clear();
        } else if (line == "\r\n" || line == "\n") {
            mIsWhole = true;
        } else if (curl_strnequal(line.c_str(), "retry-after:", 12) != 0) {
            mRetryAfter = line.substr(12);
        }
        return mHead <= kAnswerLimit;
    }

    std::string mText;
    std::string mRetryAfter;
    std::size_t mHead = 0;
    std::size_t mBody = 0;
    bool mIsWhole = false;
};

long patience()
{
    return SecondsFrom(std::getenv("FALLCATCH_SENDER_TIMEOUT"), 60);
}

// Ends an exchange in which nothing moves any more; a slow one may take its time. The library's own limit looks
// at averages, so that much sent at first hides the silence that follows.
class Watch {
public:
    static int Look(void* watch, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent)
    {
        return static_cast<Watch*>(watch)->look(received + sent);
    }

private:
    using Clock = std::chrono::steady_clock;

    int look(curl_off_t moved)
    {
        const Clock::time_point now = Clock::now();
        if (moved != mMoved) {
            mMoved = moved;
            mSince = now;
        }
        return now - mSince > mPatience ? 1 : 0;
    }

    const std::chrono::seconds mPatience { patience() };
    Clock::time_point mSince = Clock::now();
    curl_off_t mMoved = 0;
};

// The dump, read as it is sent, from the very file that was looked at.
class Dump {
public:
    explicit Dump(const std::string& path)
    {
        const std::filesystem::path whole = path;
        const std::string folder = whole.parent_path().string();
        std::string why;
        const Descriptor place = OpenOwnFolder(folder.empty() ? "." : folder, why);
        if (place) {
            mFile = OpenOwnFile(place.Number(), whole.filename().string(), mFacts, why);
        }
    }

    bool IsThere() const { return static_cast<bool>(mFile); }

    bool AddTo(curl_mimepart* part)
    {
        return curl_mime_data_cb(part, static_cast<curl_off_t>(mFacts.bytes), read, seek, nullptr, this)
            == CURLE_OK;
    }

private:
    static std::size_t read(char* bytes, std::size_t size, std::size_t count, void* dump)
    {
        const ssize_t got = ::read(static_cast<Dump*>(dump)->mFile.Number(), bytes, size * count);
        return got < 0 ? CURL_READFUNC_ABORT : static_cast<std::size_t>(got);
    }

    static int seek(void* dump, curl_off_t offset, int origin)
    {
        const off_t reached = lseek(static_cast<Dump*>(dump)->mFile.Number(), offset, origin);
        return reached < 0 ? CURL_SEEKFUNC_FAIL : CURL_SEEKFUNC_OK;
    }

    Descriptor mFile;
    FileFacts mFacts;
};

bool setUrl(CURLU* url, const Submission& submission)
{
    if (curl_url_set(url, CURLUPART_URL, submission.url.c_str(), 0) != CURLUE_OK) {
        return false;
    }
    for (const auto& item : submission.query) {
        const std::string text = item.first + '=' + item.second;
        if (curl_url_set(url, CURLUPART_QUERY, text.c_str(), CURLU_APPENDQUERY | CURLU_URLENCODE)
            != CURLUE_OK) {
            return false;
        }
    }
    return true;
}

bool addFile(curl_mime* mime, const FormFile& file)
{
    curl_mimepart* part = curl_mime_addpart(mime);
    return curl_mime_name(part, file.field.c_str()) == CURLE_OK
        && curl_mime_data(part, file.contents.data(), file.contents.size()) == CURLE_OK
        && curl_mime_filename(part, file.name.c_str()) == CURLE_OK
        && curl_mime_type(part, file.type.c_str()) == CURLE_OK;
}

bool addFields(curl_mime* mime, const Submission& submission, Dump& dump)
{
    for (const auto& field : submission.fields) {
        curl_mimepart* part = curl_mime_addpart(mime);
        if (curl_mime_name(part, field.first.c_str()) != CURLE_OK
            || curl_mime_data(part, field.second.data(), field.second.size()) != CURLE_OK) {
            return false;
        }
    }
    for (const FormFile& file : submission.files) {
        if (!addFile(mime, file)) {
            return false;
        }
    }
    const std::string name = std::filesystem::path(submission.dump).filename().string();
    curl_mimepart* part = curl_mime_addpart(mime);
    return curl_mime_name(part, "upload_file_minidump") == CURLE_OK && dump.AddTo(part)
        && curl_mime_filename(part, name.c_str()) == CURLE_OK
        && curl_mime_type(part, "application/octet-stream") == CURLE_OK;
}

// As the programs of OpenSSL and libcurl do it; the library leaves it to its caller.
void setCertificates(CURL* easy, const std::string& chosen)
{
    const char* bundle = std::getenv("CURL_CA_BUNDLE");
    const char* file = std::getenv("SSL_CERT_FILE");
    const char* folder = std::getenv("SSL_CERT_DIR");
    if (!chosen.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, chosen.c_str());
    } else if (bundle != nullptr && *bundle != '\0') {
        curl_easy_setopt(easy, CURLOPT_CAINFO, bundle);
    } else if (file != nullptr && *file != '\0') {
        curl_easy_setopt(easy, CURLOPT_CAINFO, file);
    }
    if (chosen.empty() && folder != nullptr && *folder != '\0') {
        curl_easy_setopt(easy, CURLOPT_CAPATH, folder);
    }
}

void setOptions(CURL* easy, CURLU* url, curl_mime* mime, Reply& reply, Watch& watch)
{
    curl_easy_setopt(easy, CURLOPT_CURLU, url);
    curl_easy_setopt(easy, CURLOPT_MIMEPOST, mime);
#if LIBCURL_VERSION_NUM >= 0x075500
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
#else
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
#endif
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "fallcatch_sender/" FALLCATCH_VERSION);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, patience());
    curl_easy_setopt(easy, CURLOPT_TIMEOUT, SecondsFrom(std::getenv("FALLCATCH_SENDER_LIMIT"), 600));
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, Watch::Look);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, &watch);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, Reply::Head);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &reply);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, Reply::Body);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &reply);
}

bool isAboutCertificates(CURLcode code)
{
    return code == CURLE_SSL_CONNECT_ERROR || code == CURLE_PEER_FAILED_VERIFICATION
        || code == CURLE_SSL_CACERT_BADFILE || code == CURLE_SSL_CERTPROBLEM || code == CURLE_SSL_CIPHER
        || code == CURLE_SSL_ISSUER_ERROR;
}

std::string reasonOf(CURLcode code, const Reply& reply, const char* detail)
{
    if (code == CURLE_ABORTED_BY_CALLBACK) {
        return "nothing moved any more";
    }
    if (code == CURLE_OPERATION_TIMEDOUT) {
        return std::string(curl_easy_strerror(code)) + ": the exchange took too long";
    }
    if (code == CURLE_WRITE_ERROR && !reply.HasWholeHead()) {
        return "the answer's head is too long";
    }
    if (isAboutCertificates(code) && *detail != '\0') {
        return curl_easy_strerror(code) + (": " + CleanLine(detail));
    }
    return curl_easy_strerror(code);
}

std::string mediaType(CURL* easy)
{
    const char* header = nullptr;
    curl_easy_getinfo(easy, CURLINFO_CONTENT_TYPE, &header);
    std::string type = header != nullptr ? header : "";
    type = type.substr(0, type.find_first_of("; \t"));
    std::transform(type.begin(), type.end(), type.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return type;
}

Answer exchange(CURL* easy, const Reply& reply, const char* detail)
{
    Answer answer;
    const CURLcode code = curl_easy_perform(easy);
    if (code != CURLE_OK && !(code == CURLE_WRITE_ERROR && reply.IsLong())) {
        answer.error = reasonOf(code, reply, detail); // an answer that was cut short promises nothing
    } else if (!reply.HasWholeHead()) {
        answer.error = "the answer was cut off in its head";
    } else {
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &answer.status);
    }
    if (reply.HasWholeHead()) {
        answer.retryAfter = RetryAfter(reply.RetryAfter(), std::time(nullptr));
    }
    answer.text = reply.FirstLine();
    answer.type = mediaType(easy);
    return answer;
}

Answer notPosted(const std::string& reason)
{
    Answer answer;
    answer.error = reason;
    answer.isPosted = false;
    return answer;
}

} // namespace

long SecondsFrom(const char* text, long otherwise)
{
    const long seconds = text != nullptr ? std::strtol(text, nullptr, 10) : 0;
    return seconds > 0 ? std::min(seconds, kLongest) : otherwise;
}

std::string PlaceOf(const std::string& url)
{
    const Url parts(curl_url(), curl_url_cleanup);
    std::string place;
    if (!parts || curl_url_set(parts.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
        return place;
    }
    for (const CURLUPart part : { CURLUPART_SCHEME, CURLUPART_HOST, CURLUPART_PORT }) {
        char* text = nullptr;
        if (curl_url_get(parts.get(), part, &text, part == CURLUPART_PORT ? CURLU_DEFAULT_PORT : 0)
            == CURLUE_OK) {
            place += (part == CURLUPART_SCHEME ? "" : part == CURLUPART_HOST ? "://" : ":") + std::string(text);
            curl_free(text);
        }
    }
    std::transform(place.begin(), place.end(), place.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return place.rfind("http://", 0) == 0 || place.rfind("https://", 0) == 0 ? place : std::string();
}

Answer Upload(const Submission& submission)
{
    const Easy easy(curl_easy_init(), curl_easy_cleanup);
    const Url url(curl_url(), curl_url_cleanup);
    Answer answer;
    if (!easy || !url) {
        answer.error = "out of memory";
        return answer;
    }
    Dump dump(submission.dump);
    if (!dump.IsThere()) {
        return notPosted("the dump cannot be read");
    }
    if (!setUrl(url.get(), submission)) {
        return notPosted("not a URL: " + CleanLine(WithoutSecrets(submission.url)));
    }
    if (PlaceOf(submission.url).empty()) {
        return notPosted("neither http nor https: " + CleanLine(WithoutSecrets(submission.url)));
    }
    const Mime mime(curl_mime_init(easy.get()), curl_mime_free);
    if (!mime || !addFields(mime.get(), submission, dump)) {
        answer.error = "out of memory";
        return answer;
    }
    Reply reply;
    Watch watch;
    char detail[CURL_ERROR_SIZE] = "";
    setOptions(easy.get(), url.get(), mime.get(), reply, watch);
    setCertificates(easy.get(), submission.caFile);
    curl_easy_setopt(easy.get(), CURLOPT_ERRORBUFFER, detail);
    return exchange(easy.get(), reply, detail);
}

} // namespace BreakpadLinux
