# The headers that hosts include as <ktshttpagent/NAME>. The list stands here alone: the staged include folder, against
# which the host programs of this tree are built, is made from it, and the zip for Windows holds a copy of that folder.

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
