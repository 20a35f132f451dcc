#!/usr/bin/env bash
# Shows that `./dev abi` notices what breaks compiled hosts: each row changes a copy of the public headers, or the list of
# exports, in a way that must be told; unchanged copies must be as stored. What must be told is compiled from a few lines
# (layouts.cpp, own_log.cpp), so that a row takes about three seconds.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
source tests/abi/binary_interface.sh
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Reads the interfaces of the changed copy that a row needs, and compares them.
compare_layouts() {
  read_layouts "$folder/include" "$folder/layouts.abi"
  same_interface "$folder/layouts.abi"
}
compare_log() {
  g++ -std=c++17 -g -fPIC -shared -fvisibility=hidden -I"$folder/include" "$folder/own_log.cpp" \
    -Wl,--version-script="$folder/libclog.map" -Wl,-soname,libclog.so.0 -o "$folder/libclog.so.0"
  read_library "$folder/libclog.so.0" "$folder/libclog.abi"
  same_interface "$folder/libclog.abi"
}

# A library with a class as the public ones are, and Qt's types in each place where they may be: its interface is read as
# that of a real one, from unchanged headers of Qt and from the copy.
compare_class_with_qt() {
  local flags
  read -ra flags < <(pkg-config --cflags Qt5Core)
  cat >"$folder/KtsSample.h" <<'HEADER'
#include <QObject>
#include <QString>
#include <QVariant>
class __attribute__((visibility("default"))) CKtsSample : public QObject
{
public:
    virtual QVariant Ask(const QString& strWhat, QStringList lstHow);
    QString m_strAnswer;
};
HEADER
  printf '#include "KtsSample.h"\n%s\n' 'QVariant CKtsSample::Ask(const QString&, QStringList) { return m_strAnswer; }' \
    >"$folder/sample.cpp"
  g++ -std=c++17 -g -fPIC -shared "${flags[@]}" "$folder/sample.cpp" -o "$folder/sample.so.0"
  read_library "$folder/sample.so.0" "$folder/before.abi"
  g++ -std=c++17 -g -fPIC -shared -I"$folder/include" "${flags[@]}" "$folder/sample.cpp" -o "$folder/sample.so.0"
  read_library "$folder/sample.so.0" "$folder/after.abi"
  abidiff --harmless --suppressions tests/abi/layouts.suppr "$folder/before.abi" "$folder/after.abi"
}

fresh_copy() {
  rm -rf "$folder/include"
  cp -r include tests/abi/own_log.cpp cmake/exports/libclog.map "$folder"
}

# Headers of Qt in front of the installed ones, to be changed.
copy_qt() {
  cp -r "$(pkg-config --variable=includedir Qt5Core)/QtCore/." "$folder/include/"
  ln -sf . "$folder/include/QtCore" # some are included with the name of the folder, in place of the header of that name
}

failures=0
fail() {
  echo "abi: FAILED: $*" >&2
  cat "$folder/report" >&2
  failures=$((failures + 1))
}

# must_tell WHAT COMPARISON WORDS SED FILE...: the change that sed makes to each of the files must be told with the
# words. The status 4 of abidiff says that there is a change; anything below says that it could not compare.
must_tell() {
  local file status=0
  fresh_copy
  case $5 in include/q*) copy_qt ;; esac
  for file in "${@:5}"; do
    cp "$folder/$file" "$folder/before"
    sed -i -E "$4" "$folder/$file"
    if cmp -s "$folder/before" "$folder/$file"; then
      echo "abi: FAILED: '$1' changes nothing in $file, which was changed since" >&2
      failures=$((failures + 1))
      return
    fi
  done
  "$2" >"$folder/report" 2>&1 || status=$?
  if [ $((status & 4)) = 0 ] || [ $((status & 3)) != 0 ] || ! grep -qE "$3" "$folder/report"; then
    fail "'$1' is not told (status $status)"
  else
    echo "abi: told: $1"
  fi
}

for comparison in compare_layouts compare_log; do
  fresh_copy
  "$comparison" >"$folder/report" 2>&1 || fail "$comparison finds a difference in an unchanged copy"
done

requests=include/ktshttpagent/RequestRecords.h
results=include/ktshttpagent/ResultRecords.h
client=include/ktshttpagent/IVelClientSDk.h
log=include/ktshttpagent/clog.h

must_tell "a field at the end of a record that hosts pass" compare_layouts "nAdded" \
  's/^( *)float temperature = .*/&\n\1int nAdded = 0;/' $requests
must_tell "a field in the padding of a record that hosts pass" compare_layouts "bAdded" \
  's/^( *)bool status = .*/&\n\1bool bAdded = false;/' $requests
must_tell "a field at the end of a record that hosts get" compare_layouts "strAdded" \
  's/^( *)std::string strReason; .*/&\n\1std::string strAdded;/' $results
must_tell "a field that is removed" compare_layouts "deviceRange" '/std::string deviceRange;/d' $requests
must_tell "two fields that change places" compare_layouts "chargingCapacity|dischargeCapacity" \
  's/std::string chargingCapacity;/std::string held;/
   s/std::string dischargeCapacity;/std::string chargingCapacity;/
   s/std::string held;/std::string dischargeCapacity;/' $requests
must_tell "a field of another type of the same size" compare_layouts "xmNameId" \
  's/int xmNameId = 0; +.*/float xmNameId = 0;/' $requests
must_tell "a virtual function that is inserted" compare_layouts "Added|vtable" \
  's/^( *)virtual void Reserved\(\) = 0;/\1virtual void Added() = 0;\n&/' $client
must_tell "a virtual function that moves" compare_layouts "Reserved|vtable" \
  '/virtual void Reserved\(\) = 0;/d
   s/^( *)virtual void GetSupportVer\(.*/&\n\1virtual void Reserved() = 0;/' $client
must_tell "a virtual function that is removed" compare_layouts "Reserved|vtable" \
  '/virtual void Reserved\(\) = 0;/d' $client
must_tell "a parameter of a virtual function" compare_layouts "GetUserInfo" \
  's/GetUserInfo\(int userId\)/GetUserInfo(long userId)/' $client
must_tell "a number of an enumeration" compare_layouts "TimedOut" \
  's/TimedOut = -28,/TimedOut = -29,/' include/ktshttpagent/chttpclient.h
must_tell "a parameter of an exported function" compare_log "Log_Write" \
  's/int (line,)/long \1/; s/(std::string&), int, const/\1, long, const/' $log own_log.cpp
must_tell "an export that is removed" compare_log "Log_Folder" '/Log_Folder/d' libclog.map

# An update of Qt that keeps its own promise, as those for security do: functions that are not virtual and enumerators
# come, and nothing moves. It must not be told; a Qt whose types have another size must.
string=include/qstring.h object=include/qobject.h variant=include/qvariant.h
update_qt() {
  fresh_copy
  copy_qt
  sed -i 's/^    inline QString() noexcept;/&\n    int AddedByUpdate() const;/' "$folder/$string"
  sed -i 's/^    virtual ~QObject();/&\n    void AddedByUpdate();/' "$folder/$object"
  sed -i 's/^        LastType = 0xffffffff.*/        AddedByUpdate = 1021,\n&/' "$folder/$variant"
  [ "$(cat "$folder"/{$string,$object,$variant} | grep -c AddedByUpdate)" = 3 ]
}
if update_qt; then
  for comparison in compare_layouts compare_class_with_qt; do
    if "$comparison" >"$folder/report" 2>&1; then
      echo "abi: not told, by $comparison: an update of Qt that adds"
    else
      fail "$comparison tells an update of Qt that adds"
    fi
  done
else
  : >"$folder/report"
  fail "the update of Qt changes nothing in its headers, which were changed since"
fi
must_tell "a Qt whose texts have another size" compare_layouts "size changed" \
  's/^( *)Data \*d;$/&\n\1void *pAddedByUpdate = nullptr;/' $string

fresh_copy
echo 'struct SNobodyNamed {' >>"$folder/$results"
unnamed_types "$folder/include" >"$folder/report"
if [ "$(cat "$folder/report")" = SNobodyNamed ]; then
  echo "abi: told: a record that layouts.cpp does not name"
else
  fail "a record that layouts.cpp does not name is not told"
fi
[ "$failures" = 0 ]
