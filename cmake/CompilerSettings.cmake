# borvanta_settings: the compiler and linker options of every target of this project, for each compiler.
add_library(borvanta_settings INTERFACE)
target_compile_definitions(borvanta_settings INTERFACE
  UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
  _WIN32_WINNT=0x0A00 WINVER=0x0A00)

if(MSVC)
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  target_compile_definitions(borvanta_settings INTERFACE _CRT_SECURE_NO_WARNINGS)
  # C4702, unreachable code, comes from the code generator, which also warns about the headers of other projects.
  target_compile_options(borvanta_settings INTERFACE
    /W4 /WX /wd4702 /permissive- /utf-8 /Zc:__cplusplus /EHsc /guard:cf)
  target_link_options(borvanta_settings INTERFACE
    /WX /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /GUARD:CF /CETCOMPAT
    # /OPT:REF and /OPT:ICF exclude incremental linking, which debug information would otherwise turn on.
    /OPT:REF /OPT:ICF /INCREMENTAL:NO)
else()
  target_compile_options(borvanta_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Werror
    # GetProcAddress returns a FARPROC, which must be cast to the function's own type.
    -Wno-cast-function-type
    -ffunction-sections -fdata-sections)
  target_link_options(borvanta_settings INTERFACE
    -static -Wl,--gc-sections -Wl,--dynamicbase,--high-entropy-va,--nxcompat)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    include(ClangChecks)
  else()
    # Not with Clang: its objects and the C++ library, which GCC compiled, differ in the size of their type information,
    # and the linker warns about that.
    target_link_options(borvanta_settings INTERFACE -Wl,--fatal-warnings)
  endif()
endif()
