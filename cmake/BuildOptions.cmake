# What every target of this tree is compiled with, and the one function that makes a target ready.

add_library(k7-build-options INTERFACE)
target_compile_features(k7-build-options INTERFACE cxx_std_17)
target_compile_definitions(k7-build-options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_STRICT_ITERATORS)
target_compile_options(k7-build-options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wconversion -Wold-style-cast -Woverloaded-virtual -Wvla
    # Qt's logging macros take an empty list of arguments.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported()

# What cf-protection makes has an effect where all that a program is linked from has it, the C library included.
set(k7_hardening_options -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
foreach(feature stack-clash-protection cf-protection)
    check_cxx_compiler_flag(-f${feature} k7_has_${feature})
    if(k7_has_${feature})
        list(APPEND k7_hardening_options -f${feature})
    endif()
endforeach()

# k7_harden(NAME): what makes a fault of ours harder to exploit, in a build for users. _FORTIFY_SOURCE does nothing
# without the optimiser, and hides calls of the C library from the sanitizers.
function(k7_harden target)
    if(CMAKE_CXX_FLAGS MATCHES -fsanitize)
        return()
    endif()
    set(for_users $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
    # Not by an interface library: its link options would reach whoever links to a static library of ours.
    target_compile_options(${target} PRIVATE "$<${for_users}:${k7_hardening_options}>")
    target_link_options(${target} PRIVATE "$<${for_users}:LINKER:-z,relro,-z,now,-z,noexecstack>")
endfunction()

# k7_target(NAME): house settings for one of our own C++ targets.
function(k7_target target)
    k7_harden(${target})
    # Kept out of what is exported: the house settings are not for others.
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:k7-build-options>)
    set_target_properties(${target} PROPERTIES
        AUTOMOC ON
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
endfunction()
