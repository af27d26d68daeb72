# What every target of the project is compiled with.
add_library(tavrik_options INTERFACE)
target_compile_options(tavrik_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
if(TAVRIK_WARNINGS_AS_ERRORS)
    target_compile_options(tavrik_options INTERFACE -Werror)
endif()
target_compile_definitions(tavrik_options INTERFACE
    QT_NO_KEYWORDS QT_NO_FOREACH QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING QT_STRICT_ITERATORS)
if(TAVRIK_SANITIZE)
    target_compile_options(tavrik_options INTERFACE -fsanitize=${TAVRIK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(tavrik_options INTERFACE -fsanitize=${TAVRIK_SANITIZE})
    if(TAVRIK_SANITIZE MATCHES thread)
        # Qt's headers have fences, which the sanitizer cannot follow.
        target_compile_options(tavrik_options INTERFACE -Wno-tsan)
    endif()
endif()

# tavrik_library(NAME SOURCES… PUBLIC libraries… PRIVATE libraries…)
# One area: a static library whose headers are included from the Tavrik folder ("capture/Recorder.h").
function(tavrik_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/Tavrik)
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE tavrik_options ${ARG_PRIVATE})
endfunction()

# tavrik_qml(NAME URI FILES…)
# Compiles views into an area's library, and registers its QML_ELEMENT types. Call qml_register_types_<URI>() before the
# first is loaded, from qrc:/qml/<URI as a path>/<path of the file>.
function(tavrik_qml name uri)
    string(REPLACE . / path ${uri})
    qt_add_qml_module(${name}
        URI ${uri}
        VERSION 1.0
        RESOURCE_PREFIX /qml
        OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/qml/${path}
        NO_PLUGIN
        DEPENDENCIES QtQuick
        QML_FILES ${ARGN}
    )
    # What the QML compiler writes does not meet our warnings.
    get_target_property(sources ${name} SOURCES)
    list(FILTER sources INCLUDE REGEX "/qmlcache/")
    if(sources)
        set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS -w)
    endif()
endfunction()

# tavrik_test(NAME SOURCES… LIBRARIES… [DESKTOP] [TIMEOUT seconds])
# One Qt Test program. DESKTOP runs it on a virtual desktop of its own.
function(tavrik_test name)
    cmake_parse_arguments(ARG "DESKTOP" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE tavrik_options Qt6::Test ${ARG_LIBRARIES})
    if(ARG_DESKTOP)
        add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/desktop/on-desktop $<TARGET_FILE:${name}>)
        set_tests_properties(${name} PROPERTIES LABELS desktop)
    else()
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(TAVRIK_SANITIZE)
        math(EXPR ARG_TIMEOUT "5 * ${ARG_TIMEOUT}")
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()
