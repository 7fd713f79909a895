# Applied to our own targets: warnings are errors, source paths in messages are relative to the top
# folder, also where a compiler cache has made them relative to the build's.
file(RELATIVE_PATH top_folder ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
add_library(lumen-options INTERFACE)
target_compile_options(lumen-options INTERFACE
  -Wall -Wextra -Wshadow -Wvla -Wformat=2 -Wcast-align -Werror
  # A file that is compiled with others is taken for a header.
  $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:-Wno-subobject-linkage>
  # RapidJSON's iterators compare in both directions; a HAM has no virtual destructor.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-ambiguous-reversed-operator -Wno-delete-non-abstract-non-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Wpedantic -Woverloaded-virtual -Wextra-semi>
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/= -fmacro-prefix-map=${top_folder}=)
target_include_directories(lumen-options INTERFACE ${CMAKE_SOURCE_DIR})
if(LUMEN_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(LUMEN_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# For sources that have RapidJSON build, write or validate documents: its stack begins by adding to a
# null pointer, and it hashes numbers beyond 64 bits by what a cast makes of them. Clang's sanitizer
# ends the process for either.
function(lumen_allow_rapidjson)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS
    $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=pointer-overflow,float-cast-overflow>)
endfunction()
