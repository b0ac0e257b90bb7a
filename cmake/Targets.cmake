# What every target of the project shares: language level, warnings, sanitizers, visibility.

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
# Installed programs and libraries find each other wherever the tree is moved.
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

set(sanitizerIgnoreList ${CMAKE_CURRENT_LIST_DIR}/sanitizers.ignore)
function(videoframe_settings target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # Warns of the standard library's own string concatenation (GCC bug 105651).
        target_compile_options(${target} PRIVATE -Wno-restrict)
    endif()
    if(VIDEOFRAME_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(VIDEOFRAME_SANITIZE)
        # The checks' own code makes GCC think that the standard library reads unset variables.
        target_compile_options(${target} PRIVATE -fsanitize=${VIDEOFRAME_SANITIZE}
            -fno-omit-frame-pointer -fno-sanitize-recover=undefined
            $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
            $<$<CXX_COMPILER_ID:Clang>:-fsanitize-ignorelist=${sanitizerIgnoreList}>)
        target_link_options(${target} PRIVATE -fsanitize=${VIDEOFRAME_SANITIZE})
    endif()
    target_link_libraries(${target} PRIVATE Threads::Threads)
endfunction()

# A shared library of the project, installed and exported.
#   videoframe_library(<target> OUTPUT <file name> SOURCES ... [LINK ...] [PRIVATE_LINK ...])
function(videoframe_library target)
    cmake_parse_arguments(ARG "" "OUTPUT" "SOURCES;LINK;PRIVATE_LINK" ${ARGN})
    # The objects are a target of their own so that tests can reach what the library hides.
    add_library(${target}_objects OBJECT ${ARG_SOURCES})
    videoframe_settings(${target}_objects)
    set_target_properties(${target}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_include_directories(${target}_objects PUBLIC ${PROJECT_SOURCE_DIR}/Src
                               ${PROJECT_SOURCE_DIR}/Inc)
    target_link_libraries(${target}_objects PUBLIC ${ARG_LINK} ${ARG_PRIVATE_LINK} Boost::headers)
    add_library(${target} SHARED $<TARGET_OBJECTS:${target}_objects>)
    videoframe_settings(${target})
    set_target_properties(${target} PROPERTIES OUTPUT_NAME ${ARG_OUTPUT}
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    target_include_directories(${target}
        PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/Src>
               $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${target} PUBLIC ${ARG_LINK} Boost::headers PRIVATE ${ARG_PRIVATE_LINK})
    # So that one with what its linker was told fails here and not at the consumer.
    if(NOT VIDEOFRAME_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
    install(TARGETS ${target} EXPORT VideoFrameTargets
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP COMPONENT Runtime)
    install(TARGETS ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_ONLY
            COMPONENT Development)
endfunction()
