#include "tests/support/child.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace testsupport {

namespace {

std::string ReadAll(FILE* file) {
    std::string text;
    rewind(file);
    for (int byte = fgetc(file); byte != EOF; byte = fgetc(file)) {
        text.push_back(static_cast<char>(byte));
    }
    fclose(file);
    return text;
}

[[noreturn]] void RunBody(const std::function<void()>& body, FILE* out, FILE* err) {
    dup2(fileno(out), STDOUT_FILENO);
    dup2(fileno(err), STDERR_FILENO);
    setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    body();
    fflush(stdout);
    _exit(0);
}

}  // namespace

ChildResult RunInChild(const std::function<void()>& body) {
    FILE* out = tmpfile();
    FILE* err = tmpfile();
    if (out == nullptr || err == nullptr) {
        throw std::runtime_error("no temporary file");
    }
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        RunBody(body, out, err);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        throw std::runtime_error("no child process");
    }
    ChildResult result;
    result.exitValue = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.out = ReadAll(out);
    result.err = ReadAll(err);
    return result;
}

}  // namespace testsupport
