# Fails when the library's layering is broken:
#   - a file outside the platform layer includes an operating-system header;
#   - a file of the platform layer includes a header of the library outside it (the platform layer
#     sits below everything else: gs links gs_platform, never the other way round).
# Usage: cmake -DROOT=<folder holding the library's sources> -P check_os_includes.cmake
if(NOT ROOT)
  message(FATAL_ERROR "ROOT not set")
endif()

set(os_headers
  "unistd\\.h" "sys/" "fcntl\\.h" "dirent\\.h" "pthread\\.h" "sched\\.h" "semaphore\\.h" "dlfcn\\.h"
  "pwd\\.h" "grp\\.h" "poll\\.h" "termios\\.h" "spawn\\.h" "libgen\\.h" "glob\\.h" "fnmatch\\.h" "ftw\\.h"
  "utime\\.h" "syslog\\.h" "netdb\\.h" "netinet/" "arpa/" "linux/" "asm/" "mach/" "mach-o/" "libkern/"
  "CoreFoundation/" "CoreServices/" "CoreGraphics/" "Foundation/" "ApplicationServices/" "Carbon/"
  "QuickLook/" "objc/" "windows\\.h" "winsock" "io\\.h" "direct\\.h" "process\\.h")
list(JOIN os_headers "|" alternatives)
set(os_pattern "^[ \t]*#[ \t]*(include|import)[ \t]*[<\"](${alternatives})")
# Any include of the library ("gs/...") that is not of the platform layer itself.
set(upward_pattern "^[ \t]*#[ \t]*(include|import)[ \t]*[<\"]gs/([^p]|p[^l]|pl[^a]|pla[^t]|plat[^f]|platf[^o]|platfo[^r]|platfor[^m]|platform[^/])")

file(GLOB_RECURSE sources LIST_DIRECTORIES false
  "${ROOT}/*.h" "${ROOT}/*.hpp" "${ROOT}/*.cpp" "${ROOT}/*.cc" "${ROOT}/*.mm" "${ROOT}/*.inc")
set(found "")
set(upward "")
foreach(source ${sources})
  file(RELATIVE_PATH relative "${ROOT}" "${source}")
  if(relative MATCHES "^platform/")
    file(STRINGS "${source}" lines REGEX "${upward_pattern}")
    foreach(line ${lines})
      string(STRIP "${line}" line)
      string(APPEND upward "  ${relative}: ${line}\n")
    endforeach()
    continue()
  endif()
  file(STRINGS "${source}" lines REGEX "${os_pattern}")
  foreach(line ${lines})
    string(STRIP "${line}" line)
    string(APPEND found "  ${relative}: ${line}\n")
  endforeach()
endforeach()

set(report "")
if(found)
  string(APPEND report "Operating-system headers outside ${ROOT}/platform/ (move the code into the platform layer):\n${found}")
endif()
if(upward)
  string(APPEND report "Library headers included by ${ROOT}/platform/ (the platform layer depends on nothing above it):\n${upward}")
endif()
if(report)
  message(FATAL_ERROR "${report}")
endif()
list(LENGTH sources count)
message(STATUS "${count} files checked: no operating-system headers outside the platform layer, no library headers inside it")
