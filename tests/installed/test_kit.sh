#!/usr/bin/env bash
# test_kit.sh PREFIX FOLDER: a host's tests find the installed test kit with CMake and pkg-config, and pass; those with
# doubles pass without a network.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
prefix=$1

quietly cmake -G Ninja -S "$here/../../examples/host_tests" -B build -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug
# Where no network namespace can be made, the example says so, and its test runs beside the network.
without_network=yes
! grep -q 'No network namespace can be made' output.txt || without_network=no
quietly cmake --build build
(cd build && ctest --verbose) >tests.txt 2>&1 || { cat tests.txt; fail "the tests of the example"; }
grep -E 'tests passed|SKIPPED|PASSED' tests.txt
if [ $without_network = yes ]; then
  grep -q '\[       OK \] NoNetwork.IsWhereTheseTestsRun' tests.txt || fail "there was a network"
fi
grep -qE '\[  PASSED  \] ([5-9]|[1-9][0-9]) tests' tests.txt || fail "there were no tests"
grep -q "Totals: 4 passed, 0 failed, 0 skipped" tests.txt || fail "there was no QtTest"

# Without the component, the package has no such target.
mkdir plain
cat >plain/CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.16)
project(plain LANGUAGES CXX)
find_package(ktshttpagent REQUIRED)
if(TARGET ktshttpagent::testing)
  message(FATAL_ERROR "the test kit comes without being asked for")
endif()
END
quietly cmake -G Ninja -S plain -B plain/build -DCMAKE_PREFIX_PATH="$prefix"

# With pkg-config, and without Qt's or CMake's help.
cat >kit.cpp <<'END'
#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/testing/KtsScriptedTransport.h>
int main()
{
    KtsScriptedTransport transport;
    transport.OnAny(KtsReply::Body("{}"));
    VelCSDK::SDKFactory::GetInstance()->GetSupportVer("1");
    return transport.Sent(VelCSDK::RequestType::GetSupportVer).size() == 1 ? 0 : 1;
}
END
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs ktshttpagent-testing)"
quietly g++ -std=c++17 -o kit kit.cpp "${flags[@]}" -Wl,-rpath,"$prefix/lib"
quietly ./kit
