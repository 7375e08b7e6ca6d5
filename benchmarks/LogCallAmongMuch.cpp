// The cost of a call in a source that has much else to inline: regular expressions and many other calls. There
// compilers' limits for a whole source leave functions that they inline elsewhere.
#include "Logger.h"
#include "Report.h"

#include <iterator>
#include <regex>
#include <string>

namespace bench {

// Never called by a measurement; what matters is that the compiler has them to inline.
std::size_t CountMatches(const std::string& text, const std::string& pattern)
{
    const std::regex expression(pattern);
    const auto begin = std::sregex_iterator(text.begin(), text.end(), expression);
    return static_cast<std::size_t>(std::distance(begin, std::sregex_iterator()));
}

std::string ReplaceMatches(const std::string& text, const std::string& pattern, const std::string& with)
{
    return std::regex_replace(text, std::regex(pattern, std::regex::icase), with);
}

void LogMuch(HSL::CLogContext& log, int i, const char* text, double real, short id, const void* place)
{
    log.Log(kCategory, "%d %d %d %d", i, i, i, i);
    log.Log(kCategory, "%d %s %d %s", i, text, i, text);
    log.Log(kCategory, "%g %g %g %g", real, real, real, real);
    log.Log(kCategory, id, i, text, real, place);
    log.Log(kCategory, "%d %d %d %d %d", i, i, i, i, i);
    log.Log(kCategory, "%d %s %d %s %g", i, text, i, text, real);
    log.Log(kCategory, "%d %s %d %p %s", i, text, i, place, text);
    log.Log(kCategory, id, i, text, real, place, i);
    log.Log(kCategory, "%d %d %d %d %d %d", i, i, i, i, i, i);
    log.Log(kCategory, "%d %s %d %s %g %g", i, text, i, text, real, real);
    log.Log(kCategory, "%d %s %d %p %s %s", i, text, i, place, text, text);
    log.Log(kCategory, id, i, text, real, place, i, text);
    log.Log(kCategory, "%d %d %d %d %d %d %d", i, i, i, i, i, i, i);
    log.Log(kCategory, "%d %s %d %s %g %g %d", i, text, i, text, real, real, i);
    log.Log(kCategory, "%d %s %d %p %s %s %d", i, text, i, place, text, text, i);
    log.Log(kCategory, id, i, text, real, place, i, text, real);
    log.Log(kCategory, "%d %d %d %d %d %d %d %d", i, i, i, i, i, i, i, i);
    log.Log(kCategory, "%d %s %d %s %g %g %d %d", i, text, i, text, real, real, i, i);
    log.Log(kCategory, "%d %s %d %p %s %s %d %d", i, text, i, place, text, text, i, i);
    log.Log(kCategory, id, i, text, real, place, i, text, real, place);
    log.Log(kCategory, "%s %s %s %s %s %s %s %s", text, text, text, text, text, text, text, text);
    log.Log(kCategory, "%g %g %g %g %g %g %g %g", real, real, real, real, real, real, real, real);
    log.Log(kCategory, "%p %p %p %p %p %p %p %p", place, place, place, place, place, place, place, place);
    log.Log(kCategory, id, i, i, i, i, text, text, text, text);
}

namespace {

void TenIntsAmongMuch(benchmark::State& state)
{
    QuietManager manager;
    Context context;
    SharedCounter sequence;
    Floor<TenInts::kRecordBytes> floor(sequence.mValue);
    const auto time = [&] {
        const Batch batch = TimeBatch([&](int i) { TenInts::Call(context, 0, i); });
        context.Drain();
        return batch;
    };
    Measure(state, time, "floor", [&] { return floor.Time(); });
}
BENCHMARK(TenIntsAmongMuch)->Name("log_call/ten_ints_among_much")->UseManualTime();

// Types that only the run tells.
void TenAnyValues(benchmark::State& state)
{
    QuietManager manager;
    Context context;
    const HSL::CValue values[] = { 1, "two", 3.0, 4ll, 5u, "six", &state, 8, 9.0f, "ten" };
    const HSL::CValue* v = values;
    Touch(&v);
    Measure(state, [&] {
        const Batch batch = TimeBatch([&](int) {
            Touch(v);
            context.Log(kCategory, TenInts::kFormat, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8],
                        v[9]);
        });
        context.Drain();
        return batch;
    });
}
BENCHMARK(TenAnyValues)->Name("log_call/ten_values_of_any_types")->UseManualTime();

} // namespace
} // namespace bench
