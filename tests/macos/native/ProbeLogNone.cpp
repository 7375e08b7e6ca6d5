// The framework keeps its log manager to itself, so the probe has none that it could switch on.
#include "MachImage.h"
#include "ProbeLog.h"

void startLog(const std::string&)
{
    refuse("the slice's log manager is out of reach");
}

void switchLogOff() { }

void printLogState() { }

void holdLog() { }

void printRing() { }

void finishLog() { }
