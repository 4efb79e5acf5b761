# Every file is as old as the commit, so that the same sources make the same package.
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -exec
  touch --no-dereference --date @$ENV{SOURCE_DATE_EPOCH} {} + COMMAND_ERROR_IS_FATAL ANY)
