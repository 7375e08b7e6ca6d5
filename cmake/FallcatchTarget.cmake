# Settings that every target of this project shares.

# Private to this project: the flags of a host that adds it as a subdirectory stay its own.
function(fallcatch_target target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        OBJCXX_EXTENSIONS OFF
        OBJCXX_STANDARD 17
        CXX_VISIBILITY_PRESET hidden
        OBJCXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
endfunction()

# Texts that come out of floating-point sums must be the same on both processors, so 32-bit x86 uses the
# same arithmetic as 64-bit.
function(fallcatch_same_arithmetic target)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "86|amd64|AMD64")
        target_compile_options(${target} PRIVATE -msse2 -mfpmath=sse)
    endif()
endfunction()
