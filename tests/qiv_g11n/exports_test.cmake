# Usage: cmake -DNM=<nm> -DLIBRARY=<shared object> -P exports_test.cmake
# The dynamic symbols that the shared object defines are exactly those of the contract.
execute_process(COMMAND ${NM} -DC --defined-only ${LIBRARY}
  OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "(^|\n)[0-9a-f]+ [A-Za-z] " "\\1" output "${output}")
string(REGEX REPLACE "@@[A-Z0-9_]+|\\[abi:cxx11\\]" "" output "${output}")
string(STRIP "${output}" output)
string(REPLACE "\n" ";" exported "${output}")
list(REMOVE_ITEM exported QIV_G11N_1)
list(SORT exported)
set(expected
  "RQLogger::ArgumentRef::CopyChars(void const*)"
  "RQLogger::ArgumentRef::Own() const"
  "RQLogger::Error(RQLogger::TextRef, RQLogger::TextRef)"
  "RQLogger::InfoMessage(RQLogger::TextRef, RQLogger::TextRef)"
  "RQLogger::Language()"
  "RQLogger::Languages()"
  "RQLogger::Log(RQLogger::TextRef, RQLogger::RQLogLevel, RQLogger::TextRef, RQLogger::TextRef, RQLogger::ArgumentRef const*, unsigned long)"
  "RQLogger::SetLanguage(RQLogger::TextRef)"
  "RQLogger::SetSink(std::function<void (RQLogger::Record const&)>)"
  "RQLogger::SinkFailures()"
  "RQLogger::WriteToStandardError(RQLogger::Record const&)")
if(NOT "${exported}" STREQUAL "${expected}")
  list(JOIN exported "\n  " lines)
  message(FATAL_ERROR "Exported:\n  ${lines}")
endif()
