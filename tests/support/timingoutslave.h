#pragma once

#include <sys/stat.h>

#include <string>

namespace testsupport {

/**
 * Writes a script into the directory in the place of the program syscallslave: it lists each
 * command in the file syscallslave.commands, a line each, and answers e_Error_Timeout. The script's
 * path.
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
