// Counts what this program's own code and kxpl ask of malloc and of operator new.
#ifndef FALLCATCH_BENCHMARKS_COUNTED_MEMORY_H
#define FALLCATCH_BENCHMARKS_COUNTED_MEMORY_H

namespace bench {

// Between the two calls; the bytes that were asked for and not given back. At most 4,096 blocks at a time.
void StartCounting();
long long StopCounting();

} // namespace bench

#endif
