// Records put together after a recipe, so that a fuzzer need not find the layout of a record to come to those
// values at which texts change their form.
#ifndef FALLCATCH_FUZZ_RECORD_RECIPE_H
#define FALLCATCH_FUZZ_RECORD_RECIPE_H

#include "FuzzTarget.h"

struct AssembledRecords {
    std::string bytes;
    int count = 0;
};

// Any bytes are a recipe. Without `headers` each record begins with its format kind.
AssembledRecords assembledRecords(const std::string& recipe, bool headers);

#endif
