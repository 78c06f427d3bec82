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

# k7_target(NAME): house settings for one of our own C++ targets.
function(k7_target target)
    # Kept out of what is exported: the house settings are not for others.
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:k7-build-options>)
    set_target_properties(${target} PROPERTIES
        AUTOMOC ON
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
endfunction()
