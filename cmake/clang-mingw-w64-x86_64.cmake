# Cross-compiles with Clang, the second compiler. Its build is for tests and checks, and never ships. The headers, the
# C++ library and the linker are those of MinGW-w64.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-x86_64.cmake)

execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name
  OUTPUT_VARIABLE gcc_folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET gcc_folder PARENT_PATH gcc_folder)

set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
# Clang does not find Debian's "-posix" folders by itself.
set(CMAKE_CXX_FLAGS_INIT
  "-nostdinc++ -isystem ${gcc_folder}/include/c++ -isystem ${gcc_folder}/include/c++/${triple}")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-pthread --ld-path=/usr/bin/${triple}-ld -L${gcc_folder}")
endforeach()
