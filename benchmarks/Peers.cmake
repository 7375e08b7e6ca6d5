# Other libraries that the benchmarks compare with. Each has a source of its own, built where it is found.

# Adds to a benchmark the source of a peer and the targets to link.
function(fallcatch_peer name benchmark source)
    target_sources(${benchmark} PRIVATE ${source})
    target_link_libraries(${benchmark} PRIVATE ${ARGN})
    message(STATUS "Benchmarks: ${benchmark} compares with ${name}")
endfunction()

find_package(spdlog QUIET)
if(spdlog_FOUND)
    fallcatch_peer(spdlog bench_log_call PeerSpdlog.cpp spdlog::spdlog)
    fallcatch_peer(spdlog bench_collector PeerSpdlogLines.cpp spdlog::spdlog)
endif()

find_package(glog QUIET)
if(glog_FOUND)
    fallcatch_peer(glog bench_log_call PeerGlog.cpp glog::glog)
endif()

find_library(FALLCATCH_LOG4CPLUS log4cplus)
if(FALLCATCH_LOG4CPLUS)
    fallcatch_peer(log4cplus bench_log_call PeerLog4cplus.cpp ${FALLCATCH_LOG4CPLUS})
endif()

find_package(ICU QUIET COMPONENTS uc)
if(ICU_FOUND)
    fallcatch_peer(ICU bench_converters PeerIcu.cpp ICU::uc)
endif()

find_package(Iconv QUIET)
if(Iconv_FOUND)
    fallcatch_peer(iconv bench_converters PeerIconv.cpp Iconv::Iconv)
endif()

find_package(Boost QUIET)
if(Boost_FOUND)
    fallcatch_peer(Boost.Lockfree bench_ring PeerBoost.cpp Boost::headers)
endif()

# Libraries that no package manager here carries: name the folder with the library's headers, and for simdutf
# the one with its single-header edition.
function(fallcatch_folder_peer name option benchmark source)
    set(FALLCATCH_BENCH_${option} "" CACHE PATH "Folder with ${name}, to compare with it")
    if(FALLCATCH_BENCH_${option})
        target_include_directories(${benchmark} SYSTEM PRIVATE "${FALLCATCH_BENCH_${option}}")
        fallcatch_peer(${name} ${benchmark} ${source})
    endif()
endfunction()
fallcatch_folder_peer(quill QUILL bench_log_call PeerQuill.cpp)
if(FALLCATCH_BENCH_FMTLOG)
    # Not in one program with spdlog, which brings a fmt of its own.
    fallcatch_benchmark(bench_fmtlog)
    set(FALLCATCH_BENCH_FMT "" CACHE PATH "Folder with fmt 11 or later, for fmtlog")
    target_include_directories(bench_fmtlog SYSTEM PRIVATE "${FALLCATCH_BENCH_FMT}")
endif()
fallcatch_folder_peer(fmtlog FMTLOG bench_fmtlog PeerFmtlog.cpp)
fallcatch_folder_peer(simdutf SIMDUTF bench_converters PeerSimdutf.cpp)
fallcatch_folder_peer("rigtorp's SPSCQueue" RIGTORP bench_ring PeerRigtorp.cpp)
fallcatch_folder_peer("moodycamel's ReaderWriterQueue" MOODYCAMEL bench_ring PeerMoodycamel.cpp)
