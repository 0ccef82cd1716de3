# What every target of this project is built with.
add_library(ko_options INTERFACE)
target_compile_features(ko_options INTERFACE cxx_std_17)
target_compile_options(ko_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${KO_WERROR}>:-Werror>)
# Breaches of a contract are found while an application is written: a distribution's build does without the check, with
# or without NDEBUG.
if(KO_CHECK_CONTRACT)
    target_compile_definitions(ko_options INTERFACE KO_CHECK_CONTRACT=1)
endif()

# What is installed is hardened: an error in memory ends the process rather than serves an attacker. Sanitizers look for
# the same errors and stand in for the functions that fortification replaces.
add_library(ko_hardening INTERFACE)
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    target_compile_options(ko_hardening INTERFACE
        -fstack-protector-strong
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
    target_link_options(ko_hardening INTERFACE -Wl,-z,relro,-z,now)
endif()

# ko_precompile_headers(TARGET HEADERS...): more than half of a compilation goes into headers of the standard library, so
# each target compiles them once, and HEADERS too. Sources include what they use all the same: the presets clang and
# abi do without.
function(ko_precompile_headers target)
    target_precompile_headers(${target} PRIVATE
        <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdint> <cstring> <deque> <functional> <map> <memory>
        <mutex> <optional> <string> <thread> <vector> ${ARGN})
endfunction()

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# The build tree is laid out like the installed one: what is installed finds the libraries by the same relative path in
# both, and nowhere else.
set(KO_LIBRARY_DIR ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(KO_PROGRAM_DIR ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
file(RELATIVE_PATH KO_LIBRARIES_OF_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})

# ko_add_library(NAME ALIAS SOURCES...): an installed library, libNAME.so with a versioned soname unless
# BUILD_SHARED_LIBS is off.
function(ko_add_library name alias)
    add_library(${name} ${ARGN})
    add_library(Ko::${alias} ALIAS ${name})
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:ko_options> $<BUILD_INTERFACE:ko_hardening>)
    target_compile_features(${name} PUBLIC cxx_std_17)
    set_target_properties(${name} PROPERTIES
        EXPORT_NAME ${alias}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        LIBRARY_OUTPUT_DIRECTORY ${KO_LIBRARY_DIR}
        ARCHIVE_OUTPUT_DIRECTORY ${KO_LIBRARY_DIR}
        BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH "$ORIGIN")
    install(TARGETS ${name} EXPORT KoSerialTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KoSerial)
endfunction()
