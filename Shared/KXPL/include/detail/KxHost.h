// What a host must be compiled with, said at the first of these headers that it includes rather than by a crash.
#ifndef FALLCATCH_KX_HOST_H
#define FALLCATCH_KX_HOST_H

#ifdef __cplusplus

#if __cplusplus < 201703L
#error "kxpl needs C++17 or later: -std=c++17, or target_compile_features(host PRIVATE cxx_std_17) with CMake"
#else

#include <cstddef> // with libstdc++, what it was told about its classes

// Hosts and library share std::string and containers, whose layout these two change. A library that was built with
// one of them says so by the names below, which its CMake target and no other means hands on.
#if defined(_GLIBCXX_DEBUG) && !defined(KXPL_BUILT_WITH_GLIBCXX_DEBUG)
#error "kxpl was built without _GLIBCXX_DEBUG: build it from source with the same CMAKE_CXX_FLAGS as the host"
#elif !defined(_GLIBCXX_DEBUG) && defined(KXPL_BUILT_WITH_GLIBCXX_DEBUG)
#error "kxpl was built with _GLIBCXX_DEBUG: compile the host with it"
#endif
#if defined(_GLIBCXX_USE_CXX11_ABI)
#if !_GLIBCXX_USE_CXX11_ABI && !defined(KXPL_BUILT_WITH_OLD_STRINGS)
#error "kxpl was built with the strings of C++11: leave out -D_GLIBCXX_USE_CXX11_ABI=0, or build kxpl with it"
#elif _GLIBCXX_USE_CXX11_ABI && defined(KXPL_BUILT_WITH_OLD_STRINGS)
#error "kxpl was built with -D_GLIBCXX_USE_CXX11_ABI=0: compile the host with it"
#endif
#endif

#endif
#endif

#endif
