# Fails when a file of the library outside its platform layer includes an operating-system header.
# Usage: cmake -DROOT=<folder holding the library's sources> -P check_os_includes.cmake
# Everything below ROOT is checked except ROOT/platform/, the only code that may talk to the OS.
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
set(pattern "^[ \t]*#[ \t]*(include|import)[ \t]*[<\"](${alternatives})")

file(GLOB_RECURSE sources LIST_DIRECTORIES false
  "${ROOT}/*.h" "${ROOT}/*.hpp" "${ROOT}/*.cpp" "${ROOT}/*.cc" "${ROOT}/*.mm" "${ROOT}/*.inc")
set(found "")
foreach(source ${sources})
  file(RELATIVE_PATH relative "${ROOT}" "${source}")
  if(relative MATCHES "^platform/")
    continue()
  endif()
  file(STRINGS "${source}" lines REGEX "${pattern}")
  foreach(line ${lines})
    string(STRIP "${line}" line)
    string(APPEND found "  ${relative}: ${line}\n")
  endforeach()
endforeach()

if(found)
  message(FATAL_ERROR "Operating-system headers outside ${ROOT}/platform/ (move the code into the platform layer):\n${found}")
endif()
list(LENGTH sources count)
message(STATUS "${count} files checked, no operating-system headers outside the platform layer")
