# The oldest macOS that the framework is built for: 10.13, or what the SDK still takes where that is newer. An SDK
# tells it in SDKSettings.json (from that of macOS 10.14 on); one without takes 10.13.

function(fallcatch_oldest_macos sdk result)
    set(oldest 10.13)
    if(EXISTS "${sdk}/SDKSettings.json")
        file(READ "${sdk}/SDKSettings.json" settings)
        string(JSON taken ERROR_VARIABLE error GET "${settings}" SupportedTargets macosx MinimumDeploymentTarget)
        if(error STREQUAL "NOTFOUND" AND taken VERSION_GREATER oldest)
            set(oldest ${taken})
        endif()
    endif()
    set(${result} ${oldest} PARENT_SCOPE)
endfunction()
