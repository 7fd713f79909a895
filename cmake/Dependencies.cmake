# All from the distribution. A toolchain file may name a directory that holds the target's own
# libraries in LUMEN_LIBRARY_DIR; headers are the same for every width.
if(LUMEN_LIBRARY_DIR)
  set(lumen_search PATHS ${LUMEN_LIBRARY_DIR} NO_DEFAULT_PATH)
endif()
find_library(PROTOBUF_LITE_LIBRARY protobuf-lite ${lumen_search} REQUIRED)
find_library(FMT_LIBRARY fmt ${lumen_search} REQUIRED)
find_library(SYSTEMD_LIBRARY systemd ${lumen_search} REQUIRED)
# Not the static ones: one part of the library would then exist twice.
find_library(NCURSESW_LIBRARY libncursesw.so ${lumen_search} REQUIRED)
find_library(TINFO_LIBRARY libtinfo.so ${lumen_search} REQUIRED)
find_library(BENCHMARK_LIBRARY benchmark ${lumen_search})
find_program(PROTOC protoc REQUIRED)
find_path(RAPIDJSON_INCLUDE rapidjson/document.h REQUIRED)
find_path(FMT_INCLUDE fmt/format.h REQUIRED)
find_path(ASIO_INCLUDE asio.hpp REQUIRED)
find_path(SYSTEMD_INCLUDE systemd/sd-daemon.h REQUIRED)
find_path(CLI11_INCLUDE CLI/CLI.hpp REQUIRED)
find_path(CURSES_INCLUDE curses.h REQUIRED)
find_package(Threads REQUIRED)

add_library(protobuf-lite INTERFACE)
target_link_libraries(protobuf-lite INTERFACE ${PROTOBUF_LITE_LIBRARY})
if(LUMEN_LIBRARY_DIR)
  # The target's libraries need others from the same directory, when they are linked and when they
  # run: a RUNPATH would not count for the others.
  target_link_options(protobuf-lite INTERFACE
    -Wl,-rpath-link,${LUMEN_LIBRARY_DIR} -Wl,--disable-new-dtags)
  set(CMAKE_BUILD_RPATH ${LUMEN_LIBRARY_DIR})
endif()

# {fmt} has a library for the programs, which compile three times as fast with it. The product takes
# it from its headers: a host then needs no library for it.
add_library(fmt INTERFACE)
target_link_libraries(fmt INTERFACE ${FMT_LIBRARY})
add_library(fmt-headers INTERFACE)
target_compile_definitions(fmt-headers INTERFACE FMT_HEADER_ONLY)

# The library's file is a linker's script, which names its parts without their directory.
add_library(ncursesw INTERFACE)
target_link_libraries(ncursesw INTERFACE ${NCURSESW_LIBRARY} ${TINFO_LIBRARY})
target_link_directories(ncursesw INTERFACE ${LUMEN_LIBRARY_DIR})
