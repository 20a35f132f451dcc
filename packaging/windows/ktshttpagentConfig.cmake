# For find_package(ktshttpagent): targets ktshttpagent::ktshttpagent, ktshttpagent::chttpclient, ktshttpagent::libclog.
include(CMakeFindDependencyMacro)
find_dependency(Qt5 5.15 COMPONENTS Core)
include(${CMAKE_CURRENT_LIST_DIR}/ktshttpagentTargets.cmake)
