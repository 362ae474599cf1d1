# Read by cpack before it begins: the times inside of packages are the commit's, so that two builds of it are equal. A time in the environment
# has precedence; without git, the times are those of the files.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git -C "${CPACK_LUMENARA_SOURCE}" log -1 --format=%ct
    OUTPUT_VARIABLE lumenara_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(lumenara_time)
    set(ENV{SOURCE_DATE_EPOCH} "${lumenara_time}")
  endif()
endif()
