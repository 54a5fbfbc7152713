# What Clang is here for: warnings that stand in for MSVC's, and programs that stop where their behaviour is undefined.
target_compile_options(borvanta_settings INTERFACE
  -Weverything
  # Older standards of C++; this is C++20.
  -Wno-c++98-compat -Wno-c++98-compat-pedantic -Wno-pre-c++14-compat -Wno-pre-c++17-compat -Wno-pre-c++20-compat-pedantic
  # System calls give and take pointers with a length beside them.
  -Wno-unsafe-buffer-usage
  # Objects may have padding, live until the process ends, and have their table of functions in several files.
  -Wno-padded -Wno-global-constructors -Wno-exit-time-destructors -Wno-weak-vtables
  # "std::lock_guard lock(mutex)" is how the standard means it.
  -Wno-ctad-maybe-unsupported
  # A capture may have the name of what it captures, and a lambda's parameter that of a variable outside.
  -Wno-shadow-uncaptured-local
  # The loader, the linker and Node.js find functions by names that they have chosen.
  -Wno-missing-prototypes -Wno-missing-variable-declarations -Wno-reserved-identifier
  # MinGW-w64 marks functions of its headers as unused.
  -Wno-used-but-marked-unused

  # Each stops the process, and tests/support/trap_report.cc says where. A conversion that changes only the sign is how
  # system calls give handles and codes.
  -fsanitize=undefined,implicit-conversion -fno-sanitize=implicit-integer-sign-change -fsanitize-trap=all
  # What nobody has set is not 0 by chance.
  -ftrivial-auto-var-init=pattern)
# An index beyond the end of a string, an array or a vector ends the process too.
target_compile_definitions(borvanta_settings INTERFACE _GLIBCXX_ASSERTIONS)

# A part of every program and module, compiled once.
add_library(trap_report OBJECT ${CMAKE_SOURCE_DIR}/tests/support/trap_report.cc)
target_compile_options(trap_report PRIVATE $<TARGET_PROPERTY:borvanta_settings,INTERFACE_COMPILE_OPTIONS>)
target_compile_definitions(trap_report PRIVATE $<TARGET_PROPERTY:borvanta_settings,INTERFACE_COMPILE_DEFINITIONS>)
target_sources(borvanta_settings INTERFACE $<TARGET_OBJECTS:trap_report>)
