# The software bill of materials, fallcatch.spdx.json in the build folder, in SPDX 2.3: what the installed libraries
# are made of and what they are linked with. It depends on nothing but the sources and the options; where
# SOURCE_DATE_EPOCH is set, not on the time either.

set(sbom_packages "")
set(sbom_relations "")

# ID, then NAME VERSION LICENSE, the relationship that fallcatch has to it, and further members of the entry.
function(fallcatch_sbom_package id name version license relation more)
    set(entry "{ \"SPDXID\": \"SPDXRef-${id}\", \"name\": \"${name}\"")
    if(version)
        string(APPEND entry ", \"versionInfo\": \"${version}\"")
    endif()
    string(APPEND entry ", \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false, "
        "\"licenseConcluded\": \"${license}\", \"licenseDeclared\": \"${license}\", "
        "\"copyrightText\": \"NOASSERTION\"${more} }")
    set(link "{ \"spdxElementId\": \"SPDXRef-fallcatch\", \"relationshipType\": \"${relation}\", "
        "\"relatedSpdxElement\": \"SPDXRef-${id}\" }")
    string(CONCAT link ${link})
    set(sbom_packages "${sbom_packages},\n    ${entry}" PARENT_SCOPE)
    set(sbom_relations "${sbom_relations},\n    ${link}" PARENT_SCOPE)
endfunction()

set(gcc_license "GPL-3.0-or-later WITH GCC-exception-3.1")
fallcatch_sbom_package(cxx-runtime "C++ standard library" "" "NOASSERTION" DYNAMIC_LINK "")
if(FALLCATCH_GLUE AND NOT APPLE)
    fallcatch_sbom_package(gnustep-base "gnustep-base" "" "LGPL-2.1-or-later" DYNAMIC_LINK "")
    fallcatch_sbom_package(libobjc "libobjc" "" "${gcc_license}" DYNAMIC_LINK "")
endif()
if(TARGET fallcatch_breakpad)
    if(FALLCATCH_BREAKPAD_SOURCE)
        fallcatch_sbom_package(breakpad "breakpad" "" "BSD-3-Clause" STATIC_LINK "")
    else()
        string(REGEX REPLACE "^.*@" "" carrier_version "${breakpad_package_name}")
        string(CONCAT more
            ", \"packageFileName\": \"${breakpad_package}\""
            ", \"checksums\": [ { \"algorithm\": \"SHA256\", \"checksumValue\": \"${breakpad_package_sha256}\" } ]"
            ", \"externalRefs\": [ { \"referenceCategory\": \"PACKAGE-MANAGER\", \"referenceType\": \"purl\", "
            "\"referenceLocator\": \"pkg:npm/minidump@${carrier_version}\" } ]"
            ", \"comment\": \"Breakpad's client and linux-syscall-support, unmodified, from the sources in this "
            "package; its programs are used by tests and examples and are not installed.\"")
        fallcatch_sbom_package(breakpad "breakpad" "as in minidump ${carrier_version}" "BSD-3-Clause" STATIC_LINK
            "${more}")
    endif()
    fallcatch_sbom_package(libcurl "libcurl" "${CURL_VERSION_STRING}" "curl" DYNAMIC_LINK "")
    if(ZLIB_FOUND)
        fallcatch_sbom_package(zlib "zlib" "${ZLIB_VERSION_STRING}" "Zlib" DYNAMIC_LINK "")
    endif()
endif()

string(TIMESTAMP sbom_time "%Y-%m-%dT%H:%M:%SZ" UTC)
string(SHA256 sbom_digest "${PROJECT_VERSION} ${CMAKE_SYSTEM_NAME} ${CMAKE_SYSTEM_PROCESSOR} ${sbom_packages}")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/fallcatch.spdx.json @ONLY CONTENT [==[{
  "spdxVersion": "SPDX-2.3",
  "dataLicense": "CC0-1.0",
  "SPDXID": "SPDXRef-DOCUMENT",
  "name": "fallcatch-@PROJECT_VERSION@",
  "documentNamespace": "https://spdx.org/spdxdocs/fallcatch-@PROJECT_VERSION@-@sbom_digest@",
  "creationInfo": { "created": "@sbom_time@", "creators": [ "Organization: The fallcatch authors" ] },
  "packages": [
    { "SPDXID": "SPDXRef-fallcatch", "name": "fallcatch", "versionInfo": "@PROJECT_VERSION@", "supplier": "Organization: The fallcatch authors", "downloadLocation": "NOASSERTION", "filesAnalyzed": false, "licenseConcluded": "MIT", "licenseDeclared": "MIT", "copyrightText": "Copyright (c) 2026 The fallcatch authors" }@sbom_packages@
  ],
  "relationships": [
    { "spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES", "relatedSpdxElement": "SPDXRef-fallcatch" }@sbom_relations@
  ]
}
]==])
