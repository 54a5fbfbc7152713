# borvanta_settings: what every target of this project is compiled with, under each compiler.
add_library(borvanta_settings INTERFACE)
target_compile_definitions(borvanta_settings INTERFACE
  UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
  _WIN32_WINNT=0x0A00 WINVER=0x0A00)

if(MSVC)
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  target_compile_definitions(borvanta_settings INTERFACE _CRT_SECURE_NO_WARNINGS)
  target_compile_options(borvanta_settings INTERFACE /W4 /WX /permissive- /utf-8 /Zc:__cplusplus /EHsc /guard:cf)
  target_link_options(borvanta_settings INTERFACE
    /WX /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /GUARD:CF /CETCOMPAT
    # Each of the two contradicts the incremental linking that is otherwise on beside debug information.
    /OPT:REF /OPT:ICF /INCREMENTAL:NO)
else()
  target_compile_options(borvanta_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Werror
    # The Windows way to look a function up casts FARPROC to the function's own type.
    -Wno-cast-function-type
    -ffunction-sections -fdata-sections)
  target_link_options(borvanta_settings INTERFACE
    -static -Wl,--gc-sections -Wl,--dynamicbase,--high-entropy-va,--nxcompat)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    include(ClangChecks)
  else()
    # Clang's objects and the C++ library's, which GCC compiled, differ in the size of their type information.
    target_link_options(borvanta_settings INTERFACE -Wl,--fatal-warnings)
  endif()
endif()
