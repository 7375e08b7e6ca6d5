#include "SenderUpload.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <curl/curl.h>
#include <memory>

namespace BreakpadLinux {

namespace {

constexpr std::size_t kAnswerLimit = 200;

using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Mime = std::unique_ptr<curl_mime, decltype(&curl_mime_free)>;
using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

std::size_t keepText(char* bytes, std::size_t, std::size_t count, void* text)
{
    auto* kept = static_cast<std::string*>(text);
    kept->append(bytes, std::min(count, kAnswerLimit - std::min(kAnswerLimit, kept->size())));
    return count;
}

std::string firstLine(const std::string& text)
{
    std::string line = text.substr(0, text.find_first_of("\r\n"));
    std::replace_if(line.begin(), line.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return line;
}

long patience()
{
    const char* set = std::getenv("FALLCATCH_SENDER_TIMEOUT");
    const long seconds = set != nullptr ? std::strtol(set, nullptr, 10) : 0;
    return seconds > 0 ? seconds : 60;
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

bool addFields(curl_mime* mime, const Submission& submission)
{
    for (const auto& field : submission.fields) {
        curl_mimepart* part = curl_mime_addpart(mime);
        if (curl_mime_name(part, field.first.c_str()) != CURLE_OK
            || curl_mime_data(part, field.second.data(), field.second.size()) != CURLE_OK) {
            return false;
        }
    }
    curl_mimepart* part = curl_mime_addpart(mime);
    return curl_mime_name(part, "upload_file_minidump") == CURLE_OK
        && curl_mime_filedata(part, submission.dump.c_str()) == CURLE_OK
        && curl_mime_type(part, "application/octet-stream") == CURLE_OK;
}

void setOptions(CURL* easy, CURLU* url, curl_mime* mime, std::string& text, Watch& watch)
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
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, Watch::Look);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, &watch);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, keepText);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &text);
}

} // namespace

Answer Upload(const Submission& submission)
{
    Answer answer;
    const Easy easy(curl_easy_init(), curl_easy_cleanup);
    const Url url(curl_url(), curl_url_cleanup);
    if (!easy || !url) {
        answer.error = "out of memory";
        return answer;
    }
    const Mime mime(curl_mime_init(easy.get()), curl_mime_free);
    if (!setUrl(url.get(), submission)) {
        answer.error = "not a URL: " + submission.url;
        return answer;
    }
    if (!mime || !addFields(mime.get(), submission)) {
        answer.error = "the dump cannot be read";
        return answer;
    }
    std::string text;
    Watch watch;
    setOptions(easy.get(), url.get(), mime.get(), text, watch);
    const CURLcode code = curl_easy_perform(easy.get());
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &answer.status);
    if (code != CURLE_OK) {
        answer.error = code == CURLE_ABORTED_BY_CALLBACK ? "nothing moved any more" : curl_easy_strerror(code);
        answer.status = 0; // an answer that was cut short promises nothing
    }
    answer.text = firstLine(text);
    return answer;
}

} // namespace BreakpadLinux
