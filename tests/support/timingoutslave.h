#pragma once

#include <sys/stat.h>

#include <string>

namespace testsupport {

/**
 * Writes a script that replaces the program syscallslave, and returns its path. The script appends
 * each command as a line to the file syscallslave.commands, and answers e_Error_Timeout.
 */
template <typename Directory>
std::string WriteTimingOutSlave(const Directory& directory) {
    std::string path = directory.write("syscallslave", R"(#!/bin/sh
in=/proc/self/fd/$1 out=/proc/self/fd/$2
while size=$(head -c 4 <$in | od -An -tu4) && [ -n "$size" ]; do
    head -c $size <$in >>"$0.commands"
    echo >>"$0.commands"
    printf A >$out
    head -c 1 <$in >/dev/null
    printf '\024\357\0\0\0\0\0\0\0\0\0\0\0\0\0\0' >$out
done
)");
    chmod(path.c_str(), S_IRWXU);
    return path;
}

}  // namespace testsupport
