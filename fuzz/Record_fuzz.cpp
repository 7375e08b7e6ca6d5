// Any bytes in the rings, through the renderer alone or through two whole collection passes, compared with a
// model.
//
// Input, one byte each where nothing is said:
//     kind: bit 0 the structured callback, bit 1 a UTF-8 locale, bit 2 the renderer alone, bit 3 it only
//     consumes,
//         bit 4 the bytes of rings are recipes for records, and a claim of 0 to 63 stands for as many as there
//         are
//     categories let through: bit c for all those that are c modulo 8
//     number of registered formats, modulo 4; each a length, modulo 64, bit 7 for a wide one, and its text
//     number of contexts less one, modulo 3; for each one:
//         length of its name, modulo 32, and the name
//         how far its ring has been used before (2 bytes), bytes that it is larger than needed, modulo 8
//         records that it claims to have in the first pass and in the second (signed)
//         length of its bytes for each pass (2 bytes both), and those; the last one gets all that is left
// In formats, wherever they lie, a "%" that must not be tried becomes "_" before anything is run.
#include "hslog/HSL.h"

#include "CircularBuffer.h"
#include "FuzzTarget.h"
#include "RecordModel.h"
#include "RecordRecipe.h"

#include <clocale>
#include <ctime>
#include <memory>

namespace {

constexpr int kMostMessages = 40;
constexpr int kPasses = 2;

struct Scenario {
    bool onlyRender = false;
    bool render = true;
    bool utf8 = false;
    bool assembled = false;
    RecordModel model; // as it is before anything is read
    std::vector<ModelContext> contexts;
    struct Ring {
        unsigned int used;
        unsigned int spare;
        int counts[kPasses];
        std::size_t sizes[kPasses];
    };
    std::vector<Ring> rings;
};

// Takes the bytes of one pass.
void readBytes(FuzzInput& input, std::size_t size, const Scenario& scenario, int& claimed, std::string& bytes)
{
    const std::string taken = input.Bytes(size);
    if (!scenario.assembled) {
        bytes += taken;
        return;
    }
    const AssembledRecords records = assembledRecords(taken, !scenario.onlyRender);
    bytes += records.bytes;
    claimed = claimed >= 0 && claimed < 64 ? records.count : claimed;
}

void readContext(FuzzInput& input, bool last, Scenario& scenario)
{
    ModelContext context;
    context.name = input.Bytes(input.Byte() % 32).c_str();
    Scenario::Ring ring = {};
    ring.used = input.Two();
    ring.spare = input.Byte() % 8;
    for (int& count : ring.counts) {
        count = input.SignedByte();
    }
    const std::size_t first = input.Two();
    const std::size_t second = input.Two();
    readBytes(input, first, scenario, ring.counts[0], context.ring.bytes);
    ring.sizes[0] = context.ring.bytes.size();
    readBytes(input, last ? SIZE_MAX : second, scenario, ring.counts[1], context.ring.bytes);
    ring.sizes[1] = context.ring.bytes.size() - ring.sizes[0];
    scenario.contexts.push_back(context);
    scenario.rings.push_back(ring);
}

Scenario readScenario(FuzzInput& input)
{
    Scenario scenario;
    const unsigned int kind = input.Byte();
    scenario.model.mStructured = (kind & 1) != 0;
    scenario.utf8 = (kind & 2) != 0;
    scenario.onlyRender = (kind & 4) != 0;
    scenario.render = (kind & 8) == 0;
    scenario.assembled = (kind & 16) != 0;
    const unsigned int filter = input.Byte();
    for (unsigned int category = 0; category < 256; ++category) {
        scenario.model.mFilter[category] = (filter >> category % 8 & 1) != 0;
    }
    for (unsigned int formats = input.Byte() % 4; formats > 0; --formats) {
        const unsigned int length = input.Byte();
        scenario.model.mFormats.push_back({ length < 128, input.Bytes(length % 64).c_str() });
    }
    for (unsigned int contexts = input.Byte() % 3 + 1; contexts > 0; --contexts) {
        readContext(input, contexts == 1, scenario);
    }
    return scenario;
}

// What has to come out; the scenario's own formats become harmless on the way.
std::vector<std::string> expectedOutput(Scenario& scenario)
{
    RecordModel model;
    do {
        model = scenario.model;
        std::vector<ModelContext> contexts = scenario.contexts;
        if (scenario.onlyRender) {
            ModelRing& ring = contexts[0].ring;
            ring.visible = ring.bytes.size();
            for (int i = 0; i < kMostMessages && ring.next < ring.visible; ++i) {
                const std::string message = model.Message(scenario.render, ring);
                model.mOutput.push_back(message + "|" + std::to_string(ring.visible - ring.next));
            }
        } else {
            for (int pass = 0; pass < kPasses; ++pass) {
                for (std::size_t i = 0; i < contexts.size(); ++i) {
                    contexts[i].ring.visible += scenario.rings[i].sizes[pass];
                    contexts[i].count += scenario.rings[i].counts[pass];
                }
                model.Pass(contexts);
            }
        }
        for (std::size_t i = 0; i < contexts.size(); ++i) {
            scenario.contexts[i].ring.bytes = contexts[i].ring.bytes;
        }
        scenario.model.mFormats = model.mFormats;
    } while (model.mFormatChanged);
    return model.mOutput;
}

std::vector<std::string> gOutput;

void takeLine(const char* line)
{
    gOutput.push_back(line);
}

void takeMessage(const char* text, const std::string& context, unsigned char depth, unsigned char count,
                 unsigned char* categories, unsigned int seconds, unsigned int microseconds)
{
    gOutput.push_back(structuredOutput(text, context, depth, std::string(categories, categories + count),
                                       seconds, microseconds));
}

// Without a collection thread, and never destroyed.
HSL::CLogManager& manager()
{
    static HSL::CLogManager* const only = [] {
        setenv("TZ", "UTC0", 1);
        tzset();
        HSL::CLogManager* made = new HSL::CLogManager;
        HSL::CLogManager::msThis = made;
        return made;
    }();
    return *only;
}

void setUp(const Scenario& scenario)
{
    static bool utf8 = false;
    if (utf8 != scenario.utf8) {
        utf8 = scenario.utf8;
        fuzzRequire(std::setlocale(LC_ALL, utf8 ? "C.UTF-8" : "C") != nullptr, "no such locale");
    }
    HSL::CLogManager& module = manager();
    for (unsigned int category = 0; category < 256; ++category) {
        module.SetFilterValue(static_cast<unsigned char>(category), scenario.model.mFilter[category]);
    }
    module.mFormatStrings.clear();
    for (const ModelFormat& format : scenario.model.mFormats) {
        format.narrow ? module.AddFormatString(format.text.c_str()) : module.AddFormatString(L"wide");
    }
    module.SetOutputCallback(takeLine);
    if (scenario.model.mStructured) {
        module.SetStructuredOutputCallback(takeMessage);
    }
    gOutput.clear();
}

void put(CCircularBuffer& ring, const std::string& bytes)
{
    int count = static_cast<int>(bytes.size());
    ring.Write(bytes.data(), count);
    fuzzRequire(count == static_cast<int>(bytes.size()), "the ring is too small");
}

// Moves the ring's positions on, so that records may lie across its end.
void use(CCircularBuffer& ring, unsigned int bytes)
{
    std::string some(bytes % (ring.mControl->num_elem + 1), '\0');
    put(ring, some);
    int count = static_cast<int>(some.size());
    ring.Read(some.data(), count);
}

int sizeFor(const Scenario& scenario, std::size_t context)
{
    return static_cast<int>(scenario.contexts[context].ring.bytes.size() + scenario.rings[context].spare + 1);
}

void renderAll(const Scenario& scenario)
{
    CCircularBuffer ring(1, static_cast<unsigned int>(sizeFor(scenario, 0)), CCircularBuffer::MallocFunc,
                         CCircularBuffer::FreeFunc, CCircularBuffer::CopyFunc);
    use(ring, scenario.rings[0].used);
    put(ring, scenario.contexts[0].ring.bytes);
    for (int i = 0; i < kMostMessages && cb_get_num_elem_used(ring.mControl) > 0; ++i) {
        const std::string message = manager().StringifyFormatArgs(scenario.render, ring);
        gOutput.push_back(message + "|" + std::to_string(cb_get_num_elem_used(ring.mControl)));
    }
}

// Makes the time of the record before this one zero.
void forgetTime()
{
    HSL::CLogContext context("", 64, HSL::CLogContext::MallocFunc, HSL::CLogContext::FreeFunc);
    context.mRecordCount = 1;
    manager().Collect();
}

void collectAll(const Scenario& scenario)
{
    forgetTime();
    gOutput.clear(); // category zero may be let through
    std::vector<std::unique_ptr<HSL::CLogContext>> contexts;
    std::vector<std::size_t> written;
    for (std::size_t i = 0; i < scenario.contexts.size(); ++i) {
        contexts.push_back(
            std::make_unique<HSL::CLogContext>(scenario.contexts[i].name.c_str(), sizeFor(scenario, i),
                                               HSL::CLogContext::MallocFunc, HSL::CLogContext::FreeFunc));
        use(*contexts[i]->mBuffer, scenario.rings[i].used);
        written.push_back(0);
    }
    for (int pass = 0; pass < kPasses; ++pass) {
        for (std::size_t i = 0; i < contexts.size(); ++i) {
            const std::size_t size = scenario.rings[i].sizes[pass];
            put(*contexts[i]->mBuffer, scenario.contexts[i].ring.bytes.substr(written[i], size));
            written[i] += size;
            contexts[i]->mRecordCount += scenario.rings[i].counts[pass];
        }
        fuzzRequire(!manager().Collect(), "shut down");
    }
}

void requireSame(const std::vector<std::string>& expected)
{
    for (std::size_t i = 0; i < std::max(expected.size(), gOutput.size()); ++i) {
        const std::string real = i < gOutput.size() ? gOutput[i] : "(nothing)";
        const std::string model = i < expected.size() ? expected[i] : "(nothing)";
        fuzzRequire(real == model, "output " + std::to_string(i) + ":\n" + real + "\ninstead of\n" + model);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    Scenario scenario = readScenario(input);
    setUp(scenario);
    const std::vector<std::string> expected = expectedOutput(scenario);
    setUp(scenario); // with the formats that are harmless by now
    if (scenario.onlyRender) {
        renderAll(scenario);
    } else {
        collectAll(scenario);
    }
    requireSame(expected);
    return 0;
}
