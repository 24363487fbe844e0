#include "tests/support/child.h"

#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace testsupport {

namespace {

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

File TemporaryFile() {
    File file(tmpfile());
    if (!file) {
        throw std::runtime_error("no temporary file");
    }
    return file;
}

std::string ReadAll(FILE* file) {
    std::string text;
    rewind(file);
    for (int byte = fgetc(file); byte != EOF; byte = fgetc(file)) {
        text.push_back(static_cast<char>(byte));
    }
    return text;
}

/** noexcept, since the child has a copy of the test's stack, whose handlers must not run. */
[[noreturn]] void RunBody(const std::function<void()>& body, FILE* out, FILE* err) noexcept {
    dup2(fileno(out), STDOUT_FILENO);
    dup2(fileno(err), STDERR_FILENO);
    setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    body();
    fflush(stdout);
    _exit(0);
}

}  // namespace

ChildResult ResultOf(int status) {
    ChildResult result;
    result.exitValue = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return result;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers(texts.size() + 1);
    std::transform(texts.begin(), texts.end(), pointers.begin(),
                   [](std::string& text) { return text.data(); });
    return pointers;
}

ChildResult RunInChild(const std::function<void()>& body) {
    const File out = TemporaryFile();
    const File err = TemporaryFile();
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        RunBody(body, out.get(), err.get());
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        throw std::runtime_error("no child process");
    }
    ChildResult result = ResultOf(status);
    result.out = ReadAll(out.get());
    result.err = ReadAll(err.get());
    return result;
}

}  // namespace testsupport
