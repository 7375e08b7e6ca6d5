#include "ProbeLog.h"

#include "BreakpadEvents.h"
#include "CircularBuffer.h"
#include "hslog/HSL.h"

#include <cstddef>
#include <cstdio>
#include <sstream>
#include <vector>

namespace {

bool gHeld = false;

void printMessage(const char* text, const std::string& contextName, unsigned char, unsigned char categoryCount,
                  unsigned char* categories, unsigned int, unsigned int)
{
    std::vector<std::string> event = { "log", text, contextName };
    for (unsigned char i = 0; i < categoryCount; ++i) {
        event.push_back(std::to_string(categories[i]));
    }
    printEvent(event);
}

} // namespace

void startLog(const std::string& categories)
{
    HSL::CLogManager::Initialize();
    HSL::LogManager()->SetStructuredOutputCallback(printMessage);
    HSL::LogManager()->SetEnable(true);
    if (categories == "all") {
        for (int category = 0; category < 256; ++category) {
            HSL::LogManager()->SetFilterValue(static_cast<unsigned char>(category), true);
        }
        return;
    }
    std::istringstream numbers(categories);
    for (std::string number; std::getline(numbers, number, ',');) {
        HSL::LogManager()->SetFilterValue(static_cast<unsigned char>(std::stoi(number)), true);
    }
}

void switchLogOff()
{
    HSL::LogManager()->SetEnable(false);
}

void printLogState()
{
    printEvent({ "log-state", HSL::CLogManager::IsInitialized() ? "some" : "none" });
}

void holdLog()
{
    gHeld = HSL::LogManager()->mLock.Lock();
}

void printRing()
{
    cb_control* ring = HSL::LogManager()->GetTLSContext()->mBuffer->mControl;
    std::vector<unsigned char> bytes(cb_get_num_elem_used(ring));
    int count = static_cast<int>(bytes.size());
    cb_peek(ring, 0, bytes.data(), &count);
    std::string text;
    for (const unsigned char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned int>(byte));
        text += digits;
    }
    printEvent({ "ring", text });
}

void finishLog()
{
    if (gHeld) {
        HSL::LogManager()->mLock.Unlock();
        gHeld = false;
    }
    HSL::CLogManager::Cleanup();
}
