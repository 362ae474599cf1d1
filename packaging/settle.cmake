# Read by cpack when the files are installed and stripped, and before they are packed.
execute_process(COMMAND "${CPACK_LUMENARA_PYTHON}" "${CMAKE_CURRENT_LIST_DIR}/settle_build_ids.py" "${CPACK_TEMPORARY_DIRECTORY}"
  COMMAND_ERROR_IS_FATAL ANY)
