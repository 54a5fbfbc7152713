# Two builds of one commit by the same GCC or Clang give the same bytes: file paths begin with /borvanta-util wherever the
# checkout is, and the time stamp is the commit's. Sets commit_time, in seconds since 1970.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(commit_time $ENV{SOURCE_DATE_EPOCH})
else()
  # CI's checkout may belong to another user, which git mistrusts. Without git or without a repository, the time is 0.
  execute_process(COMMAND git -c safe.directory=* log -1 --format=%ct WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
    OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT commit_time)
    set(commit_time 0)
  endif()
endif()

if(NOT MSVC)
  add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=/borvanta-util)
endif()
