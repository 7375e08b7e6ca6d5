#include "SenderAnswer.h"

#include <algorithm>
#include <curl/curl.h>

namespace BreakpadLinux {

namespace {

// Those with which a server says that it will not take this report tomorrow either.
constexpr long kRefusals[] = { 400, 401, 403, 404, 410, 413, 415, 422 };

bool holds(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

std::string told(const Answer& answer)
{
    const std::string status = "HTTP " + std::to_string(answer.status);
    return answer.text.empty() ? status : status + " " + answer.text;
}

} // namespace

Judgement Judge(const Answer& answer, bool mustName)
{
    if (!answer.isPosted) {
        return { Verdict::refused, answer.error };
    }
    if (answer.status == 0 || !answer.error.empty()) {
        return { Verdict::failed, answer.error.empty() ? "there was no answer" : answer.error };
    }
    const bool isOk = answer.status >= 200 && answer.status <= 299;
    const bool isRefusal =
        std::find(std::begin(kRefusals), std::end(kRefusals), answer.status) != std::end(kRefusals);
    if ((isOk || isRefusal) && holds(answer.text, "Discarded=")) {
        return { Verdict::discarded, told(answer) };
    }
    if (isRefusal) {
        return { Verdict::refused, told(answer) };
    }
    if (!isOk) {
        return { Verdict::failed, told(answer) };
    }
    if (answer.type == "text/html" || answer.type == "application/xhtml+xml") {
        return { Verdict::failed, told(answer) + ": a page, not a collector's answer" };
    }
    if (mustName && !holds(answer.text, "CrashID=")) {
        return { Verdict::failed, told(answer) + ": the answer names no report" };
    }
    return { Verdict::taken, told(answer) };
}

time_t RetryAfter(const std::string& value, time_t now)
{
    const std::size_t start = value.find_first_not_of(" \t");
    if (start == std::string::npos) {
        return 0;
    }
    const std::string text = value.substr(start, value.find_last_not_of(" \t\r\n") - start + 1);
    if (text.find_first_not_of("0123456789") == std::string::npos) {
        // More digits than any wait that is granted has.
        return text.size() > 9 ? 999999999 : static_cast<time_t>(std::stoll(text));
    }
    const time_t date = curl_getdate(text.c_str(), nullptr);
    return date > now ? date - now : 0;
}

} // namespace BreakpadLinux
