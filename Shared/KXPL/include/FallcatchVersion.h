/* The version of the headers that a host is compiled with, for C and C++. The build takes its version from here. */
#ifndef FALLCATCH_VERSION_H
#define FALLCATCH_VERSION_H

/* Its three numbers: what each promises is told in CHANGELOG.md. */
#define FALLCATCH_VERSION_MAJOR 1
#define FALLCATCH_VERSION_MINOR 0
#define FALLCATCH_VERSION_PATCH 0

/* Grows with every version: major * 10000 + minor * 100 + patch. */
#define FALLCATCH_VERSION_NUMBER                                                                               \
    (FALLCATCH_VERSION_MAJOR * 10000 + FALLCATCH_VERSION_MINOR * 100 + FALLCATCH_VERSION_PATCH)

#ifndef FALLCATCH_VERSION
#define FALLCATCH_VERSION_TEXT_(major, minor, patch) #major "." #minor "." #patch
/* Three numbers, or macros that stand for them, as a text. */
#define FALLCATCH_VERSION_TEXT(major, minor, patch) FALLCATCH_VERSION_TEXT_(major, minor, patch)
/* A text: "1.0.0". A build that defines it already, as the sender's does, says the same. */
#define FALLCATCH_VERSION                                                                                      \
    FALLCATCH_VERSION_TEXT(FALLCATCH_VERSION_MAJOR, FALLCATCH_VERSION_MINOR, FALLCATCH_VERSION_PATCH)
#endif

#endif
