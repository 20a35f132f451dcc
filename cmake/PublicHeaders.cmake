# The headers that hosts include as <ktshttpagent/NAME>. This is the only list of them: from it the staged include folder
# is made, which the host programs of this project are built with and of which the zip for Windows contains a copy.

set(KTS_PUBLIC_HEADERS
  sdk/KtsExport.h
  sdk/RequestRecords.h
  sdk/ResultRecords.h
  sdk/IVelClientSDk.h
  agent/BlockingOutcome.h
  agent/CUIAgentReq.h
  agent/CUIAgentRsp.h
  agent/ResultVariants.h
  platform/chttpclient/chttpclient.h
  platform/clog/clog.h
)

set(KTS_STAGED_INCLUDE_DIR ${PROJECT_BINARY_DIR}/include)
foreach(header IN LISTS KTS_PUBLIC_HEADERS)
  get_filename_component(name ${header} NAME)
  configure_file(${PROJECT_SOURCE_DIR}/${header} ${KTS_STAGED_INCLUDE_DIR}/ktshttpagent/${name} COPYONLY)
endforeach()
