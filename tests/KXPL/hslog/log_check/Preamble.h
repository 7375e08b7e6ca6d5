// What every statement needs, read once.
#ifndef FALLCATCH_TESTS_LOG_CHECK_PREAMBLE_H
#define FALLCATCH_TESTS_LOG_CHECK_PREAMBLE_H

#include "hslog/HSLLog.h"

#include <chrono>
#include <string>

#endif
