# Clang has two purposes: its warnings are used in place of MSVC's, and its programs stop where their behaviour is
# undefined.
target_compile_options(borvanta_settings INTERFACE
  -Weverything
  # These warn about code that older standards of C++ do not accept. This is C++20.
  -Wno-c++98-compat -Wno-c++98-compat-pedantic -Wno-pre-c++14-compat -Wno-pre-c++17-compat
  -Wno-pre-c++20-compat-pedantic -Wno-c++20-compat
  # System calls return and take pointers and their lengths separately.
  -Wno-unsafe-buffer-usage
  # Objects may have padding and live until the process ends, and a class may have its virtual table in several files.
  -Wno-padded -Wno-global-constructors -Wno-exit-time-destructors -Wno-weak-vtables
  # The compiler may deduce template arguments, as in "std::lock_guard lock(mutex)".
  -Wno-ctad-maybe-unsupported
  # A lambda's capture may have the name of the captured variable, and its parameter the name of an outer variable.
  -Wno-shadow-uncaptured-local
  # The loader, the linker and Node.js find some functions by names that they prescribe.
  -Wno-missing-prototypes -Wno-missing-variable-declarations -Wno-reserved-identifier
  # MinGW-w64 marks functions of its headers as unused.
  -Wno-used-but-marked-unused

  # Each check stops the process, and tests/support/trap_report.cc reports the place. Conversions that change only the
  # sign are allowed, because the handles and codes of system calls need them.
  -fsanitize=undefined,implicit-conversion -fno-sanitize=implicit-integer-sign-change -fsanitize-trap=all
  # Rarely called functions go to sections of the same name as in GCC's C++ library: else the linker does not see that a
  # function of both is the same.
  "SHELL:-mllvm -profile-guided-section-prefix=false"
  # An uninitialised variable holds a pattern, so that it is not 0 by chance.
  -ftrivial-auto-var-init=pattern)
# An index beyond the end of a string, an array or a vector ends the process too.
target_compile_definitions(borvanta_settings INTERFACE _GLIBCXX_ASSERTIONS)

# Linked into every program and module, but compiled only once.
add_library(trap_report OBJECT ${CMAKE_SOURCE_DIR}/tests/support/trap_report.cc)
target_compile_options(trap_report PRIVATE $<TARGET_PROPERTY:borvanta_settings,INTERFACE_COMPILE_OPTIONS>)
target_compile_definitions(trap_report PRIVATE $<TARGET_PROPERTY:borvanta_settings,INTERFACE_COMPILE_DEFINITIONS>)
target_sources(borvanta_settings INTERFACE $<TARGET_OBJECTS:trap_report>)
