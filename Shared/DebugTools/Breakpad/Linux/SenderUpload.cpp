#include "SenderUpload.h"

#include "CleanText.h"
#include "SenderForm.h"
#include "SenderPack.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <curl/curl.h>
#include <memory>

namespace BreakpadLinux {

namespace {

constexpr std::size_t kAnswerLimit = 64 * 1024;
constexpr std::size_t kKeptText = 1000;
constexpr long kLongest = 24 * 60 * 60;
// Also the answer to an encoding that a server does not know: RFC 7694, section 3.
constexpr long kUnsupportedType = 415;

using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Mime = std::unique_ptr<curl_mime, decltype(&curl_mime_free)>;
using List = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;
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

void setOptions(CURL* easy, CURLU* url, Reply& reply, Watch& watch)
{
    curl_easy_setopt(easy, CURLOPT_CURLU, url);
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

Answer failed(const std::string& reason, bool isPosted)
{
    Answer answer;
    answer.error = reason;
    answer.isPosted = isPosted;
    return answer;
}

Answer notPosted(const std::string& reason)
{
    return failed(reason, false);
}

Answer outOfMemory()
{
    return failed("out of memory", true);
}

// One exchange; its body is what the caller has chosen for the handle.
Answer post(CURL* easy, CURLU* url, const Submission& submission)
{
    Reply reply;
    Watch watch;
    char detail[CURL_ERROR_SIZE] = "";
    setOptions(easy, url, reply, watch);
    setCertificates(easy, submission.caFile);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, detail);
    Answer answer = exchange(easy, reply, detail);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, nullptr);
    return answer;
}

Answer postPacked(CURLU* url, const Submission& submission, const PackedForm& form)
{
    const Easy easy(curl_easy_init(), curl_easy_cleanup);
    List headers(curl_slist_append(nullptr, ("Content-Type: " + form.type).c_str()), curl_slist_free_all);
    if (!easy || !headers || curl_slist_append(headers.get(), "Content-Encoding: gzip") == nullptr) {
        return outOfMemory();
    }
    curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDS, form.bytes.data());
    curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(form.bytes.size()));
    return post(easy.get(), url, submission);
}

Answer postPlain(CURLU* url, const Submission& submission, PostedDump& dump)
{
    const Easy easy(curl_easy_init(), curl_easy_cleanup);
    if (!easy) {
        return outOfMemory();
    }
    const Mime mime(curl_mime_init(easy.get()), curl_mime_free);
    if (!mime || !FillForm(mime.get(), submission, dump)) {
        return outOfMemory();
    }
    curl_easy_setopt(easy.get(), CURLOPT_MIMEPOST, mime.get());
    return post(easy.get(), url, submission);
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
    const Url url(curl_url(), curl_url_cleanup);
    if (!url) {
        return outOfMemory();
    }
    PostedDump dump(submission.dump);
    if (!dump.IsThere()) {
        return notPosted("the dump cannot be read");
    }
    if (!setUrl(url.get(), submission)) {
        return notPosted("not a URL: " + CleanLine(WithoutSecrets(submission.url)));
    }
    if (PlaceOf(submission.url).empty()) {
        return notPosted("neither http nor https: " + CleanLine(WithoutSecrets(submission.url)));
    }
    if (submission.gzip) {
        if (const auto form = Pack(submission, dump)) {
            Answer answer = postPacked(url.get(), submission, *form);
            if (answer.status != kUnsupportedType) {
                return answer;
            }
        }
        if (!dump.Seek(0, SEEK_SET)) {
            return notPosted("the dump cannot be read");
        }
    }
    return postPlain(url.get(), submission, dump);
}

} // namespace BreakpadLinux
